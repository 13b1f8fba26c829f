#include "Toolkit/Qt/UndoRedoActions.h"

#include "Service/Editing/RedoAction.h"
#include "Service/Editing/UndoAction.h"
#include "Toolkit/Qt/EventLoopGuard.h"

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QIcon>
#include <QKeySequence>
#include <QString>
#include <QStyle>
#include <type_traits>
#include <utility>

namespace Valdane
{

namespace
{

HistoryActionTexts translated(const char* pattern, const char* plain)
{
    const auto text = [](const char* source)
    {
        return QCoreApplication::translate("Valdane::UndoRedoActions", source).toStdString();
    };
    return {.pattern = text(pattern), .plain = text(plain)};
}

HistoryActionTexts undoTexts()
{
    return translated(QT_TRANSLATE_NOOP("Valdane::UndoRedoActions", "Undo %1"),
                      QT_TRANSLATE_NOOP("Valdane::UndoRedoActions", "Undo"));
}

HistoryActionTexts redoTexts()
{
    return translated(QT_TRANSLATE_NOOP("Valdane::UndoRedoActions", "Redo %1"),
                      QT_TRANSLATE_NOOP("Valdane::UndoRedoActions", "Redo"));
}

template <typename Action>
class ShownAction : public QAction
{
public:
    template <typename Source>
    ShownAction(Source& source, QObject* parent, HistoryActionTexts texts)
        : QAction(parent),
          action(source, std::move(texts)),
          changed(action.connectToSigChanged([this] { show(); }))
    {
        connect(this, &QAction::triggered, this, [this] { callForEvent([this] { action.trigger(); }); });
        show();
    }

private:
    void show()
    {
        // A single & would be the mnemonic.
        setText(QString::fromStdString(action.getText()).replace("&", "&&"));
        setEnabled(action.isEnabled());
    }

    Action action;
    Signals::Connection changed;
};

template <typename Action, typename Source>
QAction* createAction(Source& source, QObject* parent, HistoryActionTexts texts)
{
    constexpr bool isUndo = std::is_same_v<Action, UndoAction>;
    auto* const made = new ShownAction<Action>(source, parent, std::move(texts));
    made->setShortcuts(isUndo ? QKeySequence::Undo : QKeySequence::Redo);
    made->setIcon(QIcon::fromTheme(
        isUndo ? "edit-undo" : "edit-redo",
        QApplication::style()->standardIcon(isUndo ? QStyle::SP_ArrowBack : QStyle::SP_ArrowForward)));
    return made;
}

} // namespace

QAction* createUndoAction(ActiveHistory& history, QObject* parent)
{
    return createUndoAction(history, parent, undoTexts());
}

QAction* createUndoAction(ActiveHistory& history, QObject* parent, HistoryActionTexts texts)
{
    return createAction<UndoAction>(history, parent, std::move(texts));
}

QAction* createUndoAction(CommandManager& manager, QObject* parent)
{
    return createUndoAction(manager, parent, undoTexts());
}

QAction* createUndoAction(CommandManager& manager, QObject* parent, HistoryActionTexts texts)
{
    return createAction<UndoAction>(manager, parent, std::move(texts));
}

QAction* createRedoAction(ActiveHistory& history, QObject* parent)
{
    return createRedoAction(history, parent, redoTexts());
}

QAction* createRedoAction(ActiveHistory& history, QObject* parent, HistoryActionTexts texts)
{
    return createAction<RedoAction>(history, parent, std::move(texts));
}

QAction* createRedoAction(CommandManager& manager, QObject* parent)
{
    return createRedoAction(manager, parent, redoTexts());
}

QAction* createRedoAction(CommandManager& manager, QObject* parent, HistoryActionTexts texts)
{
    return createAction<RedoAction>(manager, parent, std::move(texts));
}

} // namespace Valdane
