#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Recovery/FileJournal.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Applications/ModelEditor/Kills/EditingSession.h"
#include "Tests/Applications/ModelEditor/ScriptWriter.h"

#include <utility>

namespace
{

class TerminalSession : public EditingSession
{
public:
    TerminalSession(const std::string& bytes, unsigned int seed) : writer(bytes, seed) {}

    void keep(std::unique_ptr<ModelEditor::FileJournal> used) override
    {
        journal = std::move(used);
        journal->start(writer.getModel(), getManager());
    }

    std::string bringBack(std::unique_ptr<ModelEditor::FileJournal> used) override
    {
        journal = std::move(used);
        return journal->recover(writer.getModel(), getManager());
    }

    void doStep() override
    {
        writer.writeEdit();
        if (journal != nullptr)
        {
            journal->writeSoon();
        }
    }

    void save(const std::string& path) override
    {
        const auto bytes = writer.getModel().toBytes();
        if (journal != nullptr)
        {
            journal->willSave(bytes);
            ModelEditor::writeFile(path, bytes);
            journal->didSave(path);
        }
        getManager().adjustOnSave(0);
    }

    ModelEditor::XmlModel& getModel() override
    {
        return writer.getModel();
    }

    Valdane::CommandManager& getManager() override
    {
        return writer.getEditor().getManager();
    }

private:
    ScriptWriter writer;
    std::unique_ptr<ModelEditor::FileJournal> journal;
};

} // namespace

std::unique_ptr<EditingSession> makeTerminalSession(const std::string& bytes, unsigned int seed)
{
    return std::make_unique<TerminalSession>(bytes, seed);
}
