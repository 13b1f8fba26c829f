#include "Service/Journal/JournalFollower.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/Journal/JournalFile.h"

#include <exception>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

namespace Valdane
{

JournalFollower::JournalFollower(const CommandCodecs& codecs, JournalFile& file, CommandManager& followed,
                                 const Options& options, std::function<void(const std::string&)> toTell)
    : manager(followed),
      hasEnded(std::move(toTell)),
      writer(file, options.delay, options.maxBytes),
      line(codecs, options.replaysFromBase)
{
}

JournalFollower::~JournalFollower() = default;

void JournalFollower::follow(std::vector<JournalOp> start)
{
    held = std::move(start);
    connect();
}

void JournalFollower::followRestored(const JournalContents& contents, bool isAtSaving)
{
    line.restore(contents, manager, isAtSaving);
    isHeld = true;
    connect();
}

void JournalFollower::resume()
{
    isHeld = false;
    post();
}

void JournalFollower::connect()
{
    connections.push_back(manager.connectToSigHistoryChanged(
        [this](const HistoryChange& change)
        {
            attempt(
                [&]
                {
                    line.follow(change);
                    read(false);
                });
        }));
    connections.push_back(manager.connectToSigCommandPending([this] { attempt([this] { read(true); }); }));
    connections.push_back(manager.connectToSigOpenGroupsChanged(
        [this]
        {
            attempt(
                [this]
                {
                    noteGroups();
                    read(false);
                });
        }));
    // What waits to be merged is dropped without a change of the history.
    connections.push_back(manager.connectToSigCommandQueueChanged(
        [this](CommandManager::QueueChangeReason reason)
        {
            if (reason == CommandManager::QueueCleared)
            {
                attempt([this] { read(false); });
            }
        }));
}

// Does @p work, which follows a change. What it throws ends the journal. Touches no member once that is told.
template <typename Work>
void JournalFollower::attempt(const Work& work)
{
    if (isTold)
    {
        return;
    }
    if (failure.empty())
    {
        try
        {
            work();
        }
        catch (const std::exception& exception)
        {
            end(exception.what());
        }
    }
    if (!failure.empty())
    {
        isTold = true;
        connections.clear();
        const auto tell = hasEnded;
        const std::string why = failure;
        tell(why);
    }
}

void JournalFollower::read(bool newestPendingChanged)
{
    if (line.readFrom(manager, newestPendingChanged))
    {
        post();
    }
}

void JournalFollower::noteGroups()
{
    nlohmann::json descriptions = nlohmann::json::array();
    for (const std::string& description : manager.getOpenGroups())
    {
        descriptions.push_back(description);
    }
    setText(JournalKey::Groups, descriptions.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

void JournalFollower::setText(const char* key, std::string text)
{
    JournalOp& op = held.emplace_back();
    op.kind = JournalOp::Kind::SetText;
    op.key = key;
    op.text = std::move(text);
}

void JournalFollower::post()
{
    if (!failure.empty())
    {
        return;
    }
    JournalChange change = line.takeChange();
    held.insert(held.end(), std::make_move_iterator(change.ops.begin()),
                std::make_move_iterator(change.ops.end()));
    if (isHeld || (held.empty() && change.state == posted))
    {
        return;
    }
    change.ops = std::exchange(held, {});
    posted = change.state;
    isPosted = true;
    writer.post(std::move(change));
    failure = writer.getFailure();
}

bool JournalFollower::hasWritten()
{
    writer.flush();
    return writer.hasWritten();
}

// Recovery ends with what was written before.
void JournalFollower::end(const std::string& why)
{
    failure = why.empty() ? "Nobody has said why." : why;
    if (isHeld)
    {
        return;
    }
    JournalChange last{.ops = {}, .state = posted};
    if (!isPosted)
    {
        // What it says is not about what start() was to replace.
        last.ops = std::exchange(held, {});
        isPosted = true;
    }
    JournalOp& op = last.ops.emplace_back();
    op.kind = JournalOp::Kind::SetText;
    op.key = JournalKey::Ended;
    op.text = failure;
    writer.post(std::move(last));
}

void JournalFollower::noteSaving(const std::string& digest)
{
    attempt(
        [&]
        {
            line.noteSaving();
            setText(JournalKey::Saving, digest);
            post();
        });
}

void JournalFollower::noteSaved()
{
    attempt(
        [this]
        {
            line.noteSaved();
            held.emplace_back().kind = JournalOp::Kind::AdoptSaving;
            post();
        });
}

void JournalFollower::writeSoon()
{
    writer.writeSoon();
}

void JournalFollower::flush()
{
    writer.flush();
    attempt([this] { failure = writer.getFailure(); });
}

std::string JournalFollower::getFailure() const
{
    return failure.empty() ? writer.getFailure() : failure;
}

} // namespace Valdane
