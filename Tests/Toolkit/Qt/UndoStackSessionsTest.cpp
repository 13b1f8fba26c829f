// Random sessions on the toolkit's own undo stack and on ours: whoever listens hears the same, and the same commands
// live.

#include "Toolkit/Qt/UndoStack.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QUndoStack>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

/// What one side does, for comparison.
struct Record
{
    std::string lines;
    std::vector<int> data;
    int living = 0;

    void note(const std::string& text)
    {
        lines += text + '\n';
    }
};

struct CommandPlan
{
    int value = 0;
    int id = -1;
    /// At which call it becomes obsolete: 1 the first redo(), 2 what follows; 0 never.
    int obsoleteAt = 0;
    bool takesIn = true;
    bool isObsoleteAfterMerge = false;
};

class PlannedCommand : public QUndoCommand
{
public:
    PlannedCommand(Record& kept, const CommandPlan& kind)
        : QUndoCommand(QString("command %1\naction %1").arg(kind.value)),
          record(kept),
          plan(kind),
          values{kind.value}
    {
        ++record.living;
    }

    PlannedCommand(const PlannedCommand&) = delete;
    PlannedCommand& operator=(const PlannedCommand&) = delete;

    ~PlannedCommand() override
    {
        --record.living;
    }

    void redo() override
    {
        record.note("redo " + std::to_string(plan.value));
        record.data.insert(record.data.end(), values.begin(), values.end());
        count();
    }

    void undo() override
    {
        record.note("undo " + std::to_string(plan.value));
        record.data.resize(record.data.size() - values.size());
        count();
    }

    int id() const override
    {
        return plan.id;
    }

    bool mergeWith(const QUndoCommand* other) override
    {
        const auto* next = dynamic_cast<const PlannedCommand*>(other);
        record.note("merge " + std::to_string(plan.value) + " with " + std::to_string(next->plan.value));
        if (!plan.takesIn)
        {
            return false;
        }
        values.insert(values.end(), next->values.begin(), next->values.end());
        setText(text() + '+' + next->text() + '\n' + actionText());
        setObsolete(plan.isObsoleteAfterMerge);
        return true;
    }

private:
    void count()
    {
        if (++calls == plan.obsoleteAt)
        {
            setObsolete(true);
        }
    }

    Record& record;
    CommandPlan plan;
    std::vector<int> values;
    int calls = 0;
};

/// A stack, and all that it tells.
template <typename Stack>
class Side
{
public:
    Side()
        : undoAction(stack.createUndoAction(nullptr)), redoAction(stack.createRedoAction(nullptr, "Again:"))
    {
        listen(&Stack::indexChanged, "index");
        listen(&Stack::cleanChanged, "clean");
        listen(&Stack::canUndoChanged, "can undo");
        listen(&Stack::canRedoChanged, "can redo");
        listenToText(&Stack::undoTextChanged, "undo text");
        listenToText(&Stack::redoTextChanged, "redo text");
    }

    void noteState()
    {
        std::string state = "state";
        for (const int number : {stack.count(), stack.index(), stack.cleanIndex(), int(stack.isClean()),
                                 int(stack.canUndo()), int(stack.canRedo()), int(undoAction->isEnabled()),
                                 int(redoAction->isEnabled()), record.living})
        {
            state += ' ' + std::to_string(number);
        }
        for (int row = -1; row <= stack.count(); ++row)
        {
            state += " [" + stack.text(row).toStdString() + ']';
        }
        for (const QString& text :
             {stack.undoText(), stack.redoText(), undoAction->text(), redoAction->text()})
        {
            state += " {" + text.toStdString() + '}';
        }
        state += " data";
        for (const int value : record.data)
        {
            state += ' ' + std::to_string(value);
        }
        record.note(state);
    }

    Record record;
    Stack stack;
    std::unique_ptr<QAction> undoAction;
    std::unique_ptr<QAction> redoAction;

private:
    template <typename Value>
    void listen(void (Stack::*signal)(Value), const std::string& name)
    {
        QObject::connect(&stack, signal,
                         [this, name](Value value) { record.note(name + ' ' + std::to_string(value)); });
    }

    void listenToText(void (Stack::*signal)(const QString&), const std::string& name)
    {
        QObject::connect(&stack, signal,
                         [this, name](const QString& text)
                         { record.note(name + " \"" + text.toStdString() + '"'); });
    }
};

/// One step, drawn from @p random; the same numbers give the same step.
template <typename Stack>
void step(Side<Stack>& side, std::mt19937 random, int number)
{
    const auto draw = [&](int limit)
    {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    Stack& stack = side.stack;
    switch (draw(20))
    {
    case 0:
    case 1:
    case 2:
        side.record.note("undo");
        stack.undo();
        break;
    case 3:
    case 4:
        side.record.note("redo");
        stack.redo();
        break;
    case 5:
    {
        const int row = draw(14) - 2;
        side.record.note("set index " + std::to_string(row));
        stack.setIndex(row);
        break;
    }
    case 6:
        side.record.note("set clean");
        stack.setClean();
        break;
    case 7:
        if (draw(3) == 0)
        {
            side.record.note("reset clean");
            stack.resetClean();
        }
        break;
    case 8:
    case 9:
        side.record.note("begin macro");
        stack.beginMacro(QString("macro %1\nmacro action %1").arg(number));
        break;
    case 10:
    case 11:
    case 12:
        side.record.note("end macro");
        stack.endMacro();
        break;
    case 13:
        if (draw(6) == 0)
        {
            side.record.note("clear");
            stack.clear();
            side.record.data.clear();
        }
        break;
    case 14:
        side.record.note("limit");
        stack.setUndoLimit(draw(6));
        side.record.note("limit is " + std::to_string(stack.undoLimit()));
        break;
    default:
    {
        CommandPlan plan{.value = number};
        plan.id = draw(3) - 1;
        plan.obsoleteAt = draw(3) == 0 ? draw(4) : 0;
        plan.takesIn = draw(5) != 0;
        plan.isObsoleteAfterMerge = draw(4) == 0;
        side.record.note("push");
        stack.push(new PlannedCommand(side.record, plan));
        break;
    }
    }
    side.noteState();
}

// Neither side may print what it is asked to do in the middle of a macro.
void dropMessage(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& /*text*/) {}

} // namespace

// VALDANE_UNDO_SESSIONS says how many sessions, 100 without.
TEST(UndoStackSessionsTest, TellTheSameAsTheToolkitsStack)
{
    const auto before = qInstallMessageHandler(dropMessage);
    const char* const chosen = std::getenv("VALDANE_UNDO_SESSIONS");
    const int sessions = chosen == nullptr ? 100 : std::stoi(chosen);
    constexpr int steps = 80;
    std::mt19937 seeds(1);
    for (int session = 0; session < sessions && !HasFailure(); ++session)
    {
        Side<QUndoStack> theirs;
        Side<Valdane::UndoStack> ours;
        for (int number = 0; number < steps; ++number)
        {
            const std::mt19937 random(static_cast<unsigned>(seeds()));
            theirs.record.lines.clear();
            ours.record.lines.clear();
            step(theirs, random, number);
            step(ours, random, number);
            ASSERT_EQ(theirs.record.lines, ours.record.lines) << "session " << session << ", step " << number;
        }
    }
    qInstallMessageHandler(before);
}
