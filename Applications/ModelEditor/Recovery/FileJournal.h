#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"
#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/Journal.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace Valdane
{
class CommandManager;
} // namespace Valdane

namespace ModelEditor
{

class XmlModel;

/// The journal of the file of a model: what is done to the model and not saved survives the death of the program.
///
/// The journal has the file as it was loaded, so that replay begins there, whatever was saved since.
///
/// Ownership: refers to the model and its manager while it follows them. Thread: the application's main thread only.
class FileJournal
{
public:
    /// Where the journals of this user are: `model-editor/journals` where programs keep their state. Empty if nobody says
    /// where that is.
    static std::filesystem::path findFolder();

    /// Opens the journal of the file @p path, in @p folder, which is made if it is not there.
    ///
    /// @param durability  Interval: half a second.
    /// @throws VdException if another program has it open, or it cannot be read or written;
    ///         std::filesystem::filesystem_error.
    FileJournal(const std::filesystem::path& folder, const std::string& path,
                Valdane::Journal::Durability durability);
    FileJournal(const FileJournal&) = delete;
    FileJournal& operator=(const FileJournal&) = delete;
    ~FileJournal();

    /// What a program has left that died, or that has closed the file and kept its history.
    const std::optional<Valdane::JournalRemains>& getRemains() const;

    /// Whether a program has died with something unsaved.
    bool hasUnsaved() const;

    /// Whether the file, which holds @p bytes, is as that program has saved it last. @pre something remains (not checked).
    bool fits(const std::string& bytes) const;

    /// The model before the first step. @pre something remains (not checked). @throws VdException
    std::unique_ptr<XmlModel> loadBase();

    /// Brings the history back that remains, and follows it from then on.
    ///
    /// @param model  is that of loadBase(). @param manager  has an empty history.
    /// @return why a step could not be done again, and it ends before that; empty if all were. Nothing is kept then.
    /// @throws VdException, nothing has changed then.
    std::string recover(XmlModel& model, Valdane::CommandManager& manager);

    /// Follows a model that was loaded just now, in place of what remains.
    void start(XmlModel& model, Valdane::CommandManager& manager);

    /// A file is about to hold @p bytes, which is the model as it is.
    void willSave(const std::string& bytes);

    /// It does. From now on the journal is that of the file @p path.
    void didSave(const std::string& path);

    /// Has what was done so far written, and does not wait for it.
    void writeSoon();

    /// The file is closed, and nothing of it is to come back; or its history is.
    void close();
    void closeAndKeep();

    /// Why steps are not kept any more, once.
    [[nodiscard]] Valdane::Signals::Connection
    connectToSigEnded(const Valdane::Signals::Slot<void(const std::string&)>& slot);

private:
    std::string name;
    XmlModel* followed = nullptr;
    Valdane::CommandCodecs codecs;
    Valdane::Journal journal;
};

} // namespace ModelEditor
