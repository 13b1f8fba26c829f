#include "Applications/ModelEditor/Edits/Import.h"

#include "Applications/ModelEditor/Document/ImportMarkup.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/ImportCmd.h"
#include "Service/CommandPattern/DelayedInitializedCommand.h"

#include <filesystem>
#include <utility>

namespace ModelEditor
{

std::shared_ptr<Valdane::ThreadedMacroCommand> makeImport(XmlModel& model, const std::string& path,
                                                          FileReader read)
{
    const auto makeCommand = [&model, path, read = std::move(read)]
    {
        XmlDocument from(read(path), path);
        auto modules = takeModules(from, model.getRoot()->getElement(), model.getEncoding());
        const std::string name = std::filesystem::path(path).filename().string();
        return std::make_shared<ImportCmd>(model, std::move(modules.markup),
                                           "Import " + plural(modules.moduleCount, "module") + " of " +
                                               brief(name));
    };
    return std::make_shared<Valdane::DelayedInitializedCommand>(makeCommand);
}

} // namespace ModelEditor
