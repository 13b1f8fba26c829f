#include "Service/Journal/Journal.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/Journal/JournalFile.h"
#include "Service/Journal/JournalLine.h"
#include "Service/Journal/JournalReplay.h"
#include "Service/Journal/JournalWriter.h"

#include <algorithm>
#include <exception>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

namespace Valdane
{

namespace
{

std::optional<std::chrono::milliseconds> delayOf(const Journal::Options& options)
{
    switch (options.durability)
    {
    case Journal::Durability::EachCommand:
        return std::nullopt;
    case Journal::Durability::Interval:
        return options.interval;
    case Journal::Durability::WhenIdle:
        break;
    }
    return std::chrono::milliseconds::max();
}

std::string textOfNow()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::chrono::system_clock::time_point timeOf(const std::string& text)
{
    return std::chrono::system_clock::time_point(std::chrono::milliseconds(std::atoll(text.c_str())));
}

bool hasBase(const JournalContents& contents)
{
    return contents.text(JournalKey::HasBase) == "1";
}

JournalRemains remainsOf(const JournalContents& contents, const std::filesystem::path& file)
{
    JournalRemains remains{.file = file,
                           .document = contents.text(JournalKey::Document),
                           .since = timeOf(contents.text(JournalKey::Since)),
                           .steps = JournalReplay::countRows(contents),
                           .unsavedSteps = 0,
                           .isClosed = contents.text(JournalKey::Closed) == "1",
                           .hasBase = hasBase(contents),
                           .digest = contents.text(hasBase(contents) ? JournalKey::Base : JournalKey::Saved),
                           .savedDigest = contents.text(JournalKey::Saved),
                           .ended = contents.text(JournalKey::Ended),
                           .damage = {}};
    // Done since the save, or undone behind it; what could be redone is not counted.
    std::uint64_t row = 0;
    for (const JournalEntry& entry : contents.entries)
    {
        const bool isRow = entry.kind == JournalKind::Row;
        const bool isDone = !isRow || row < contents.state.position;
        row += isRow ? 1 : 0;
        remains.unsavedSteps += isDone != (entry.place < contents.state.saved) ? 1 : 0;
    }
    remains.unsavedSteps += contents.retired.size();
    return remains;
}

} // namespace

class Journal::Private
{
public:
    Private(const CommandCodecs& usedCodecs, std::filesystem::path path, const Options& usedOptions)
        : codecs(usedCodecs),
          options(usedOptions),
          file(std::make_unique<JournalFile>(std::move(path))),
          contents(file->read())
    {
        if (!contents.isEmpty)
        {
            remains = remainsOf(contents, file->getPath());
        }
    }

    /// Follows the manager from now on.
    void connect(CommandManager& followed);

    /// Does @p work, which follows a change. What it throws ends the journal.
    template <typename Work>
    void follow(const Work& work);

    void post();
    void setText(const char* key, std::string text);
    void end(const std::string& why);
    void tellFailure();
    void disconnect();

    /// Whether changes are kept.
    bool isWriting() const
    {
        return line != nullptr && failure.empty();
    }

    const CommandCodecs& codecs;
    Options options;
    std::unique_ptr<JournalFile> file;
    JournalContents contents;
    std::optional<JournalRemains> remains;
    CommandManager* manager = nullptr;
    std::unique_ptr<JournalWriter> writer;
    std::unique_ptr<JournalLine> line;
    /// What is posted with the next change.
    std::vector<JournalOp> held;
    JournalState posted;
    bool isHeld = false;
    std::string failure;
    bool isTold = false;
    Signals::Signal<void(const std::string&)> sigEnded;
    std::vector<Signals::Connection> connections;
};

void Journal::Private::connect(CommandManager& followed)
{
    manager = &followed;
    connections.push_back(followed.connectToSigHistoryChanged(
        [this](const HistoryChange& change)
        {
            follow(
                [&]
                {
                    line->follow(change);
                    if (line->readFrom(*manager, false))
                    {
                        post();
                    }
                });
        }));
    const auto readPending = [this](bool newestChanged)
    {
        follow(
            [&]
            {
                if (line->readFrom(*manager, newestChanged))
                {
                    post();
                }
            });
    };
    connections.push_back(followed.connectToSigCommandPending([readPending] { readPending(true); }));
    connections.push_back(followed.connectToSigOpenGroupsChanged(
        [this, readPending]
        {
            nlohmann::json descriptions = nlohmann::json::array();
            for (const std::string& description : manager->getOpenGroups())
            {
                descriptions.push_back(description);
            }
            setText(JournalKey::Groups,
                    descriptions.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
            readPending(false);
        }));
    // What waits to be merged is dropped without a change of the history.
    connections.push_back(followed.connectToSigCommandQueueChanged(
        [readPending](CommandManager::QueueChangeReason reason)
        {
            if (reason == CommandManager::QueueCleared)
            {
                readPending(false);
            }
        }));
}

template <typename Work>
void Journal::Private::follow(const Work& work)
{
    if (!isWriting())
    {
        return;
    }
    try
    {
        work();
    }
    catch (const std::exception& exception)
    {
        end(exception.what());
    }
    tellFailure();
}

void Journal::Private::post()
{
    JournalChange change = line->takeChange();
    held.insert(held.end(), std::make_move_iterator(change.ops.begin()),
                std::make_move_iterator(change.ops.end()));
    if (isHeld)
    {
        return;
    }
    change.ops = std::exchange(held, {});
    if (change.ops.empty() && change.state == posted)
    {
        return;
    }
    posted = change.state;
    writer->post(std::move(change));
    failure = writer->getFailure();
}

void Journal::Private::setText(const char* key, std::string text)
{
    held.push_back({.kind = JournalOp::Kind::SetText, .entry = {}, .key = key, .text = std::move(text)});
}

// Recovery ends with what was written before.
void Journal::Private::end(const std::string& why)
{
    failure = why;
    JournalChange last{.ops = {}, .state = posted};
    last.ops.push_back(
        {.kind = JournalOp::Kind::SetText, .entry = {}, .key = JournalKey::Ended, .text = why});
    writer->post(std::move(last));
}

void Journal::Private::tellFailure()
{
    if (!failure.empty() && !std::exchange(isTold, true))
    {
        disconnect();
        const std::string text = failure;
        sigEnded(text);
    }
}

void Journal::Private::disconnect()
{
    connections.clear();
}

std::vector<JournalRemains> Journal::find(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::exists(folder))
    {
        for (const auto& entry : std::filesystem::directory_iterator(folder))
        {
            if (entry.path().extension() == ".journal")
            {
                files.push_back(entry.path());
            }
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<JournalRemains> found;
    for (const std::filesystem::path& path : files)
    {
        try
        {
            JournalFile file(path);
            const JournalContents contents = file.read();
            if (!contents.isEmpty)
            {
                found.push_back(remainsOf(contents, path));
            }
        }
        catch (const JournalInUse&) // NOLINT(bugprone-empty-catch): its process lives
        {
        }
        catch (const VdException& exception)
        {
            found.push_back({.file = path,
                             .document = {},
                             .since = {},
                             .digest = {},
                             .savedDigest = {},
                             .ended = {},
                             .damage = exception.what()});
        }
    }
    return found;
}

Journal::Journal(const CommandCodecs& codecs, std::filesystem::path file)
    : Journal(codecs, std::move(file), Options{})
{
}

Journal::Journal(const CommandCodecs& codecs, std::filesystem::path file, const Options& options)
    : d(std::make_unique<Private>(codecs, std::move(file), options))
{
}

Journal::~Journal() = default;

const std::optional<JournalRemains>& Journal::getRemains() const
{
    return d->remains;
}

std::string Journal::readBase()
{
    flush();
    return d->file->readBase();
}

Journal::Recovery Journal::recover(CommandManager& manager, const std::string& digest)
{
    if (!d->remains.has_value())
    {
        throw VdException("There is nothing to recover.");
    }
    if (manager.getQueueSize() != 0 || manager.getPendingCount() != 0)
    {
        throw VdException("A history can only be recovered into an empty one.");
    }
    const bool fromBase = hasBase(d->contents);
    const bool isAtSaving =
        !fromBase && digest != d->remains->digest && digest == d->contents.text(JournalKey::Saving);
    if (digest != d->remains->digest && !isAtSaving)
    {
        throw VdException("The document is not the one to which the history of '" + d->remains->document +
                          "' belongs: it has changed since.");
    }
    const bool isReachable = isAtSaving ? d->contents.state.saving >= 0 : d->contents.state.isReachable;
    if (!fromBase && !isReachable)
    {
        throw VdException("The history of '" + d->remains->document +
                          "' cannot be replayed on the saved document: what was in it has become a part of "
                          "other commands.");
    }
    JournalReplay replay(d->codecs, d->contents, manager);
    Recovery recovery{.steps = 0, .all = d->remains->steps, .failure = {}};
    const bool usesLimit = manager.usesMaxQueueSize();
    manager.setUsesMaxQueueSize(false);
    try
    {
        bool isDone = replay.replayRows(isAtSaving);
        if (isDone)
        {
            d->line = std::make_unique<JournalLine>(d->codecs, fromBase);
            d->line->restore(d->contents, manager, isAtSaving);
            d->writer = std::make_unique<JournalWriter>(*d->file, delayOf(d->options), d->options.maxBytes);
            d->isHeld = true;
            d->connect(manager);
            isDone = replay.replayPending();
            manager.setUsesMaxQueueSize(usesLimit);
        }
        recovery.failure = isDone ? d->failure : replay.getFailure();
    }
    catch (const std::exception& exception)
    {
        recovery.failure = exception.what();
    }
    manager.setUsesMaxQueueSize(usesLimit);
    d->isHeld = false;
    recovery.steps = std::min(manager.getQueueSize(), recovery.all);
    if (!recovery.failure.empty())
    {
        d->disconnect();
        d->writer.reset();
        d->line.reset();
        d->held.clear();
        d->failure = recovery.failure;
        return recovery;
    }
    if (isAtSaving)
    {
        d->setText(JournalKey::Saved, digest);
    }
    d->setText(JournalKey::Closed, "0");
    d->setText(JournalKey::Groups, "[]");
    d->setText(JournalKey::Ended, "");
    d->post();
    d->remains.reset();
    d->contents = {};
    return recovery;
}

void Journal::start(CommandManager& manager, const Start& start)
{
    if (manager.getQueueSize() != 0 || manager.getPendingCount() != 0 || !manager.getOpenGroups().empty())
    {
        throw VdException("A journal starts with an empty history.");
    }
    d->disconnect();
    d->writer.reset();
    d->file->startOver({{JournalKey::Document, start.document},
                        {JournalKey::Since, textOfNow()},
                        {JournalKey::Base, start.digest},
                        {JournalKey::HasBase, start.base.has_value() ? "1" : "0"},
                        {JournalKey::Saved, start.digest}},
                       start.base.has_value() ? &*start.base : nullptr);
    d->failure.clear();
    d->isTold = false;
    d->held.clear();
    d->remains.reset();
    d->contents = {};
    d->line = std::make_unique<JournalLine>(d->codecs, start.base.has_value());
    d->writer = std::make_unique<JournalWriter>(*d->file, delayOf(d->options), d->options.maxBytes);
    d->connect(manager);
    d->follow(
        [this, &manager]
        {
            d->line->readFrom(manager, false);
            d->post();
        });
}

void Journal::willSave(const std::string& digest)
{
    d->follow(
        [&]
        {
            d->line->noteSaving();
            d->setText(JournalKey::Saving, digest);
            d->post();
        });
    flush();
}

void Journal::didSave()
{
    d->follow(
        [this]
        {
            d->line->noteSaved();
            d->held.push_back({.kind = JournalOp::Kind::AdoptSaving, .entry = {}, .key = {}, .text = {}});
            d->post();
        });
}

void Journal::writeSoon()
{
    if (d->writer != nullptr)
    {
        d->writer->writeSoon();
    }
}

void Journal::flush()
{
    if (d->writer != nullptr)
    {
        d->writer->flush();
        d->follow([this] { d->failure = d->writer->getFailure(); });
    }
}

void Journal::close()
{
    d->disconnect();
    d->writer.reset();
    d->line.reset();
    d->remains.reset();
    d->file->remove();
}

void Journal::closeAndKeep()
{
    d->follow(
        [this]
        {
            d->setText(JournalKey::Closed, "1");
            d->post();
        });
    flush();
    d->disconnect();
    d->writer.reset();
    d->line.reset();
}

std::string Journal::getFailure() const
{
    return d->failure.empty() && d->writer != nullptr ? d->writer->getFailure() : d->failure;
}

Signals::Connection Journal::connectToSigEnded(const Signals::Slot<void(const std::string&)>& slot)
{
    return d->sigEnded.connect(slot, Signals::ConnectPosition::Back);
}

} // namespace Valdane
