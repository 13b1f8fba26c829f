#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/Journal/JournalChange.h"
#include "Service/Journal/JournalLine.h"
#include "Service/Journal/JournalWriter.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Valdane
{

class CommandCodecs;
class CommandManager;
class JournalFile;
struct JournalContents;

/// Has each change of a manager's history written to a file, until that fails.
///
/// Ownership: the manager, the codecs and the file must outlive it. It may be destroyed when it tells that it has ended.
/// Thread: that of the manager.
class JournalFollower
{
public:
    /// How it writes.
    struct Options
    {
        bool replaysFromBase = false;                   ///< see JournalLine
        std::optional<std::chrono::milliseconds> delay; ///< see JournalWriter
        std::uint64_t maxBytes = 0;                     ///< see JournalFile::write()
    };

    /// @param hasEnded  called once, with the reason, when nothing more is written.
    JournalFollower(const CommandCodecs& codecs, JournalFile& file, CommandManager& manager,
                    const Options& options, std::function<void(const std::string&)> hasEnded);
    JournalFollower(const JournalFollower&) = delete;
    JournalFollower& operator=(const JournalFollower&) = delete;

    /// Writes what waits.
    ~JournalFollower();

    /// Follows from now on, with an empty history. The first change writes @p start, too.
    void follow(std::vector<JournalOp> start);

    /// Follows from now on, but writes nothing before resume(). The manager has the rows of @p contents, which are in the
    /// file.
    void followRestored(const JournalContents& contents, bool isAtSaving);
    void resume();

    /// Has a text written with the next change.
    void setText(const char* key, std::string text);

    /// Has what was noted so far written.
    void post();

    /// Writes what waits, tells nobody, and answers whether anything was written.
    bool hasWritten();

    /// The document is about to be saved with this digest, or was saved, as it is now.
    void noteSaving(const std::string& digest);
    void noteSaved();

    void writeSoon();

    /// Waits until all is written, or writing has failed.
    void flush();

    /// Why nothing more is written; empty as long as all is.
    std::string getFailure() const;

private:
    template <typename Work>
    void attempt(const Work& work);

    void connect();
    void read(bool newestPendingChanged);
    void noteGroups();
    void end(const std::string& why);

    CommandManager& manager;
    std::function<void(const std::string&)> hasEnded;
    JournalWriter writer;
    JournalLine line;
    /// What is posted with the next change.
    std::vector<JournalOp> held;
    JournalState posted;
    bool isHeld = false;
    bool isPosted = false;
    std::string failure;
    bool isTold = false;
    std::vector<Signals::Connection> connections;
};

} // namespace Valdane
