#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"
#include "Service/Editing/EditingExport.h"

#include <memory>

namespace Valdane
{

class CommandManager;

/// Knows which manager the actions of an application act on, if there are several documents.
///
///     class Drawing
///     {
///         CommandManager manager;
///         ActiveHistory::Document document; // after the manager, so that it is destroyed first
///     };
///
///     drawing.document.activate(); // its window has the focus now
///
/// Each document has a Document as a member. Its destructor takes the manager out, so that no manager is
/// active that was destroyed.
///
/// Re-entrancy: a slot may activate another document, and destroy documents and this object.
/// Failures: if a slot throws, the other signal is still emitted; then the first exception passes to the
/// caller.
/// Thread: as CommandManager.
class VALDANE_EDITING_EXPORT ActiveHistory
{
public:
    class Document;

    /// No manager is active at first.
    ActiveHistory();
    ActiveHistory(const ActiveHistory&) = delete;
    ActiveHistory& operator=(const ActiveHistory&) = delete;

    /// Documents may outlive it; they have no effect then.
    ~ActiveHistory();

    /// The manager of the document that is active; null if none is.
    CommandManager* getActive() const;

    /// Lets no document be active, as if it had been destroyed. @throws as Document::activate().
    void deactivate();

    /// After another manager, or none, became active.
    [[nodiscard]] Signals::Connection connectToSigActiveChanged(const Signals::Slot<void()>& slot);

    /// After that too, and whenever undo and redo of the active manager may have changed.
    [[nodiscard]] Signals::Connection connectToSigUpdated(const Signals::Slot<void()>& slot);

private:
    class VALDANE_EDITING_NO_EXPORT Private;

    std::shared_ptr<Private> d;
};

/// Makes the manager of a document known to an ActiveHistory for as long as it lives.
///
/// Ownership: the manager must outlive it. Either of it and the ActiveHistory may be destroyed first.
/// Thread: as CommandManager.
class VALDANE_EDITING_EXPORT ActiveHistory::Document
{
public:
    /// Does not activate it.
    Document(ActiveHistory& history, CommandManager& commandManager);
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    /// No manager is active any more if this one was. Lets no exception of a slot out.
    ~Document();

    /// Makes its manager the active one. Tells nobody if it is so already.
    /// @throws std::bad_alloc, with nothing changed; what slots throw, when all signals were emitted.
    void activate();

    /// Whether it was activated last, and not deactivated since.
    bool isActive() const;

private:
    CommandManager& manager;
    std::weak_ptr<Private> owner;
};

} // namespace Valdane
