#include "Service/Editing/HistoryAction.h"

#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Editing/ActiveHistory.h"

#include <cstddef>
#include <string_view>
#include <utility>

namespace Valdane
{

namespace
{

std::string fillIn(const std::string& pattern, const std::string& description)
{
    constexpr std::string_view placeholder = "%1";
    std::string text;
    std::size_t begin = 0;
    // Found in the pattern only: a description may contain the placeholder itself.
    for (std::size_t end = pattern.find(placeholder); end != std::string::npos;
         end = pattern.find(placeholder, begin))
    {
        text.append(pattern, begin, end - begin).append(description);
        begin = end + placeholder.size();
    }
    return text.append(pattern, begin);
}

/// The history of an action that acts on one manager only.
struct OwnHistory
{
    explicit OwnHistory(CommandManager& manager) : document(history, manager)
    {
        document.activate();
    }

    ActiveHistory history;
    ActiveHistory::Document document;
};

} // namespace

class HistoryAction::Private
{
public:
    /// What users see.
    struct Look
    {
        std::string text;
        bool isEnabled = false;

        bool operator==(const Look&) const = default;
    };

    Private(Direction actionDirection, ActiveHistory& actionHistory, HistoryActionTexts actionTexts,
            std::unique_ptr<OwnHistory> own = nullptr)
        : isUndo(actionDirection == Direction::Undo),
          ownHistory(std::move(own)),
          history(actionHistory),
          texts(std::move(actionTexts)),
          told(look()),
          connection(history.connectToSigUpdated([this] { update(); }))
    {
    }

    bool isEnabled() const
    {
        const CommandManager* const manager = history.getActive();
        // A command that is running on the worker may be reading what an undo would change.
        return manager != nullptr && manager->getCurrentThreadedCommand() == nullptr &&
               (isUndo ? manager->canUndo() : manager->canRedo());
    }

    std::string text() const
    {
        if (!isEnabled())
        {
            return texts.plain;
        }
        const CommandManager& manager = *history.getActive();
        const std::shared_ptr<const CommandBase> command =
            isUndo ? manager.getUndoCommand() : manager.getRedoCommand();
        const std::string& description = command->getDescription();
        return description.empty() ? texts.plain : fillIn(texts.pattern, description);
    }

    Look look() const
    {
        return {.text = text(), .isEnabled = isEnabled()};
    }

    void update()
    {
        Look now = look();
        if (now != told)
        {
            told = std::move(now);
            // Last, because a slot may destroy the action.
            sigChanged();
        }
    }

    const bool isUndo;
    const std::unique_ptr<OwnHistory> ownHistory;
    ActiveHistory& history;
    HistoryActionTexts texts;
    Signals::Signal<void()> sigChanged;

private:
    Look told;
    Signals::Connection connection;
};

HistoryAction::HistoryAction(Direction direction, ActiveHistory& history, HistoryActionTexts texts)
    : d(std::make_unique<Private>(direction, history, std::move(texts)))
{
}

HistoryAction::HistoryAction(Direction direction, CommandManager& manager, HistoryActionTexts texts)
{
    auto own = std::make_unique<OwnHistory>(manager);
    ActiveHistory& history = own->history;
    d = std::make_unique<Private>(direction, history, std::move(texts), std::move(own));
}

HistoryAction::~HistoryAction() = default;

std::string HistoryAction::getText() const
{
    return d->text();
}

bool HistoryAction::isEnabled() const
{
    return d->isEnabled();
}

bool HistoryAction::trigger()
{
    if (!isEnabled())
    {
        return false;
    }
    CommandManager& manager = *d->history.getActive();
    return d->isUndo ? manager.undo(1) : manager.redo(1);
}

void HistoryAction::setTexts(HistoryActionTexts newTexts)
{
    d->texts = std::move(newTexts);
    d->update();
}

void HistoryAction::update()
{
    d->update();
}

Signals::Connection HistoryAction::connectToSigChanged(const Signals::Slot<void()>& slot)
{
    return d->sigChanged.connect(slot);
}

} // namespace Valdane
