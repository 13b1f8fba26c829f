#pragma once

#include "Service/Journal/JournalChange.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Valdane
{

class JournalFile;

/// Writes changes to a file: at once on the caller's thread, or later on a thread of its own.
///
/// After a failure nothing more is written, because a gap could not be replayed.
///
/// Ownership: the file must outlive it. Thread: one at a time.
class JournalWriter
{
public:
    /// @param delay  how long a change may wait; none if each one is written at once; the longest duration if changes wait
    ///               for writeSoon().
    JournalWriter(JournalFile& file, std::optional<std::chrono::milliseconds> delay, std::uint64_t maxBytes);
    JournalWriter(const JournalWriter&) = delete;
    JournalWriter& operator=(const JournalWriter&) = delete;

    /// Writes what waits.
    ~JournalWriter();

    void post(JournalChange change);

    /// Has what waits written now, and does not wait for that.
    void writeSoon();

    /// Waits until all is written, or writing has failed.
    void flush();

    /// Why nothing more is written; empty as long as nothing has failed.
    std::string getFailure() const;

    /// Whether anything was written.
    bool hasWritten() const;

private:
    void work();
    void write(const std::vector<JournalChange>& changes);

    JournalFile& file;
    std::optional<std::chrono::milliseconds> delay;
    std::uint64_t maxBytes;
    mutable std::mutex mutex;
    std::condition_variable hasWork;
    std::condition_variable isIdle;
    std::vector<JournalChange> waiting;
    std::chrono::steady_clock::time_point deadline;
    bool isWriting = false;
    bool isAsked = false;
    bool isEnding = false;
    bool isWritten = false;
    std::string failure;
    std::thread thread;
};

} // namespace Valdane
