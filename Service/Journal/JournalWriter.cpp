#include "Service/Journal/JournalWriter.h"

#include "Service/Journal/BlockedSignals.h"
#include "Service/Journal/JournalFile.h"

#include <exception>
#include <utility>

namespace Valdane
{

JournalWriter::JournalWriter(JournalFile& usedFile, std::optional<std::chrono::milliseconds> longestDelay,
                             std::uint64_t mostBytes)
    : file(usedFile), delay(longestDelay), maxBytes(mostBytes)
{
    if (delay.has_value())
    {
        const BlockedSignals inThread;
        thread = std::thread([this] { work(); });
    }
}

JournalWriter::~JournalWriter()
{
    if (thread.joinable())
    {
        {
            const std::lock_guard lock(mutex);
            isEnding = true;
        }
        hasWork.notify_one();
        thread.join();
    }
}

void JournalWriter::post(JournalChange change)
{
    if (!delay.has_value())
    {
        write({std::move(change)});
        return;
    }
    const std::lock_guard lock(mutex);
    if (!failure.empty())
    {
        return;
    }
    if (waiting.empty() && *delay != std::chrono::milliseconds::max())
    {
        deadline = std::chrono::steady_clock::now() + *delay;
        hasWork.notify_one();
    }
    if (!waiting.empty() && change.ops.empty())
    {
        // A step of undo or redo: only where it has led counts.
        waiting.back().state = change.state;
        return;
    }
    waiting.push_back(std::move(change));
}

void JournalWriter::writeSoon()
{
    {
        const std::lock_guard lock(mutex);
        isAsked = !waiting.empty();
    }
    hasWork.notify_one();
}

void JournalWriter::flush()
{
    if (!delay.has_value())
    {
        return;
    }
    std::unique_lock lock(mutex);
    isAsked = !waiting.empty();
    hasWork.notify_one();
    isIdle.wait(lock, [this] { return waiting.empty() && !isWriting; });
}

std::string JournalWriter::getFailure() const
{
    const std::lock_guard lock(mutex);
    return failure;
}

bool JournalWriter::hasWritten() const
{
    const std::lock_guard lock(mutex);
    return isWritten;
}

void JournalWriter::work()
{
    const auto longest = delay.value_or(std::chrono::milliseconds::max());
    std::unique_lock lock(mutex);
    while (true)
    {
        const auto isDue = [this]
        {
            return isEnding || (isAsked && !waiting.empty());
        };
        if (waiting.empty() || longest == std::chrono::milliseconds::max())
        {
            hasWork.wait(
                lock,
                [&] { return isDue() || (!waiting.empty() && longest != std::chrono::milliseconds::max()); });
        }
        if (!isDue())
        {
            hasWork.wait_until(lock, deadline, isDue);
        }
        if (waiting.empty() && isEnding)
        {
            return;
        }
        const std::vector<JournalChange> changes = std::exchange(waiting, {});
        isAsked = false;
        isWriting = true;
        lock.unlock();
        write(changes);
        lock.lock();
        isWriting = false;
        isIdle.notify_all();
    }
}

void JournalWriter::write(const std::vector<JournalChange>& changes)
{
    if (!getFailure().empty())
    {
        return;
    }
    try
    {
        file.write(changes, maxBytes);
        const std::lock_guard lock(mutex);
        isWritten = true;
    }
    catch (const std::exception& exception)
    {
        const std::lock_guard lock(mutex);
        failure = exception.what();
    }
}

} // namespace Valdane
