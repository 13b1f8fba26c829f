#pragma once

#include <QAction>
#include <QCoreApplication>

namespace Valdane
{

/// The text of an undo or redo action: @p prefix with the text of the command, or with "%1" in its place.
inline QString prefixedText(const QString& prefix, const QString& plain, const QString& text)
{
    if (!plain.isEmpty())
    {
        return text.isEmpty() ? plain : prefix.arg(text);
    }
    return text.isEmpty() ? prefix : prefix + (prefix.isEmpty() ? "" : " ") + text;
}

/// An action that does @p trigger of @p source, and shows what the two signals tell.
template <typename Source>
QAction* createPrefixedAction(const Source& source, QObject* parent, const QString& prefix,
                              const QString& plain, const QString& text, bool isEnabled,
                              void (Source::*enabledSignal)(bool), void (Source::*textSignal)(const QString&),
                              void (Source::*trigger)())
{
    auto* action = new QAction(prefixedText(prefix, plain, text), parent);
    action->setEnabled(isEnabled);
    QObject::connect(&source, enabledSignal, action, &QAction::setEnabled);
    QObject::connect(&source, textSignal, action,
                     [action, prefix, plain](const QString& newText)
                     { action->setText(prefixedText(prefix, plain, newText)); });
    QObject::connect(action, &QAction::triggered, &source, trigger);
    return action;
}

/// An action that undoes in @p source, an UndoStack or an UndoGroup.
template <typename Source>
QAction* createPrefixedUndoAction(const Source& source, QObject* parent, const QString& prefix)
{
    const bool isPlain = prefix.isEmpty();
    return createPrefixedAction(
        source, parent, isPlain ? QCoreApplication::translate("Valdane::UndoStack", "Undo %1") : prefix,
        isPlain ? QCoreApplication::translate("Valdane::UndoStack", "Undo") : QString(), source.undoText(),
        source.canUndo(), &Source::canUndoChanged, &Source::undoTextChanged, &Source::undo);
}

/// An action that redoes in @p source, an UndoStack or an UndoGroup.
template <typename Source>
QAction* createPrefixedRedoAction(const Source& source, QObject* parent, const QString& prefix)
{
    const bool isPlain = prefix.isEmpty();
    return createPrefixedAction(
        source, parent, isPlain ? QCoreApplication::translate("Valdane::UndoStack", "Redo %1") : prefix,
        isPlain ? QCoreApplication::translate("Valdane::UndoStack", "Redo") : QString(), source.redoText(),
        source.canRedo(), &Source::canRedoChanged, &Source::redoTextChanged, &Source::redo);
}

} // namespace Valdane
