#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"
#include "Service/Journal/JournalExport.h"
#include "Service/Journal/JournalRemains.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Valdane
{

class CommandCodecs;
class CommandManager;

/// Keeps the history of a document in a file, so that work survives the death of the program or the machine, and undo
/// survives a restart.
///
///     Journal journal(codecs, folder / "drawing.journal");
///     if (journal.getRemains())                         // the program has died
///     {
///         journal.recover(manager, digestOf(document)); // the steps are done again
///     }
///     else
///     {
///         journal.start(manager, {.document = "drawing.xml", .digest = digestOf(document)});
///     }
///
/// From then on each change of the history is in the file as soon as the durability says, all of it or none of it:
/// commands that are added, undone, redone, merged, dropped, taken, cleared, pending, and save points.
///
/// Where replay begins. With a base, the document as it was at the start is in the file, and recover() needs that document.
/// Without, it needs the document as it was saved last, and every command needs a codec that keeps undo. Call willSave()
/// before the file of the document is replaced and didSave() after it.
///
/// What is not recovered: setDescription() after a command was queued. A group that was open is one step.
///
/// Failures. After a failure to write, or a command that cannot be written, nothing more is written, and recovery ends
/// there: sigEnded says so once. The document and its history are not affected. Operations throw VdException, naming the
/// file.
///
/// Ownership: the manager and the codecs must outlive it. The file is locked for this process.
/// Thread: that of the manager. With Durability::EachCommand it writes on this thread, otherwise on one of its own, which
/// hears no signals.
class VALDANE_JOURNAL_EXPORT Journal
{
public:
    /// When a change reaches the disk.
    enum class Durability
    {
        EachCommand, ///< before the operation that makes it returns, which waits for the disk
        Interval,    ///< at most Options::interval later
        WhenIdle,    ///< when writeSoon() is called
    };

    /// How it writes.
    struct Options
    {
        Durability durability = Durability::Interval; ///< when a change reaches the disk
        std::chrono::milliseconds interval{500};      ///< see Durability::Interval

        /// The most that the file may take, in bytes. Beyond, nothing more is written, see Failures.
        std::uint64_t maxBytes = std::uint64_t{1} << 32;
    };

    /// The document whose history is kept.
    struct Start
    {
        std::string document; ///< told to who recovers; any text, such as a path
        std::string digest;   ///< of its present state: any text that is another one for another state
        std::optional<std::string> base = std::nullopt; ///< the document itself, if replay is to begin there
    };

    /// How recover() has ended.
    struct Recovery
    {
        std::uint64_t steps = 0; ///< how many steps of the history were brought back
        std::uint64_t all = 0;   ///< how many there were
        /// Why there are fewer. Empty if all were brought back, of which the limit of the manager may have dropped some.
        std::string failure;
    };

    /// What is in the journals of a folder: files with the extension ".journal" that no process uses.
    /// @throws std::filesystem::filesystem_error if the folder cannot be read; one that does not exist is empty.
    static std::vector<JournalRemains> find(const std::filesystem::path& folder);

    /// Opens a journal, or makes one.
    /// @throws VdException if it is used by another journal, is none, of a newer version, damaged, or cannot be written.
    Journal(const CommandCodecs& codecs, std::filesystem::path file);
    Journal(const CommandCodecs& codecs, std::filesystem::path file, const Options& options);
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// Writes what waits, and leaves the file as a program leaves it that dies now.
    ~Journal();

    /// What was in the file when it was opened. Empty if there was nothing, and after start(), recover() and close().
    const std::optional<JournalRemains>& getRemains() const;

    /// The document before the first step; empty if the journal has no base. Cost: reads it.
    std::string readBase();

    /// Brings the history back that is in the file: executes the commands again, then undoes those that were undone, and
    /// sets the save points. Then follows the manager as after start().
    ///
    /// @param manager  of the document; its history is empty.
    /// @param digest   of the present state of the document: JournalRemains::digest, or nothing is changed.
    /// @return how far that went. If a command fails, what came before stays, the file is as it was, and nothing is
    ///         written.
    /// @throws VdException with nothing changed, if there is nothing to recover, the manager has a history, the document
    ///         is another one, a command cannot be read, or replay does not lead from the saved document to what was.
    Recovery recover(CommandManager& manager, const std::string& digest);

    /// Keeps the history of @p manager from now on, in place of what is in the file. That stays there until the first
    /// change of the history, or call of another function here that writes: readBase(), willSave(), setDocument(),
    /// closeAndKeep(). Who does nothing writes nothing.
    /// @throws VdException if the manager has a history, or the system starts no thread; nothing has changed then.
    void start(CommandManager& manager, Start start);

    /// The document is about to be saved as it is now, and has @p digest then. Waits until that is in the file.
    void willSave(const std::string& digest);

    /// It was saved. @pre willSave() came before (not checked).
    void didSave();

    /// The document has another name from now on.
    void setDocument(const std::string& document);

    /// Has what waits written now. Does not wait for it.
    void writeSoon();

    /// Waits until everything is written, or writing has failed.
    void flush();

    /// The document is closed and nothing of it is to be recovered: deletes the file, unless that still has what start()
    /// was to replace, or what recover() could not bring back. One that was neither started nor recovered forgets what
    /// remains. What follows is not kept.
    void close();

    /// The document is closed, and its history is to be there tomorrow. Waits until all is in the file.
    void closeAndKeep();

    /// Why nothing more is written; empty as long as all is.
    std::string getFailure() const;

    /// Once, when getFailure() is not empty any more, with its text. A failure of the writing thread is told with the next
    /// change.
    [[nodiscard]] Signals::Connection connectToSigEnded(const Signals::Slot<void(const std::string&)>& slot);

private:
    class VALDANE_JOURNAL_NO_EXPORT Private;

    std::unique_ptr<Private> d;
};

} // namespace Valdane
