#include "Service/Editing/ActiveHistory.h"

#include "Platform/Signals/Signal.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/Editing/FirstException.h"

#include <array>

namespace Valdane
{

class ActiveHistory::Private : public std::enable_shared_from_this<ActiveHistory::Private>
{
public:
    struct Listeners
    {
        Signals::Signal<void()> activeChanged;
        Signals::Signal<void()> updated;
    };

    /// @param document  that becomes the active one; null for none
    /// @param manager   of that document; null for none
    void activate(const Document* document, CommandManager* manager);

    const Document* activeDocument = nullptr;
    CommandManager* activeManager = nullptr;
    /// Empty when the ActiveHistory is destroyed. Slots may do that while a signal is being emitted.
    std::unique_ptr<Listeners> listeners = std::make_unique<Listeners>();

private:
    using Connections = std::array<Signals::Connection, 4>;

    Connections connectTo(CommandManager& manager);

    Connections connections;
};

ActiveHistory::Private::Connections ActiveHistory::Private::connectTo(CommandManager& manager)
{
    const auto tell = [this]
    {
        const std::shared_ptr<Private> kept = shared_from_this();
        if (listeners != nullptr)
        {
            listeners->updated();
        }
    };
    return {manager.connectToSigHistoryChanged([tell](const HistoryChange&) { tell(); }),
            manager.connectToSigOpenGroupsChanged(tell), manager.connectToSigThreadedCommandStarted(tell),
            manager.connectToSigThreadedCommandFinished(tell)};
}

void ActiveHistory::Private::activate(const Document* document, CommandManager* manager)
{
    if (manager == activeManager)
    {
        activeDocument = document;
        return;
    }
    // What can fail comes first.
    connections = manager == nullptr ? Connections() : connectTo(*manager);
    activeDocument = document;
    activeManager = manager;
    FirstException failure;
    for (const auto signal : {&Listeners::activeChanged, &Listeners::updated})
    {
        if (listeners != nullptr)
        {
            failure.attempt([&] { ((*listeners).*signal)(); });
        }
    }
    failure.rethrow();
}

ActiveHistory::ActiveHistory() : d(std::make_shared<Private>()) {}

ActiveHistory::~ActiveHistory()
{
    d->listeners.reset();
}

CommandManager* ActiveHistory::getActive() const
{
    return d->activeManager;
}

void ActiveHistory::deactivate()
{
    const std::shared_ptr<Private> kept = d;
    kept->activate(nullptr, nullptr);
}

Signals::Connection ActiveHistory::connectToSigActiveChanged(const Signals::Slot<void()>& slot)
{
    return d->listeners->activeChanged.connect(slot);
}

Signals::Connection ActiveHistory::connectToSigUpdated(const Signals::Slot<void()>& slot)
{
    return d->listeners->updated.connect(slot);
}

ActiveHistory::Document::Document(ActiveHistory& history, CommandManager& commandManager)
    : manager(commandManager), owner(history.d)
{
}

ActiveHistory::Document::~Document()
{
    const std::shared_ptr<Private> kept = owner.lock();
    if (kept != nullptr && kept->activeDocument == this)
    {
        FirstException ignored;
        ignored.attempt([&] { kept->activate(nullptr, nullptr); });
    }
}

void ActiveHistory::Document::activate()
{
    if (const std::shared_ptr<Private> kept = owner.lock())
    {
        kept->activate(this, &manager);
    }
}

bool ActiveHistory::Document::isActive() const
{
    const std::shared_ptr<Private> kept = owner.lock();
    return kept != nullptr && kept->activeDocument == this;
}

} // namespace Valdane
