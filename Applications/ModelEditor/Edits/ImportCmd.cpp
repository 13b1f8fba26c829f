#include "Applications/ModelEditor/Edits/ImportCmd.h"

#include <utility>

namespace ModelEditor
{

ImportCmd::ImportCmd(XmlModel& target, std::string markup, std::string commandDescription)
    : CommandBase(std::move(commandDescription)),
      model(target),
      imported(std::move(markup)),
      part{.markup = imported}
{
}

ImportCmd::~ImportCmd() = default;

const std::string& ImportCmd::getMarkup() const noexcept
{
    return imported;
}

void ImportCmd::execute()
{
    model.append(part);
}

void ImportCmd::undo()
{
    model.remove(part);
}

} // namespace ModelEditor
