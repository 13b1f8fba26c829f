#pragma once

#include "Benchmarks/Histories/Setting.h"

#include <QString>
#include <QUndoCommand>
#include <QUndoStack>
#include <cstddef>
#include <utility>

namespace Valdane::Benchmarks
{

/// Qt's undo stack.
class QtHistory
{
public:
    static constexpr const char* name = "QUndoStack";

    explicit QtHistory(const Setting& setting)
    {
        stack.setUndoLimit(static_cast<int>(setting.limit));
        if (setting.listeners != 0)
        {
            listen(&QUndoStack::indexChanged);
        }
        if (setting.listensToEverySignal)
        {
            listen(&QUndoStack::cleanChanged);
            listen(&QUndoStack::canUndoChanged);
            listen(&QUndoStack::canRedoChanged);
            listen(&QUndoStack::undoTextChanged);
            listen(&QUndoStack::redoTextChanged);
        }
    }

    void push(int value)
    {
        stack.push(new SetNumber(number, value));
    }

    void undo()
    {
        stack.undo();
    }

    void redo()
    {
        stack.redo();
    }

private:
    class SetNumber : public QUndoCommand
    {
    public:
        SetNumber(int& target, int value)
            : QUndoCommand(QString::fromLatin1(commandText)), number(target), newValue(value)
        {
        }

        void redo() override
        {
            oldValue = std::exchange(number, newValue);
        }

        void undo() override
        {
            number = oldValue;
        }

    private:
        int& number;
        int newValue;
        int oldValue = 0;
    };

    template <typename SignalOfStack>
    void listen(SignalOfStack signal)
    {
        QObject::connect(&stack, signal, &stack, [this] { hear(calls); });
    }

    int number = 0;
    std::size_t calls = 0;
    QUndoStack stack;
};

} // namespace Valdane::Benchmarks
