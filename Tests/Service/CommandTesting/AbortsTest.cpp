#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/CommandKit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

struct Store
{
    std::string parts;
    int count = 0;
};

// Reads a part, a letter at a time, and keeps it when it is told that the run has succeeded.
class LoadRun : public ThreadedCommand
{
public:
    LoadRun(Store& filledStore, std::string part)
        : ThreadedCommand("Load " + part), store(filledStore), letters(std::move(part))
    {
    }

    void run() override
    {
        read.clear();
        for (const char letter : letters)
        {
            if (isAborted())
            {
                return;
            }
            read += letter;
        }
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            keep();
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void execute() override
    {
        ThreadedCommand::execute();
        keep();
    }

    void undo() override
    {
        if (isKept)
        {
            removePart();
            --store.count;
            isKept = false;
        }
    }

    void redo() override
    {
        keep();
    }

protected:
    void keep()
    {
        store.parts += read;
        ++store.count;
        isKept = true;
    }

    void removePart()
    {
        store.parts.resize(store.parts.size() - read.size());
    }

    Store& store;
    std::string letters;
    std::string read;
    bool isKept = false;
};

class SetCountCommand : public CommandBase
{
public:
    explicit SetCountCommand(Store& countedStore) : CommandBase("Count"), store(countedStore) {}

    void execute() override
    {
        store.count += 100;
    }

    void undo() override
    {
        store.count -= 100;
    }

private:
    Store& store;
};

CommandKit<Store> storeKit()
{
    return {[] { return std::make_unique<Store>(); },
            [](const Store& store)
            {
                return "parts: " + store.parts + "\ncount: " + std::to_string(store.count) + "\n";
            }};
}

template <typename Command>
std::string abortsOf()
{
    return storeKit().aborts([](Store& store) { return std::make_shared<Command>(store, "ab"); }).toText();
}

std::shared_ptr<ThreadedMacroCommand> macroOf(const std::vector<std::shared_ptr<CommandBase>>& commands)
{
    auto macro = std::make_shared<ThreadedMacroCommand>("Load all");
    for (const auto& command : commands)
    {
        macro->addCommand(command);
    }
    return macro;
}

TEST(AbortsTest, OneThatHandsOverWhenItIsToldOfSuccessIsNotAccused)
{
    EXPECT_EQ(abortsOf<LoadRun>(), "Aborts of \"Load ab\": no mistakes\n");
}

TEST(AbortsTest, OfManyQuestionsEverFewerAreTried)
{
    int worlds = 0;
    const CommandKit<Store> kit(
        [&worlds]
        {
            ++worlds;
            return std::make_unique<Store>();
        },
        [](const Store& store) { return store.parts; });
    const auto worldsFor = [&](std::size_t questions)
    {
        worlds = 0;
        EXPECT_TRUE(kit.aborts([questions](Store& store)
                               { return std::make_shared<LoadRun>(store, std::string(questions, 'a')); }));
        return worlds;
    };
    // In each mode.
    const int of256 = worldsFor(256);
    EXPECT_EQ(of256 - worldsFor(255), 2);
    EXPECT_EQ(worldsFor(259), of256);
    EXPECT_EQ(worldsFor(260), of256 + 2);
    EXPECT_EQ(worldsFor(1000), of256 + 2 * 93) << "260, 264, 268 ... 987";
}

TEST(AbortsTest, OfTwoLongRunsAMistakeIsOneMistake)
{
    // Writes what it has read, if it is aborted late.
    class Late : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void sendFinishSignal(bool ok) override
        {
            store.count += !ok && read.size() > 100 ? 1 : 0;
            LoadRun::sendFinishSignal(ok);
        }
    };

    const auto make = [](Store& store)
    {
        return macroOf({std::make_shared<LoadRun>(store, std::string(300, 'a')),
                        std::make_shared<Late>(store, std::string(300, 'b'))});
    };
    const std::string text = storeKit().aborts(make).toText();
    EXPECT_TRUE(text.starts_with("Aborts of \"Load all\": 2 mistakes\n"
                                 "  Aborted on a worker in \"Load bbb"))
        << text;
    EXPECT_NE(text.find(" at isAborted() (calls 102 to 256, 260, 264"), std::string::npos) << text;
}

TEST(AbortsTest, OneThatTakesBackWhenItIsToldOfTheAbortIsNotAccused)
{
    class TakingBack : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void finishRun() override
        {
            if (!isAborted())
            {
                keep();
            }
        }

        void sendFinishSignal(bool ok) override
        {
            if (!ok)
            {
                undo();
            }
            ThreadedCommand::sendFinishSignal(ok);
        }
    };

    EXPECT_EQ(abortsOf<TakingBack>(), "Aborts of \"Load ab\": no mistakes\n");
}

TEST(AbortsTest, OneThatEndsItsRunByAnExceptionIsNotAccused)
{
    class Throwing : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void run() override
        {
            LoadRun::run();
            if (isAborted())
            {
                throw std::runtime_error("aborted");
            }
        }
    };

    EXPECT_EQ(abortsOf<Throwing>(), "Aborts of \"Load ab\": no mistakes\n");
}

TEST(AbortsTest, ARunMayAskUnderTheLockThatItsAbortNeeds)
{
    class Waiting : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void run() override
        {
            std::unique_lock lock(mutex);
            woken.wait(lock, [this] { return isAborted() || letters == "ab"; });
            lock.unlock();
            LoadRun::run();
        }

    protected:
        void abortRun() override
        {
            const std::scoped_lock lock(mutex);
            woken.notify_all();
        }

    private:
        std::mutex mutex;
        std::condition_variable woken;
    };

    EXPECT_EQ(abortsOf<Waiting>(), "Aborts of \"Load ab\": no mistakes\n");
}

TEST(AbortsTest, OneThatWritesWhateverIsAskedOfItIsAccused)
{
    class Ignoring : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void run() override
        {
            read = letters;
            keep();
        }

        void sendFinishSignal(bool ok) override
        {
            ThreadedCommand::sendFinishSignal(ok);
        }
    };

    EXPECT_EQ(
        abortsOf<Ignoring>(),
        "Aborts of \"Load ab\": 2 mistakes\n"
        "  Not aborted, on a worker: no run asks isAborted(), so that none stops early\n"
        "  Aborted on a worker before the run and after the run,\n"
        "    and in synchronous mode before the run: the data are not as before (- expected, + found):\n"
        "    - parts: \n"
        "    - count: 0\n"
        "    + parts: ab\n"
        "    + count: 1\n");
}

TEST(AbortsTest, OneThatDoesNotRestoreWhatItsRunHasWrittenIsAccused)
{
    class WritingAtOnce : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void run() override
        {
            for (const char letter : letters)
            {
                if (isAborted())
                {
                    return;
                }
                store.parts += letter;
                read += letter;
            }
            ++store.count;
            isKept = true;
        }

        void sendFinishSignal(bool ok) override
        {
            ThreadedCommand::sendFinishSignal(ok);
        }
    };

    EXPECT_EQ(abortsOf<WritingAtOnce>(),
              "Aborts of \"Load ab\": 2 mistakes\n"
              "  Aborted on a worker and in synchronous mode at isAborted() (call 2): the data are not as "
              "before (- expected, + found):\n"
              "    - parts: \n"
              "    + parts: a\n"
              "  Aborted on a worker after the run: the data are not as before (- expected, + found):\n"
              "    - parts: \n"
              "    - count: 0\n"
              "    + parts: ab\n"
              "    + count: 1\n");
}

TEST(AbortsTest, OneThatHandsOverWhenItIsToldOfTheAbortIsAccused)
{
    class AlwaysKeeping : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void sendFinishSignal(bool /*ok*/) override
        {
            LoadRun::sendFinishSignal(true);
        }
    };

    EXPECT_EQ(abortsOf<AlwaysKeeping>(),
              "Aborts of \"Load ab\": 2 mistakes\n"
              "  Aborted on a worker and in synchronous mode before the run and at isAborted() (call 1): the "
              "data are not as before (- expected, + found):\n"
              "      parts: \n"
              "    - count: 0\n"
              "    + count: 1\n"
              "  Aborted on a worker at isAborted() (call 2) and after the run,\n"
              "    and in synchronous mode at isAborted() (call 2): the data are not as before (- expected, "
              "+ found):\n"
              "    - parts: \n"
              "    - count: 0\n"
              "    + parts: a\n"
              "    + count: 1\n"
              "    This is the first place; elsewhere the + lines are different.\n");
}

TEST(AbortsTest, OneThatRestoresOneFieldOnlyIsAccused)
{
    class RestoringHalf : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void finishRun() override
        {
            keep();
        }

        void sendFinishSignal(bool ok) override
        {
            if (!ok)
            {
                removePart();
                isKept = false;
            }
            ThreadedCommand::sendFinishSignal(ok);
        }
    };

    EXPECT_EQ(abortsOf<RestoringHalf>(),
              "Aborts of \"Load ab\": 1 mistake\n"
              "  Aborted on a worker before the run, at isAborted() (calls 1 and 2) and after the run,\n"
              "    and in synchronous mode before the run and at isAborted() (calls 1 and 2): the data are "
              "not as before (- expected, + found):\n"
              "      parts: \n"
              "    - count: 0\n"
              "    + count: 1\n");
}

TEST(AbortsTest, OneWhoseUndoDoesNotKnowThatNothingWasDoneIsAccused)
{
    class AlwaysUndoing : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void undo() override
        {
            --store.count;
        }
    };

    EXPECT_EQ(abortsOf<AlwaysUndoing>(),
              "Aborts of \"Load ab\": 1 mistake\n"
              "  Aborted in synchronous mode before the run and at isAborted() (calls 1 and 2): after undo() "
              "the data are not as before (- expected, + found):\n"
              "      parts: \n"
              "    - count: 0\n"
              "    + count: -1\n");
}

TEST(AbortsTest, OneThatNeverAsksIsAccused)
{
    class NeverAsking : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void run() override
        {
            read = letters;
        }
    };

    EXPECT_EQ(abortsOf<NeverAsking>(),
              "Aborts of \"Load ab\": 1 mistake\n"
              "  Not aborted, on a worker: no run asks isAborted(), so that none stops early\n");
}

TEST(AbortsTest, WhatAbortRunThrowsIsTold)
{
    class ThrowingAbort : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

    protected:
        void abortRun() override
        {
            throw std::runtime_error("cannot stop");
        }
    };

    EXPECT_EQ(abortsOf<ThrowingAbort>(),
              "Aborts of \"Load ab\": 1 mistake\n"
              "  Aborted on a worker before the run, at isAborted() (calls 1 and 2) and after the run,\n"
              "    and in synchronous mode before the run and at isAborted() (calls 1 and 2): abortRun() "
              "throws: cannot stop\n");
}

TEST(AbortsTest, OneThatFailsWithoutAnAbortIsAccusedOfThat)
{
    class Failing : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void run() override
        {
            throw std::runtime_error("no such file");
        }
    };

    EXPECT_EQ(abortsOf<Failing>(),
              "Aborts of \"Load ab\": 1 mistake\n"
              "  Not aborted, on a worker and in synchronous mode: it fails: no such file\n");
}

TEST(AbortsTest, WhatIsNotDerivedFromAnExceptionIsTold)
{
    class ThrowingNumbers : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void run() override
        {
            LoadRun::run();
            if (isAborted())
            {
                throw 1;
            }
        }
    };

    EXPECT_EQ(abortsOf<ThrowingNumbers>(),
              "Aborts of \"Load ab\": 2 mistakes\n"
              "  Aborted on a worker before the run and at isAborted() (calls 1 to 3): finalizeThread() "
              "throws something that is not derived from std::exception\n"
              "  Aborted in synchronous mode before the run and at isAborted() (calls 1 to 3): "
              "addThreadedCommand() throws something that is not derived from std::exception\n");
}

TEST(AbortsTest, OneThatChangesNothingProvesNothing)
{
    class Idle : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void execute() override {}

        void undo() override {}

        void redo() override {}

        void sendFinishSignal(bool ok) override
        {
            ThreadedCommand::sendFinishSignal(ok);
        }
    };

    EXPECT_EQ(abortsOf<Idle>(), "Aborts of \"Load ab\": 1 mistake\n"
                                "  Not aborted, on a worker and in synchronous mode: nothing changes that "
                                "the snapshot shows, so that aborts prove nothing\n");
    const auto make = [](Store& store)
    {
        return std::make_shared<Idle>(store, "ab");
    };
    EXPECT_TRUE(storeKit().aborts(make, true));
    const Report report = storeKit().all(make, {.changesNothing = true});
    EXPECT_TRUE(report) << report;
}

TEST(AbortsTest, ACommandThatIsNoThreadCannotBeAborted)
{
    EXPECT_EQ(
        storeKit().aborts([](Store& store) { return std::make_shared<SetCountCommand>(store); }).toText(),
        "Aborts of \"Count\": 1 mistake\n"
        "  It is neither a ThreadedCommand nor a ThreadedMacroCommand, so that it cannot be aborted\n");
    const auto noThread = [](Store& store)
    {
        return macroOf({std::make_shared<SetCountCommand>(store)});
    };
    EXPECT_EQ(storeKit().aborts(noThread).toText(), "Aborts of \"Load all\": 1 mistake\n"
                                                    "  Not aborted, on a worker and in synchronous mode: it "
                                                    "runs no thread, so that there is nothing to abort\n");
}

TEST(AbortsTest, AMacroOfThreeIsNotAccused)
{
    const auto make = [](Store& store)
    {
        return macroOf({std::make_shared<LoadRun>(store, "ab"), std::make_shared<SetCountCommand>(store),
                        std::make_shared<LoadRun>(store, "cd"), std::make_shared<LoadRun>(store, "e")});
    };
    EXPECT_EQ(storeKit().aborts(make).toText(), "Aborts of \"Load all\": no mistakes\n");
}

TEST(AbortsTest, ANestedMacroIsNotAccusedWhereverItIs)
{
    const auto nested = [](Store& store)
    {
        return macroOf({std::make_shared<LoadRun>(store, "x"), std::make_shared<LoadRun>(store, "y"),
                        std::make_shared<SetCountCommand>(store)});
    };
    const auto last = [&](Store& store)
    {
        return macroOf({std::make_shared<LoadRun>(store, "ab"), nested(store)});
    };
    EXPECT_EQ(storeKit().aborts(last).toText(), "Aborts of \"Load all\": no mistakes\n");
    const auto first = [&](Store& store)
    {
        return macroOf({macroOf({nested(store)}), std::make_shared<LoadRun>(store, "ab")});
    };
    EXPECT_EQ(storeKit().aborts(first).toText(), "Aborts of \"Load all\": no mistakes\n");
}

TEST(AbortsTest, AnUndoThatFailsInANestedMacroIsTold)
{
    class Stuck : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void undo() override
        {
            isKept ? LoadRun::undo() : throw std::runtime_error("stuck");
        }
    };

    const auto make = [](Store& store)
    {
        return macroOf(
            {std::make_shared<SetCountCommand>(store), macroOf({std::make_shared<Stuck>(store, "c")})});
    };
    EXPECT_EQ(storeKit().aborts(make).toText(),
              "Aborts of \"Load all\": 1 mistake\n"
              "  Aborted in synchronous mode in \"Load c\" before the run and at isAborted() (call 1): "
              "undo(), which the "
              "manager calls after an abort without a worker, fails: stuck\n")
        << "on a worker the others are undone all the same";
}

TEST(AbortsTest, ASubCommandThatDoesNotUndoIsAccusedByTheNameOfTheRunThatWasAborted)
{
    class NotUndoing : public SetCountCommand
    {
    public:
        using SetCountCommand::SetCountCommand;

        void undo() override {}
    };

    const auto make = [](Store& store)
    {
        return macroOf({std::make_shared<LoadRun>(store, "ab"), std::make_shared<NotUndoing>(store),
                        std::make_shared<LoadRun>(store, "c")});
    };
    EXPECT_EQ(
        storeKit().aborts(make).toText(),
        "Aborts of \"Load all\": 2 mistakes\n"
        "  Aborted on a worker in \"Load c\" before the run, at isAborted() (call 1) and after the run: the "
        "macro has undone the aborted command and those before it, but the data are not as before (- "
        "expected, + found):\n"
        "      parts: \n"
        "    - count: 0\n"
        "    + count: 100\n"
        "  Aborted in synchronous mode in \"Load ab\" before the run and at isAborted() (calls 1 and 2),\n"
        "    and in synchronous mode in \"Load c\" before the run and at isAborted() (call 1): after undo() "
        "the data are not as before (- expected, + found):\n"
        "      parts: \n"
        "    - count: 0\n"
        "    + count: 100\n");
    const auto nested = [&](Store& store)
    {
        return macroOf(
            {std::make_shared<NotUndoing>(store), macroOf({std::make_shared<LoadRun>(store, "c")})});
    };
    EXPECT_EQ(storeKit().aborts(nested).toText(),
              "Aborts of \"Load all\": 2 mistakes\n"
              "  Aborted on a worker in \"Load c\" before the run, at isAborted() (call 1) and after the "
              "run: the macro has undone the aborted command and those before it, but the data are not as "
              "before (- expected, + found):\n"
              "      parts: \n"
              "    - count: 0\n"
              "    + count: 100\n"
              "  Aborted in synchronous mode in \"Load c\" before the run and at isAborted() (call 1): after "
              "undo() the data are not as before (- expected, + found):\n"
              "      parts: \n"
              "    - count: 0\n"
              "    + count: 100\n");
}

} // namespace
} // namespace Valdane
