#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Toolkit/Qt/QtCommand.h"
#include "Toolkit/Qt/QtExport.h"

#include <QObject>
#include <QString>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class QAction;

namespace Valdane
{

class UndoGroup;
struct HistoryChange;

/// The interface of the toolkit's undo stack on a CommandManager: for programs that move here. Put
/// `Valdane::UndoStack` where `QUndoStack` stood; the commands stay as they are. Each is a step of the manager,
/// beside commands of the manager's own, so that these can replace the others one by one.
///
///     Valdane::UndoStack stack(manager);
///     stack.push(new MoveItem(item, place));
///     manager.addCommand(std::make_shared<RenameCommand>(item, "P-101"));
///     stack.undo(); // the rename
///
/// Index, texts, merging, obsolete commands, macros, clean state, limit, and the order of the signals are those
/// of `QUndoStack` in Qt 6.4. What others do through the manager is told by the same signals.
///
/// Failures: what a command throws in push() passes to the caller, and the command is destroyed. In undo(),
/// redo() and setIndex() the manager reports it, or lets it pass if it is no `std::exception`. The index is told as
/// far as the commands before it have moved.
///
/// Ownership: owns the commands that are pushed. A manager that was given must outlive the stack.
/// Thread: as CommandManager.
class VALDANE_QT_EXPORT UndoStack : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool active READ isActive WRITE setActive)
    Q_PROPERTY(int undoLimit READ undoLimit WRITE setUndoLimit)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY canUndoChanged)
    Q_PROPERTY(bool canRedo READ canRedo NOTIFY canRedoChanged)
    Q_PROPERTY(QString undoText READ undoText NOTIFY undoTextChanged)
    Q_PROPERTY(QString redoText READ redoText NOTIFY redoTextChanged)
    Q_PROPERTY(bool clean READ isClean NOTIFY cleanChanged)

public:
    /// A stack with a manager of its own.
    explicit UndoStack(QObject* parent = nullptr);

    /// A stack on @p commandManager, whose history may have commands. The present state is clean.
    explicit UndoStack(CommandManager& commandManager, QObject* parent = nullptr);
    ~UndoStack() override;

    /// The manager that runs the commands.
    CommandManager& manager() const
    {
        return commands;
    }

    /// Forgets all commands and ends the open macros, undoing nothing. The state is clean then.
    void clear();

    /// Runs @p command and puts it on the stack, unless the one before takes it in or it is obsolete.
    void push(QUndoCommand* command);

    /// Whether there is a command to undo, and no macro or group is open.
    bool canUndo() const
    {
        return commands.canUndo();
    }

    /// The same for redo.
    bool canRedo() const
    {
        return commands.canRedo();
    }

    /// `QUndoCommand::actionText()` of the command that undo() takes; empty if it would take none.
    QString undoText() const;
    /// The same for redo().
    QString redoText() const;

    /// How many commands there are. An open macro counts as one.
    int count() const
    {
        return static_cast<int>(commands.getQueueSize()) + (macros.empty() ? 0 : 1);
    }

    /// How many of them are done.
    int index() const
    {
        return static_cast<int>(told);
    }

    /// `QUndoCommand::text()` of the command in @p row, the oldest first; empty if there is none.
    QString text(int row) const;

    /// Null for a macro, and for a command of the manager's own.
    const QUndoCommand* command(int row) const;

    /// Actions that follow the stack. With a @p prefix, the text is that and the command's.
    QAction* createUndoAction(QObject* parent, const QString& prefix = {}) const;
    /// The same for redo().
    QAction* createRedoAction(QObject* parent, const QString& prefix = {}) const;

    /// Whether it is the active stack of its group, or in no group.
    bool isActive() const;

    /// Whether the index is the clean one, and no macro is open.
    bool isClean() const
    {
        return macros.empty() && clean == told;
    }

    /// The index of the clean state; -1 if there is none, or no undo and redo leads there.
    int cleanIndex() const
    {
        return clean.has_value() ? static_cast<int>(*clean) : -1;
    }

    /// Until endMacro(), commands become parts of one. Uses CommandManager::beginGroup(); nothing can be undone
    /// meanwhile. The macro is over when others end that group.
    /// @throws VdException while a threaded command is running; what could be redone is kept then.
    void beginMacro(const QString& text);
    /// Ends what beginMacro() began. Without commands it is a step, too.
    void endMacro();

    /// The most commands that are kept; 0 is no limit. Has no effect if there are commands.
    void setUndoLimit(int limit);

    /// That number.
    int undoLimit() const
    {
        return commands.usesMaxQueueSize() ? static_cast<int>(commands.getMaxQueueSize()) : 0;
    }

public Q_SLOTS:
    /// Makes the present state the clean one, and the save point of the manager's first tracker.
    void setClean();
    /// No state is clean any more.
    void resetClean();
    /// Undoes or redoes until @p row commands are done, or one fails. Refused with a warning in a macro, as the others.
    void setIndex(int row);
    /// Undoes one command.
    void undo();
    /// Redoes one command.
    void redo();
    /// Makes it the active stack of its group, or has that group have none.
    void setActive(bool active = true);

Q_SIGNALS:
    /// After each change, with the new index: also if a command was merged, and if the limit keeps it the same.
    void indexChanged(int index);
    /// After the state became clean, or no longer is.
    void cleanChanged(bool clean);
    /// These four follow indexChanged(), and tell what may have changed.
    void canUndoChanged(bool canUndo);
    /// As canUndoChanged().
    void canRedoChanged(bool canRedo);
    /// As canUndoChanged().
    void undoTextChanged(const QString& undoText);
    /// As canUndoChanged().
    void redoTextChanged(const QString& redoText);

private:
    friend class UndoGroup;

    UndoStack(CommandManager* given, QObject* parent);
    bool isRefused(const char* operation) const;
    std::shared_ptr<QtCommand> findMergeTarget() const;
    void followMerge(const std::shared_ptr<QtCommand>& target);
    bool step(bool isRedo);
    void followGroups();
    void follow(const HistoryChange& change);
    void settle(bool wasClean);
    void tellActions();

    std::unique_ptr<CommandManager> ownManager;
    CommandManager& commands;
    UndoGroup* group = nullptr;
    /// For each macro that is open: how many groups of the manager are open with its own.
    std::vector<std::uint64_t> macros;
    /// In a macro: what was pushed since it or a group in it has begun or ended, or a command of the manager's own was
    /// added. The last one may take in the next.
    std::vector<std::shared_ptr<QtCommand>> mergeable;
    /// The index that was told last.
    std::uint64_t told = commands.getPosition();
    /// The clean index; empty if there is none.
    std::optional<std::uint64_t> clean = told;
    /// Whether an operation of the stack changes the history; it tells of that itself.
    bool isWorking = false;
    std::array<Signals::Connection, 3> connections;
};

} // namespace Valdane
