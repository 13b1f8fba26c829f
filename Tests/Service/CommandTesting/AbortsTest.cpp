#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/CommandKit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
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

    EXPECT_EQ(abortsOf<Ignoring>(),
              "Aborts of \"Load ab\": 3 mistakes\n"
              "  On a worker, not aborted: no run asks isAborted(), so that none stops early\n"
              "  On a worker, aborted before the run and after the run: the data are not as before:\n"
              "    - parts: \n"
              "    - count: 0\n"
              "    + parts: ab\n"
              "    + count: 1\n"
              "  In synchronous mode, aborted before the run: the data are not as before:\n"
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
              "Aborts of \"Load ab\": 3 mistakes\n"
              "  On a worker, aborted at isAborted() (call 2): the data are not as before:\n"
              "    - parts: \n"
              "    + parts: a\n"
              "  On a worker, aborted after the run: the data are not as before:\n"
              "    - parts: \n"
              "    - count: 0\n"
              "    + parts: ab\n"
              "    + count: 1\n"
              "  In synchronous mode, aborted at isAborted() (call 2): the data are not as before:\n"
              "    - parts: \n"
              "    + parts: a\n");
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

    EXPECT_EQ(
        abortsOf<AlwaysKeeping>(),
        "Aborts of \"Load ab\": 5 mistakes\n"
        "  On a worker, aborted before the run and at isAborted() (call 1): the data are not as before:\n"
        "      parts: \n"
        "    - count: 0\n"
        "    + count: 1\n"
        "  On a worker, aborted at isAborted() (call 2): the data are not as before:\n"
        "    - parts: \n"
        "    - count: 0\n"
        "    + parts: a\n"
        "    + count: 1\n"
        "  On a worker, aborted after the run: the data are not as before:\n"
        "    - parts: \n"
        "    - count: 0\n"
        "    + parts: ab\n"
        "    + count: 1\n"
        "  In synchronous mode, aborted before the run and at isAborted() (call 1): the data are not as "
        "before:\n"
        "      parts: \n"
        "    - count: 0\n"
        "    + count: 1\n"
        "  In synchronous mode, aborted at isAborted() (call 2): the data are not as before:\n"
        "    - parts: \n"
        "    - count: 0\n"
        "    + parts: a\n"
        "    + count: 1\n");
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
              "Aborts of \"Load ab\": 2 mistakes\n"
              "  On a worker, aborted before the run, at isAborted() (call 1), at isAborted() (call 2) and "
              "after the run: the data are not as before:\n"
              "      parts: \n"
              "    - count: 0\n"
              "    + count: 1\n"
              "  In synchronous mode, aborted before the run, at isAborted() (call 1) and at isAborted() "
              "(call 2): the data are not as before:\n"
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
              "  In synchronous mode, aborted before the run, at isAborted() (call 1) and at isAborted() "
              "(call 2): after undo() the data are not as before:\n"
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
              "  On a worker, not aborted: no run asks isAborted(), so that none stops early\n");
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
              "Aborts of \"Load ab\": 2 mistakes\n"
              "  On a worker, aborted before the run, at isAborted() (call 1), at isAborted() (call 2) and "
              "after the run: abortRun() throws: cannot stop\n"
              "  In synchronous mode, aborted before the run, at isAborted() (call 1) and at isAborted() "
              "(call 2): abortRun() throws: cannot stop\n");
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

    EXPECT_EQ(abortsOf<Failing>(), "Aborts of \"Load ab\": 2 mistakes\n"
                                   "  On a worker, not aborted: it fails: no such file\n"
                                   "  In synchronous mode, not aborted: it fails: no such file\n");
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

    EXPECT_EQ(
        abortsOf<ThrowingNumbers>(),
        "Aborts of \"Load ab\": 2 mistakes\n"
        "  On a worker, aborted before the run, at isAborted() (call 1), at isAborted() (call 2) and at "
        "isAborted() (call 3): finalizeThread() throws something that is not derived from std::exception\n"
        "  In synchronous mode, aborted before the run, at isAborted() (call 1), at isAborted() (call 2) and "
        "at isAborted() (call 3): addThreadedCommand() throws something that is not derived from "
        "std::exception\n");
}

TEST(AbortsTest, OneThatChangesNothingProvesNothing)
{
    class Idle : public LoadRun
    {
    public:
        using LoadRun::LoadRun;

        void sendFinishSignal(bool ok) override
        {
            ThreadedCommand::sendFinishSignal(ok);
        }
    };

    EXPECT_EQ(
        abortsOf<Idle>(),
        "Aborts of \"Load ab\": 2 mistakes\n"
        "  On a worker, not aborted: nothing changes that the snapshot shows, so that aborts prove nothing\n"
        "  In synchronous mode, not aborted: nothing changes that the snapshot shows, so that aborts prove "
        "nothing\n");
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
    EXPECT_EQ(storeKit().aborts(noThread).toText(),
              "Aborts of \"Load all\": 2 mistakes\n"
              "  On a worker, not aborted: it runs no thread, so that there is nothing to abort\n"
              "  In synchronous mode, not aborted: it runs no thread, so that there is nothing to abort\n");
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
    EXPECT_EQ(storeKit().aborts(make).toText(),
              "Aborts of \"Load all\": 2 mistakes\n"
              "  On a worker, aborted before the run of \"Load c\", at isAborted() (call 1) of \"Load c\" "
              "and after the run of \"Load c\": the macro has undone the aborted command and those before "
              "it, but the data are not as before:\n"
              "      parts: \n"
              "    - count: 0\n"
              "    + count: 100\n"
              "  In synchronous mode, aborted before the run of \"Load ab\", at isAborted() (call 1) of "
              "\"Load ab\", at isAborted() (call 2) of \"Load ab\" and at 2 more places: after undo() the "
              "data are not as before:\n"
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
              "  On a worker, aborted before the run of \"Load c\", at isAborted() (call 1) of \"Load c\" "
              "and after the run of \"Load c\": the macro has undone the aborted command and those before "
              "it, but the data are not as before:\n"
              "      parts: \n"
              "    - count: 0\n"
              "    + count: 100\n"
              "  In synchronous mode, aborted before the run of \"Load c\" and at isAborted() (call 1) of "
              "\"Load c\": after undo() the data are not as before:\n"
              "      parts: \n"
              "    - count: 0\n"
              "    + count: 100\n");
}

} // namespace
} // namespace Valdane
