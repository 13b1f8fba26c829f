#include "Applications/ModelEditor/Desktop/OpenDocument.h"
#include "Applications/ModelEditor/Document/FileState.h"
#include "Applications/ModelEditor/Document/KnownFiles.h"
#include "Applications/ModelEditor/Document/LoadedModel.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Applications/ModelEditor/Edits/Structure.h"
#include "Applications/ModelEditor/Recovery/FileJournal.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Editing/ActiveHistory.h"
#include "Tests/Applications/ModelEditor/Kills/EditingSession.h"

#include <array>
#include <random>
#include <utility>

namespace
{

using ModelEditor::XmlModel;

class DesktopSession : public EditingSession
{
public:
    DesktopSession(ModelEditor::LoadedModel loaded, unsigned int seed)
        : document(std::move(loaded), history, known), random(seed)
    {
    }

    void keep(std::unique_ptr<ModelEditor::FileJournal> journal) override
    {
        document.keepJournal(std::move(journal));
    }

    std::string bringBack(std::unique_ptr<ModelEditor::FileJournal> journal) override
    {
        return document.bringBack(std::move(journal));
    }

    void doStep() override
    {
        const auto element = pickElement();
        const auto value = std::to_string(pick(1000));
        switch (pick(9))
        {
        case 0:
            getManager().undo(1);
            return;
        case 1:
            getManager().redo(1);
            return;
        case 2:
            document.edit("Insert",
                          [&](XmlModel& model) {
                              return makeInsert(model, {element, pickMarkup()});
                          });
            return;
        case 3:
            document.edit("Delete", [&](XmlModel& model) { return makeDelete(model, {element}); });
            return;
        case 4:
            document.edit("Move", [&](XmlModel& model) { return makeMove(model, {element, pickElement()}); });
            return;
        case 5:
            document.endStep();
            document.edit("Add",
                          [&](XmlModel& model) {
                              return makeSet(model, {element + "/@n" + value, value});
                          });
            return;
        default:
            document.editMerging("Drag", element,
                                 [&](XmlModel& model) {
                                     return makeSet(model, {element + "/@dragged", value});
                                 });
        }
    }

    void save(const std::string& path) override
    {
        document.save(path);
    }

    XmlModel& getModel() override
    {
        return document.getModel();
    }

    Valdane::CommandManager& getManager() override
    {
        return document.getManager();
    }

private:
    unsigned int pick(std::size_t count)
    {
        return static_cast<unsigned int>(random() % count);
    }

    std::string pickElement()
    {
        const auto all = getModel().select("//*").nodes;
        return all[pick(all.size())].getAddress();
    }

    std::string pickMarkup()
    {
        static const std::array<std::string, 4> all{"<new/>", "<a b=\"1\">t</a>", "<p><q name=\"r\"/></p>",
                                                    "text"};
        return all.at(pick(all.size()));
    }

    Valdane::ActiveHistory history;
    ModelEditor::KnownFiles known;
    ModelEditor::OpenDocument document;
    std::mt19937 random;
};

} // namespace

std::unique_ptr<EditingSession> makeDesktopSession(const std::string& path, std::unique_ptr<XmlModel> model,
                                                   unsigned int seed)
{
    auto loaded = ModelEditor::loadModel(path);
    loaded.model = std::move(model);
    return std::make_unique<DesktopSession>(std::move(loaded), seed);
}
