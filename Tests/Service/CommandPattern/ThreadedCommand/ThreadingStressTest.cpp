#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Support/Poller.h"
#include "Tests/Support/ThreadingTest.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

/// What the commands edit: not protected, so that the thread sanitizer sees whether it is handed over
/// properly.
using Document = std::vector<int>;

enum class Fate
{
    Succeeds,
    Fails,
    /// Goes on until it is aborted.
    Waits
};

/// Appends a number to the document; a run that does not come to its end leaves the document as it was.
class AppendingRun : public ThreadedCommand
{
public:
    AppendingRun(Document& editedDocument, int appendedNumber, Fate ownFate)
        : ThreadedCommand("append " + std::to_string(appendedNumber)),
          document(editedDocument),
          number(appendedNumber),
          fate(ownFate)
    {
    }

    void run() override
    {
        getProgress()->moveTo(LegacyProgress::FullRange / 4);
        while (fate == Fate::Waits && !isAborted())
        {
            std::this_thread::yield();
        }
        if (fate == Fate::Fails)
        {
            throw std::runtime_error("refused");
        }
        if (!isAborted() && !isApplied)
        {
            document.push_back(number);
            isApplied = true;
        }
    }

    void finishRun() override
    {
        getProgress()->setComplete();
    }

    /// An abort may come when all is done already, and nobody else undoes it then.
    void sendFinishSignal(bool ok) override
    {
        if (!ok)
        {
            undo();
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void undo() override
    {
        if (std::exchange(isApplied, false))
        {
            EXPECT_EQ(document.back(), number);
            document.pop_back();
        }
    }

    void redo() override
    {
        document.push_back(number);
        isApplied = true;
    }

private:
    Document& document;
    int number;
    Fate fate;
    bool isApplied = false;
};

class AppendingCommand : public CommandBase
{
public:
    AppendingCommand(Document& editedDocument, int appendedNumber)
        : document(editedDocument), number(appendedNumber)
    {
    }

    void execute() override
    {
        document.push_back(number);
    }

    void undo() override
    {
        EXPECT_EQ(document.back(), number);
        document.pop_back();
    }

private:
    Document& document;
    int number;
};

class ThreadingStress : public ThreadingTest
{
protected:
    static int iterations()
    {
        const char* const wanted = std::getenv("VALDANE_STRESS_ITERATIONS");
        return wanted == nullptr ? 300 : std::atoi(wanted);
    }

    int below(int limit)
    {
        return std::uniform_int_distribution(0, limit - 1)(random);
    }

    std::shared_ptr<AppendingRun> makeRun(Fate fate)
    {
        return std::make_shared<AppendingRun>(document, ++lastNumber, fate);
    }

    /// Without Fate::Waits, so that the macro comes to its end without an abort.
    std::shared_ptr<ThreadedMacroCommand> makeMacro(bool mayFail)
    {
        auto macro = std::make_shared<ThreadedMacroCommand>("macro", false);
        for (int i = below(6); i > 0; --i)
        {
            if (below(3) == 0)
            {
                macro->addCommand(std::make_shared<AppendingCommand>(document, ++lastNumber));
            }
            else
            {
                macro->addCommand(makeRun(mayFail && below(8) == 0 ? Fate::Fails : Fate::Succeeds));
            }
        }
        return macro;
    }

    /// Finalizes until nothing is under way, aborting at random and, if @p abort says so, at once.
    void finalizeAll(bool abort)
    {
        if (abort)
        {
            manager->abortThreadedCommand();
        }
        while (manager->isProcessingCommand())
        {
            if (below(4) == 0)
            {
                manager->abortThreadedCommand();
            }
            if (below(2) == 0)
            {
                manager->getCurrentThreadedCommand()->getProgress()->fraction();
            }
            manager->finalizeThread();
        }
        expectIdle();
    }

    void runOne()
    {
        const Fate fate = static_cast<Fate>(below(3));
        const auto run = makeRun(fate);
        if (below(2) == 0)
        {
            run->connectToRunFinishedSignal([this](bool, const CommandBase*)
                                            { manager->addThreadedCommand(makeRun(Fate::Succeeds)); });
        }
        manager->addThreadedCommand(run);
        {
            const ValdaneTests::Poller display([this, progress = run->getProgress()]
                                               { return threads->isRunEnded() && progress->fraction() > 0; });
            if (below(8) == 0)
            {
                manager->addThreadedCommand(makeRun(Fate::Succeeds));
                manager->abortThreadedCommand();
                manager->finalizeThread();
            }
        }
        finalizeAll(fate == Fate::Waits);
    }

    void runMacro()
    {
        // A nested macro whose thread fails is not wound up with the outer one.
        const bool isNested = below(2) == 0;
        std::shared_ptr<ThreadedMacroCommand> macro = makeMacro(!isNested);
        if (isNested)
        {
            macro = std::make_shared<DelayedInitializedCommand>([macro] { return macro; });
        }
        manager->addThreadedCommand(macro);
        finalizeAll(below(4) == 0);
    }

    void moveInQueues()
    {
        EXPECT_TRUE(manager->undo(static_cast<std::uint64_t>(below(5))));
        EXPECT_TRUE(manager->redo(static_cast<std::uint64_t>(below(4))));
    }

    /// Everything that is left in the document is in the undo queue, and can be redone.
    void expectUndoneAndRedone()
    {
        const Document before = document;
        const std::uint64_t executedBefore = manager->collectUndoCommandDescriptions().size();
        EXPECT_TRUE(manager->undo(executedBefore));
        EXPECT_TRUE(document.empty());
        EXPECT_TRUE(manager->redo(executedBefore));
        EXPECT_EQ(document, before);
    }

    std::mt19937 random{4711}; // NOLINT(*-msc51-cpp): every run of the test is the same campaign
    Document document;
    int lastNumber = 0;
};

TEST_F(ThreadingStress, WhateverIsRunAbortedAndFailsTheDocumentIsWhatTheUndoQueueSays)
{
    for (int i = 0; i < iterations(); ++i)
    {
        switch (below(4))
        {
        case 0:
        case 1:
            runOne();
            break;
        case 2:
            runMacro();
            break;
        default:
            moveInQueues();
        }
        if (i % 50 == 49)
        {
            expectUndoneAndRedone();
            manager->undoAll();
            ASSERT_TRUE(document.empty());
            manager->clear();
        }
    }
}

TEST_F(ThreadingStress, EveryStartOnAWorkerIsFollowedByOneEnd)
{
    for (int i = 0; i < iterations(); ++i)
    {
        signals.clear();
        const Fate fate = static_cast<Fate>(below(3));
        manager->addThreadedCommand(makeRun(fate));
        finalizeAll(fate == Fate::Waits);
        EXPECT_EQ(signals.front(), "started");
        EXPECT_EQ(signals.back(), "finished");
        EXPECT_LE(signals.size(), 3U);
    }
}

TEST_F(ThreadingStress, ManagersDieAtAnyMoment)
{
    for (int i = 0; i < iterations(); ++i)
    {
        Document own;
        auto dying = std::make_unique<CommandManager>();
        const auto run = std::make_shared<AppendingRun>(own, i, static_cast<Fate>(below(3)));
        if (below(2) == 0)
        {
            auto macro = std::make_shared<ThreadedMacroCommand>("macro");
            macro->addCommand(std::make_shared<AppendingCommand>(own, -i));
            macro->addCommand(run);
            dying->addThreadedCommand(macro);
        }
        else
        {
            dying->addThreadedCommand(run);
        }
        for (int spin = below(200); spin > 0; --spin)
        {
            std::this_thread::yield();
        }
        if (below(3) == 0)
        {
            dying->abortThreadedCommand();
        }
        dying.reset();
        EXPECT_EQ(run.use_count(), 1);
    }
}

} // namespace
} // namespace Valdane
