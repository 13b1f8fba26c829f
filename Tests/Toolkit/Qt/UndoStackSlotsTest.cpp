// Slots and commands that push, and stacks and groups that are destroyed in any order: the same on the toolkit's own
// classes and on ours.

#include "Toolkit/Qt/UndoGroup.h"
#include "Toolkit/Qt/UndoStack.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QUndoGroup>
#include <QUndoStack>
#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace
{

/// A command that writes down what is done with it, and does in its first redo() what it was given.
class Noted : public QUndoCommand
{
public:
    Noted(std::string& kept, const std::string& what, std::function<void()> work = {})
        : QUndoCommand(QString::fromStdString(what)), lines(kept), name(what), inRedo(std::move(work))
    {
    }

    Noted(const Noted&) = delete;
    Noted& operator=(const Noted&) = delete;

    ~Noted() override
    {
        lines += "delete " + name + '\n';
    }

    void redo() override
    {
        lines += "redo " + name + '\n';
        if (inRedo)
        {
            inRedo();
        }
    }

    void undo() override
    {
        lines += "undo " + name + '\n';
    }

    int id() const override
    {
        return kind;
    }

    bool mergeWith(const QUndoCommand* /*other*/) override
    {
        return true;
    }

    int kind = -1;

private:
    std::string& lines;
    std::string name;
    std::function<void()> inRedo;
};

/// What a stack or a group tells, and what a slot does when it hears the signal with a certain number.
class Listener
{
public:
    static constexpr int SignalCount = 6;

    template <typename Source>
    Listener(Source& source, std::string& kept) : lines(kept)
    {
        listen(source, 0, "index", &Source::indexChanged);
        listen(source, 1, "clean", &Source::cleanChanged);
        listen(source, 2, "can undo", &Source::canUndoChanged);
        listen(source, 3, "can redo", &Source::canRedoChanged);
        listen(source, 4, "undo text", &Source::undoTextChanged);
        listen(source, 5, "redo text", &Source::redoTextChanged);
    }

    std::string& lines;
    int chosen = -1;
    std::function<void()> slot = [] {
    };

private:
    static std::string textOf(const QString& value)
    {
        return value.toStdString();
    }

    static std::string textOf(int value)
    {
        return std::to_string(value);
    }

    template <typename Source, typename Value>
    void listen(Source& source, int number, const std::string& name, void (Source::*signal)(Value))
    {
        QObject::connect(&source, signal, &context,
                         [this, number, name](Value value)
                         {
                             lines += name + " " + textOf(value) + '\n';
                             if (number == chosen)
                             {
                                 chosen = -1;
                                 slot();
                             }
                         });
    }

    // The toolkit's stack tells something when it is destroyed. Then nobody listens any more.
    QObject context;
};

/// Everything that may tell, with a slot of one signal that pushes a command.
template <typename Stack>
std::string pushFromSlot(int signal, int operation)
{
    std::string lines;
    Stack stack;
    Listener listener(stack, lines);
    const auto push = [&](const char* name)
    {
        stack.push(new Noted(lines, name));
    };
    push("a");
    stack.setClean();
    push("b");
    push("c");
    stack.undo();
    lines += "--\n";
    listener.chosen = signal;
    listener.slot = [&]
    {
        push("from the slot");
    };
    const std::array<std::function<void()>, 8> operations = {
        [&] { push("d"); },
        [&] { stack.undo(); },
        [&] { stack.redo(); },
        [&] { stack.setClean(); },
        [&] { stack.setIndex(0); },
        [&] { stack.clear(); },
        [&]
        {
            stack.beginMacro("macro");
            push("part");
            stack.endMacro();
        },
        [&]
        {
            stack.setIndex(1);
            stack.resetClean();
        },
    };
    operations.at(static_cast<std::size_t>(operation))();
    lines += "then " + std::to_string(stack.index()) + " of " + std::to_string(stack.count()) + ", clean " +
             std::to_string(stack.cleanIndex()) + '\n';
    for (int row = 0; row < stack.count(); ++row)
    {
        lines += stack.text(row).toStdString() + '\n';
    }
    // The last commands go in another order.
    return std::exchange(lines, {});
}

/// The order in which two stacks and their group are destroyed; @p active is the stack that was active, 2 is none.
template <typename Stack, typename Group>
std::string destroyInOrder(const std::array<int, 3>& order, int active)
{
    std::string lines;
    auto group = std::make_unique<Group>();
    std::array<std::unique_ptr<Stack>, 2> stacks;
    Listener listener(*group, lines);
    QObject::connect(group.get(), &Group::activeStackChanged,
                     [&](Stack* stack)
                     {
                         const auto found = std::ranges::find(stacks, stack, &std::unique_ptr<Stack>::get);
                         lines += stack == nullptr
                                      ? "no stack is active\n"
                                      : "active " + std::to_string(found - stacks.begin()) + '\n';
                     });
    for (auto& stack : stacks)
    {
        stack = std::make_unique<Stack>();
        group->addStack(stack.get());
        stack->push(new Noted(lines, "a"));
    }
    const std::unique_ptr<QAction> action(group->createUndoAction(nullptr));
    if (active < 2)
    {
        stacks.at(static_cast<std::size_t>(active))->setActive();
    }
    for (const int next : order)
    {
        lines += "destroy " + std::to_string(next) + '\n';
        if (next == 2)
        {
            group.reset();
        }
        else
        {
            stacks.at(static_cast<std::size_t>(next)).reset();
        }
        lines += group == nullptr ? "" : "of " + std::to_string(group->stacks().size()) + '\n';
        for (const auto& stack : stacks)
        {
            if (stack != nullptr)
            {
                stack->push(new Noted(lines, "b"));
                stack->undo();
                stack->redo();
                stack->setActive(stack->isActive());
                lines += stack->isActive() ? "active\n" : "not active\n";
            }
        }
        lines += action->text().toStdString() + (action->isEnabled() ? " enabled\n" : " disabled\n");
    }
    return std::exchange(lines, {});
}

} // namespace

TEST(UndoStackSlotsTest, ASlotOfAnySignalMayPush)
{
    int pushes = 0;
    constexpr int clearing = 5;
    for (int signal = 0; signal < Listener::SignalCount; ++signal)
    {
        for (int operation = 0; operation < 8; ++operation)
        {
            const auto ours = pushFromSlot<Valdane::UndoStack>(signal, operation);
            if (operation != clearing)
            {
                EXPECT_EQ(ours, pushFromSlot<QUndoStack>(signal, operation))
                    << "signal " << signal << ", operation " << operation;
            }
            pushes += ours.find("redo from the slot") != std::string::npos ? 1 : 0;
        }
    }
    EXPECT_EQ(pushes, 39);

    // The toolkit's stack tells then that it is empty and clean, although it is not any more.
    const auto lines = pushFromSlot<Valdane::UndoStack>(0, clearing);
    EXPECT_EQ(
        lines.substr(lines.find("--")),
        "--\ndelete a\ndelete b\ndelete c\nindex 0\n"
        "redo from the slot\nindex 1\ncan undo 1\nundo text from the slot\ncan redo 0\nredo text \nclean 0\n"
        "can undo 1\nundo text from the slot\ncan redo 0\nredo text \nthen 1 of 1, clean 0\nfrom the slot\n");
}

TEST(UndoStackSlotsTest, ACommandThatWasTakenInIsGoneWhenItIsTold)
{
    const auto pushTwo = []<typename Stack>(Stack& stack, std::string& lines)
    {
        for (const char* name : {"a", "b"})
        {
            auto* command = new Noted(lines, name);
            command->kind = 1;
            stack.push(command);
        }
    };
    std::string theirLines;
    QUndoStack theirs;
    const Listener theirListener(theirs, theirLines);
    pushTwo(theirs, theirLines);
    std::string ourLines;
    Valdane::UndoStack ours;
    const Listener ourListener(ours, ourLines);
    pushTwo(ours, ourLines);
    EXPECT_EQ(ourLines, theirLines);
    EXPECT_EQ(ourLines.substr(ourLines.find("redo b")),
              "redo b\ndelete b\nindex 1\ncan undo 1\nundo text a\ncan redo 0\nredo text \n");
}

TEST(UndoStackSlotsTest, ACommandThatPushesInItsRedoComesAfterWhatItPushed)
{
    const auto push = []<typename Stack>(Stack& stack, std::string& lines)
    {
        stack.push(new Noted(lines, "outer", [&] { stack.push(new Noted(lines, "inner")); }));
    };
    std::string theirLines;
    QUndoStack theirs;
    const Listener theirListener(theirs, theirLines);
    push(theirs, theirLines);
    std::string ourLines;
    Valdane::UndoStack ours;
    const Listener ourListener(ours, ourLines);
    push(ours, ourLines);
    EXPECT_EQ(ourLines, theirLines);
    EXPECT_EQ(ours.text(0) + ", " + ours.text(1), "inner, outer");

    // The toolkit's stack destroys a command that pushes when it is redone while its redo() is running.
    ours.undo();
    ourLines.clear();
    ours.redo();
    EXPECT_EQ(ourLines, "redo outer\nredo inner\n"
                        "index 2\ncan undo 1\nundo text inner\ncan redo 0\nredo text \n"
                        "index 3\ncan undo 1\nundo text outer\ncan redo 0\nredo text \n");
    EXPECT_EQ(ours.count(), 3);
    EXPECT_EQ(ours.index(), 3);
    ours.setIndex(0);
    EXPECT_EQ(ours.index(), 0);
}

TEST(UndoStackSlotsTest, TwoStacksAndTheirGroupAreDestroyedInEveryOrder)
{
    std::array<int, 3> order = {0, 1, 2};
    do
    {
        for (int active = 0; active < 3; ++active)
        {
            EXPECT_EQ((destroyInOrder<Valdane::UndoStack, Valdane::UndoGroup>(order, active)),
                      (destroyInOrder<QUndoStack, QUndoGroup>(order, active)))
                << order[0] << order[1] << order[2] << ", active " << active;
        }
    } while (std::ranges::next_permutation(order).found);
    EXPECT_EQ((destroyInOrder<Valdane::UndoStack, Valdane::UndoGroup>({1, 0, 2}, 1)),
              "redo a\nredo a\n"
              "can undo 1\nundo text a\ncan redo 0\nredo text \nclean 0\nindex 1\nactive 1\n"
              "destroy 1\n"
              "can undo 0\nundo text \ncan redo 0\nredo text \nclean 1\nindex 0\nno stack is active\ndelete "
              "a\nof 1\n"
              "redo b\nundo b\nredo b\nnot active\nUndo disabled\n"
              "destroy 0\ndelete a\ndelete b\nof 0\nUndo disabled\n"
              "destroy 2\nUndo disabled\n");
}
