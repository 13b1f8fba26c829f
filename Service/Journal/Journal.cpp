#include "Service/Journal/Journal.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Journal/JournalDatabase.h"
#include "Service/Journal/JournalFile.h"
#include "Service/Journal/JournalFollower.h"
#include "Service/Journal/JournalReplay.h"

#include <algorithm>
#include <exception>
#include <system_error>
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
                           .savingDigest = contents.text(JournalKey::Saving),
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
          contents(file->read()),
          wasEmpty(contents.isEmpty)
    {
        if (!wasEmpty)
        {
            remains = remainsOf(contents, file->getPath());
        }
    }

    void makeFollower(CommandManager& manager, bool replaysFromBase);

    /// What was in the file is in the history now, or gone.
    void forgetRemains();

    const CommandCodecs& codecs;
    Options options;
    std::unique_ptr<JournalFile> file;
    JournalContents contents;
    /// Whether nothing was in the file when it was opened.
    bool wasEmpty;
    std::optional<JournalRemains> remains;
    std::unique_ptr<JournalFollower> follower;
    /// Of recover().
    std::string failure;
    Signals::Signal<void(const std::string&)> sigEnded;
};

void Journal::Private::makeFollower(CommandManager& manager, bool replaysFromBase)
{
    try
    {
        follower = std::make_unique<JournalFollower>(
            codecs, *file, manager,
            JournalFollower::Options{
                .replaysFromBase = replaysFromBase, .delay = delayOf(options), .maxBytes = options.maxBytes},
            [this](const std::string& why) { sigEnded(why); });
    }
    catch (const std::system_error& exception)
    {
        throw VdException("The journal '" + file->getPath().string() +
                          "' cannot be written: no thread can be started: " + exception.what() + ".");
    }
}

void Journal::Private::forgetRemains()
{
    remains.reset();
    contents = {};
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
    std::ranges::sort(files);
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
                             .savingDigest = {},
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
    if (d->follower != nullptr)
    {
        d->follower->post();
    }
    flush();
    return d->file->readBase();
}

Journal::Recovery Journal::recover(CommandManager& manager, const std::string& digest)
{
    const std::optional<JournalRemains>& remains = d->remains;
    if (!remains.has_value())
    {
        throw VdException("There is nothing to recover.");
    }
    if (manager.getQueueSize() != 0 || manager.getPendingCount() != 0)
    {
        throw VdException("A history can only be recovered into an empty one.");
    }
    const bool fromBase = hasBase(d->contents);
    const bool isAtSaving =
        !fromBase && digest != remains->digest && digest == d->contents.text(JournalKey::Saving);
    if (digest != remains->digest && !isAtSaving)
    {
        throw VdException("The document is not the one to which the history of '" + remains->document +
                          "' belongs: it has changed since.");
    }
    const bool isReachable = isAtSaving ? d->contents.state.saving >= 0 : d->contents.state.isReachable;
    if (!fromBase && !isReachable)
    {
        throw VdException("The history of '" + remains->document +
                          "' cannot be replayed on the saved document: what was in it has become a part of "
                          "other commands.");
    }
    JournalReplay replay(d->codecs, d->contents, manager);
    Recovery recovery{.steps = 0, .all = remains->steps, .failure = {}};
    const bool usesLimit = manager.usesMaxQueueSize();
    manager.setUsesMaxQueueSize(false);
    bool isDone = false;
    try
    {
        isDone = replay.replayRows(isAtSaving);
        if (isDone)
        {
            d->makeFollower(manager, fromBase);
            d->follower->followRestored(d->contents, isAtSaving);
            isDone = replay.replayPending();
            manager.setUsesMaxQueueSize(usesLimit);
        }
        recovery.failure = isDone ? d->follower->getFailure() : replay.getFailure();
    }
    catch (const std::exception& exception)
    {
        isDone = false;
        recovery.failure = exception.what();
    }
    if (!isDone && recovery.failure.empty())
    {
        recovery.failure = "Nobody has said why.";
    }
    manager.setUsesMaxQueueSize(usesLimit);
    recovery.steps = std::min(manager.getQueueSize(), recovery.all);
    if (!recovery.failure.empty())
    {
        d->follower.reset();
        d->failure = recovery.failure;
        return recovery;
    }
    if (isAtSaving)
    {
        d->follower->setText(JournalKey::Saved, digest);
    }
    d->follower->setText(JournalKey::Closed, "0");
    d->follower->setText(JournalKey::Groups, "[]");
    d->follower->setText(JournalKey::Ended, "");
    d->follower->resume();
    d->failure.clear();
    d->forgetRemains();
    return recovery;
}

void Journal::start(CommandManager& manager, Start start)
{
    if (manager.getQueueSize() != 0 || manager.getPendingCount() != 0 || !manager.getOpenGroups().empty())
    {
        throw VdException("A journal starts with an empty history.");
    }
    using Kind = JournalOp::Kind;
    std::vector<JournalOp> ops;
    const auto add = [&ops](Kind kind, const char* key, std::string text)
    {
        JournalOp& op = ops.emplace_back();
        op.kind = kind;
        op.key = key;
        op.text = std::move(text);
    };
    add(Kind::StartOver, "", {});
    add(Kind::SetText, JournalKey::Document, std::move(start.document));
    add(Kind::SetText, JournalKey::Since, textOfNow());
    add(Kind::SetText, JournalKey::Base, start.digest);
    add(Kind::SetText, JournalKey::HasBase, start.base.has_value() ? "1" : "0");
    add(Kind::SetText, JournalKey::Saved, std::move(start.digest));
    const bool replaysFromBase = start.base.has_value();
    if (replaysFromBase)
    {
        add(Kind::SetBase, "", std::move(*start.base));
    }
    d->makeFollower(manager, replaysFromBase);
    d->failure.clear();
    d->forgetRemains();
    d->follower->follow(std::move(ops));
}

void Journal::willSave(const std::string& digest)
{
    if (d->follower != nullptr)
    {
        d->follower->noteSaving(digest);
        flush();
    }
}

void Journal::didSave()
{
    if (d->follower != nullptr)
    {
        d->follower->noteSaved();
    }
}

void Journal::writeSoon()
{
    if (d->follower != nullptr)
    {
        d->follower->writeSoon();
    }
}

void Journal::flush()
{
    if (d->follower != nullptr)
    {
        d->follower->flush();
    }
}

void Journal::setDocument(const std::string& document)
{
    if (d->follower != nullptr)
    {
        d->follower->setText(JournalKey::Document, document);
        d->follower->post();
    }
}

void Journal::close()
{
    const bool isReplaced = d->follower == nullptr ? d->failure.empty() : d->follower->hasWritten();
    d->follower.reset();
    d->forgetRemains();
    if (isReplaced || d->wasEmpty)
    {
        d->file->remove();
    }
}

void Journal::closeAndKeep()
{
    if (d->follower != nullptr)
    {
        d->follower->setText(JournalKey::Closed, "1");
        d->follower->post();
        d->follower->flush();
        d->follower.reset();
    }
}

std::string Journal::getFailure() const
{
    return d->follower == nullptr ? d->failure : d->follower->getFailure();
}

Signals::Connection Journal::connectToSigEnded(const Signals::Slot<void(const std::string&)>& slot)
{
    return d->sigEnded.connect(slot, Signals::ConnectPosition::Back);
}

} // namespace Valdane
