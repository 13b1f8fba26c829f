#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace Valdane
{
class CommandManager;
} // namespace Valdane

namespace ModelEditor
{
class FileJournal;
class XmlModel;
} // namespace ModelEditor

/// Somebody who edits a file at random, always the same for a seed, with a front end's layers and a journal.
class EditingSession
{
public:
    EditingSession() = default;
    EditingSession(const EditingSession&) = delete;
    EditingSession& operator=(const EditingSession&) = delete;
    virtual ~EditingSession() = default;

    /// From now on what is done is kept.
    virtual void keep(std::unique_ptr<ModelEditor::FileJournal> journal) = 0;

    /// Has what is in the journal come back; the session was made of its base. @return why it did not; empty if all did.
    virtual std::string bringBack(std::unique_ptr<ModelEditor::FileJournal> journal) = 0;

    virtual void doStep() = 0;
    virtual void save(const std::string& path) = 0;

    virtual ModelEditor::XmlModel& getModel() = 0;
    virtual Valdane::CommandManager& getManager() = 0;

    /// The bytes of the model, and what could be undone and redone.
    std::string getState();
};

/// The layers of the program for terminals.
std::unique_ptr<EditingSession> makeTerminalSession(const std::string& bytes, unsigned int seed);

/// Those of the desktop editor. There must be a QApplication.
std::unique_ptr<EditingSession>
makeDesktopSession(const std::string& path, std::unique_ptr<ModelEditor::XmlModel> model, unsigned int seed);
