// In a program without Valdane::CommandTestingAllocations.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/AllocationFaults.h"
#include "Service/CommandTesting/CommandKit.h"

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

struct Disk
{
    std::string file;
    int size = 0;
};

class FailuresTest : public testing::Test
{
protected:
    // Writes a file, and its size behind it. Both may fail.
    class WriteCommand : public CommandBase
    {
    public:
        WriteCommand(Disk& writtenDisk, const CommandKit<Disk>& usedKit)
            : CommandBase("Write"), disk(writtenDisk), kit(usedKit)
        {
        }

        void execute() override
        {
            kit.failAt("file");
            kit.failAt("size");
            disk.file += "x";
            ++disk.size;
        }

        void undo() override
        {
            kit.failAt("file");
            disk.file.pop_back();
            --disk.size;
        }

    protected:
        Disk& disk;
        const CommandKit<Disk>& kit;
    };

    class WriteRun : public ThreadedCommand
    {
    public:
        WriteRun(Disk& writtenDisk, const CommandKit<Disk>& usedKit)
            : ThreadedCommand("Write"), write(writtenDisk, usedKit)
        {
        }

        void run() override {}

        void finishRun() override
        {
            write.execute();
            isDone = true;
        }

        void undo() override
        {
            if (isDone)
            {
                write.undo();
                isDone = false;
            }
        }

    private:
        WriteCommand write;
        bool isDone = false;
    };

    template <typename Command>
    std::string failuresOf() const
    {
        return kit.failures([this](Disk& disk) { return std::make_shared<Command>(disk, kit); }).toText();
    }

    template <typename Macro>
    std::string failuresOfMacro() const
    {
        const auto make = [this](Disk& disk)
        {
            auto macro = std::make_shared<Macro>("Write twice");
            macro->addCommand(std::make_shared<WriteCommand>(disk, kit));
            macro->addCommand(std::make_shared<WriteCommand>(disk, kit));
            return macro;
        };
        return kit.failures(make).toText();
    }

    CommandKit<Disk> kit{[] { return std::make_unique<Disk>(); },
                         [](const Disk& disk)
                         {
                             return "file: " + disk.file + "\nsize: " + std::to_string(disk.size) + "\n";
                         }};
};

TEST_F(FailuresTest, OneThatDoesFirstWhatCanFailIsNotAccused)
{
    EXPECT_EQ(failuresOf<WriteCommand>(),
              "Failures of \"Write\", without failing allocations: no mistakes\n");
}

TEST_F(FailuresTest, MacrosAndRunsAreNotAccused)
{
    EXPECT_EQ(failuresOfMacro<MacroCommand>(),
              "Failures of \"Write twice\", without failing allocations: no mistakes\n");
    EXPECT_EQ(failuresOfMacro<ThreadedMacroCommand>(),
              "Failures of \"Write twice\", without failing allocations: no mistakes\n");
    EXPECT_EQ(failuresOf<WriteRun>(), "Failures of \"Write\", without failing allocations: no mistakes\n");
}

TEST_F(FailuresTest, EachStepFailsByItselfAndThroughTheManager)
{
    using Counts = std::map<std::string, int>;

    class Counting : public WriteCommand
    {
    public:
        Counting(Disk& writtenDisk, const CommandKit<Disk>& usedKit, Counts& filledCounts)
            : WriteCommand(writtenDisk, usedKit), counts(filledCounts)
        {
        }

        void execute() override
        {
            countFailure("execute()", [this] { WriteCommand::execute(); });
        }

        void undo() override
        {
            countFailure("undo()", [this] { WriteCommand::undo(); });
        }

        void redo() override
        {
            countFailure("redo()", [this] { WriteCommand::execute(); });
        }

    private:
        void countFailure(const std::string& step, const std::function<void()>& work)
        {
            try
            {
                work();
            }
            catch (...)
            {
                ++counts[step];
                throw;
            }
        }

        Counts& counts;
    };

    Counts failures;
    EXPECT_TRUE(kit.failures([&](Disk& disk) { return std::make_shared<Counting>(disk, kit, failures); }));
    // Each point fails with an exception and with an int, by itself and through the manager.
    EXPECT_EQ(failures, (Counts{{"execute()", 2 * 2 * 2}, {"undo()", 2 * 2}, {"redo()", 2 * 2 * 2}}));
}

TEST_F(FailuresTest, ARunThatTakesBackWhatItHasNotDoneIsAccused)
{
    class TakingBack : public WriteRun
    {
    public:
        TakingBack(Disk& writtenDisk, const CommandKit<Disk>& usedKit)
            : WriteRun(writtenDisk, usedKit), disk(writtenDisk)
        {
        }

        void sendFinishSignal(bool ok) override
        {
            disk.size -= ok ? 0 : 1;
            WriteRun::sendFinishSignal(ok);
        }

    private:
        Disk& disk;
    };

    EXPECT_EQ(failuresOf<TakingBack>(),
              "Failures of \"Write\", without failing allocations: 1 mistake\n"
              "  Made to fail in CommandManager::addThreadedCommand() at \"file\" (call 1, also if it throws "
              "an int) and at \"size\" (call 1, also if it throws an int): the data are not as before (- "
              "expected, + found):\n"
              "      file: \n"
              "    - size: 0\n"
              "    + size: -1\n");
}

TEST_F(FailuresTest, OfManyPlacesEverFewerAreTried)
{
    class Long : public WriteCommand
    {
    public:
        Long(Disk& writtenDisk, const CommandKit<Disk>& usedKit, int countOfParts)
            : WriteCommand(writtenDisk, usedKit), parts(countOfParts)
        {
        }

        void execute() override
        {
            for (int part = 0; part < parts; ++part)
            {
                kit.failAt("part");
            }
            disk.file += "x";
        }

        void undo() override
        {
            disk.file.pop_back();
        }

    private:
        int parts;
    };

    int worlds = 0;
    const CommandKit<Disk> counting(
        [&worlds]
        {
            ++worlds;
            return std::make_unique<Disk>();
        },
        [](const Disk& disk) { return disk.file; });
    const auto worldsFor = [&](int parts)
    {
        worlds = 0;
        EXPECT_TRUE(
            counting.failures([&](Disk& disk) { return std::make_shared<Long>(disk, counting, parts); }));
        return worlds;
    };
    // By itself and through the manager, in execute() and redo(), with each kind of exception.
    constexpr int ways = 8;
    const int of256 = worldsFor(256);
    EXPECT_EQ(of256 - worldsFor(255), ways);
    EXPECT_LT(worldsFor(1000), of256 + (ways * 120)) << "260, 264, 268 ... 987, and what leads to 999";
}

TEST_F(FailuresTest, OfManyPlacesTheLastOneIsTried)
{
    // Leaves the file behind if the last of its calls fails.
    class Late : public WriteCommand
    {
    public:
        using WriteCommand::WriteCommand;

        void execute() override
        {
            for (int part = 1; part < 1000; ++part)
            {
                kit.failAt("part");
            }
            disk.file += "x";
            kit.failAt("part");
        }

        void undo() override
        {
            disk.file.pop_back();
        }
    };

    EXPECT_NE(
        kit.failures([this](Disk& disk) { return std::make_shared<Late>(disk, kit); })
            .toText()
            .find(
                "Made to fail in execute() and in redo() at \"part\" (call 1000, also if it throws an int): "
                "the data are not as before"),
        std::string::npos);
}

TEST_F(FailuresTest, ManyPlacesAreToldInShort)
{
    using Calls = std::vector<std::string>;
    using IsLeft = std::function<bool(std::size_t call, bool isInt)>;

    // Leaves the file behind after some failures.
    class Leaving : public WriteCommand
    {
    public:
        Leaving(Disk& writtenDisk, const CommandKit<Disk>& usedKit, const Calls& madeCalls,
                const IsLeft& isLeftBehind)
            : WriteCommand(writtenDisk, usedKit), calls(madeCalls), isLeft(isLeftBehind)
        {
        }

        void execute() override
        {
            std::size_t call = 0;
            try
            {
                for (; call < calls.size(); ++call)
                {
                    kit.failAt(calls[call]);
                }
            }
            catch (const std::exception&)
            {
                disk.file = isLeft(call + 1, false) ? "x" : "";
                throw;
            }
            catch (...)
            {
                disk.file = isLeft(call + 1, true) ? "x" : "";
                throw;
            }
            disk.file = "x";
        }

        void undo() override
        {
            disk.file.clear();
        }

    private:
        const Calls& calls;
        const IsLeft& isLeft;
    };

    const auto failuresAtCalls = [this](const Calls& calls, const IsLeft& isLeft)
    {
        return kit.failures([&](Disk& disk) { return std::make_shared<Leaving>(disk, kit, calls, isLeft); })
            .toText();
    };
    const auto always = [](std::size_t, bool)
    {
        return true;
    };
    EXPECT_EQ(failuresAtCalls({"a", "b", "c", "d", "e", "e"}, always),
              "Failures of \"Write\", without failing allocations: 1 mistake\n"
              "  Made to fail in execute() and in redo() at \"a\" (call 1, also if it throws an int), at "
              "\"b\" (call 1, also if it throws an int), at \"c\" (call 1, also if it throws an int) and 3 "
              "more: the data are not as before (- expected, + found):\n"
              "    - file: \n"
              "    + file: x\n");
    EXPECT_EQ(failuresAtCalls(Calls(11, "a"), [](std::size_t call, bool isInt)
                              { return !isInt && (call < 4 || call % 2 == 1); }),
              "Failures of \"Write\", without failing allocations: 1 mistake\n"
              "  Made to fail in execute() and in redo() at \"a\" (calls 1 to 3, 5, 7 and 2 more): the data "
              "are not as before (- expected, + found):\n"
              "    - file: \n"
              "    + file: x\n");
    EXPECT_EQ(failuresAtCalls(Calls(4, "a"),
                              [](std::size_t call, bool isInt) { return isInt ? call > 1 : call < 4; }),
              "Failures of \"Write\", without failing allocations: 1 mistake\n"
              "  Made to fail in execute() and in redo() at \"a\" (call 1), at \"a\" (calls 2 and 3, also if "
              "it throws an int) and at \"a\" (call 4, only if it throws an int, not a std::exception): the "
              "data are not as before (- expected, + found):\n"
              "    - file: \n"
              "    + file: x\n");
}

TEST_F(FailuresTest, OneThatFailsHalfWayIsAccused)
{
    class HalfWay : public WriteCommand
    {
    public:
        using WriteCommand::WriteCommand;

        void execute() override
        {
            kit.failAt("file");
            disk.file += "x";
            kit.failAt("size");
            ++disk.size;
        }
    };

    EXPECT_EQ(failuresOf<HalfWay>(), "Failures of \"Write\", without failing allocations: 1 mistake\n"
                                     "  Made to fail in execute() and in redo() at \"size\" (call 1, also if "
                                     "it throws an int): the data are not as before (- expected, + found):\n"
                                     "    - file: \n"
                                     "    + file: x\n");
}

TEST_F(FailuresTest, AnUndoThatFailsHalfWayIsAccused)
{
    class HalfUndone : public WriteCommand
    {
    public:
        using WriteCommand::WriteCommand;

        void undo() override
        {
            --disk.size;
            kit.failAt("size");
            disk.file.pop_back();
        }
    };

    EXPECT_EQ(failuresOf<HalfUndone>(), "Failures of \"Write\", without failing allocations: 1 mistake\n"
                                        "  Made to fail in undo() at \"size\" (call 1, also if it throws an "
                                        "int): the data are not as before (- expected, + found):\n"
                                        "      file: x\n"
                                        "    - size: 1\n"
                                        "    + size: 0\n");
}

TEST_F(FailuresTest, OneThatRollsBackForExceptionsOnlyIsAccusedOfTheOthers)
{
    class CatchingExceptions : public WriteCommand
    {
    public:
        using WriteCommand::WriteCommand;

        void execute() override
        {
            disk.file += "x";
            try
            {
                kit.failAt("size");
                kit.failAt("size");
            }
            catch (const std::exception&)
            {
                disk.file.pop_back();
                throw;
            }
            ++disk.size;
        }
    };

    EXPECT_EQ(failuresOf<CatchingExceptions>(),
              "Failures of \"Write\", without failing allocations: 1 mistake\n"
              "  Made to fail in execute() and in redo() at \"size\" (calls 1 and 2, only if it throws an "
              "int, not a std::exception): the data are not as before (- expected, + found):\n"
              "    - file: \n"
              "    + file: x\n");
}

TEST_F(FailuresTest, OneThatHidesAFailureAndItsWorkIsAccused)
{
    class Hiding : public WriteCommand
    {
    public:
        using WriteCommand::WriteCommand;

        void execute() override
        {
            disk.file += "x";
            try
            {
                kit.failAt("size");
                ++disk.size;
            }
            catch (...)
            {
            }
        }
    };

    EXPECT_EQ(failuresOf<Hiding>(),
              "Failures of \"Write\", without failing allocations: 1 mistake\n"
              "  Made to fail in execute() and in redo() at \"size\" (call 1, also if it throws an int): it "
              "hides the failure, but has not done all of its work (- expected, + found):\n"
              "      file: x\n"
              "    - size: 1\n"
              "    + size: 0\n");
}

TEST_F(FailuresTest, OneThatHidesAFailureAndDoesAllIsNotAccused)
{
    class Robust : public WriteCommand
    {
    public:
        using WriteCommand::WriteCommand;

        void execute() override
        {
            try
            {
                kit.failAt("log");
            }
            catch (...)
            {
            }
            WriteCommand::execute();
        }
    };

    EXPECT_EQ(failuresOf<Robust>(), "Failures of \"Write\", without failing allocations: no mistakes\n");
}

TEST_F(FailuresTest, OneThatCannotBeTriedAgainIsAccused)
{
    class Once : public WriteCommand
    {
    public:
        using WriteCommand::WriteCommand;

        void redo() override
        {
            if (hasFailed)
            {
                throw std::runtime_error("no handle");
            }
            hasFailed = true;
            WriteCommand::execute();
            hasFailed = false;
        }

        void execute() override
        {
            letters += "x";
            kit.failAt("file");
            disk.file += letters;
            ++disk.size;
        }

        void undo() override
        {
            disk.file.clear();
            --disk.size;
        }

    private:
        std::string letters;
        bool hasFailed = false;
    };

    EXPECT_EQ(failuresOf<Once>(),
              "Failures of \"Write\", without failing allocations: 2 mistakes\n"
              "  Made to fail in execute() at \"file\" (call 1, also if it throws an int): tried again, it "
              "has another result (- expected, + found):\n"
              "    - file: x\n"
              "    + file: xx\n"
              "  Made to fail in redo() at \"file\" (call 1, also if it throws an int) and at \"size\" (call "
              "1, also if it throws an int): tried again, it throws: no handle\n");
}

TEST_F(FailuresTest, OneThatFailsByItselfIsAccusedOfThat)
{
    class Failing : public WriteCommand
    {
    public:
        using WriteCommand::WriteCommand;

        void undo() override
        {
            throw std::runtime_error("is locked");
        }
    };

    EXPECT_EQ(failuresOf<Failing>(), "Failures of \"Write\", without failing allocations: 1 mistake\n"
                                     "  undo() throws: is locked\n");
}

// Whose undo wants no manager: it sees by its progress who runs it.
class ManagerShy : public CommandBase
{
public:
    ManagerShy(Disk& writtenDisk, const CommandKit<Disk>& usedKit, bool refusesAtOnce)
        : CommandBase("Write"), disk(writtenDisk), kit(usedKit), refuses(refusesAtOnce)
    {
    }

    void execute() override
    {
        disk.file += "x";
    }

    void undo() override
    {
        if (refuses && getProgress()->fraction() == 1)
        {
            throw std::runtime_error("no manager");
        }
        refuses = true;
        kit.failAt("file");
        refuses = false;
        disk.file.pop_back();
    }

private:
    Disk& disk;
    const CommandKit<Disk>& kit;
    bool refuses;
};

TEST_F(FailuresTest, OneThatFailsThroughTheManagerOnlyIsAccusedOfThat)
{
    EXPECT_EQ(
        kit.failures([this](Disk& disk) { return std::make_shared<ManagerShy>(disk, kit, true); }).toText(),
        "Failures of \"Write\", without failing allocations: 1 mistake\n"
        "  CommandManager::undo() fails\n");
    EXPECT_EQ(
        kit.failures([this](Disk& disk) { return std::make_shared<ManagerShy>(disk, kit, false); }).toText(),
        "Failures of \"Write\", without failing allocations: 1 mistake\n"
        "  Made to fail in CommandManager::undo() at \"file\" (call 1, also if it throws an int): tried "
        "again, it "
        "fails\n");
}

TEST_F(FailuresTest, OneThatTheManagerDoesNotKeepIsNotUndoneThroughIt)
{
    class Unqueued : public WriteRun
    {
    public:
        using WriteRun::WriteRun;

        bool isAddableToCommandManager() const override
        {
            return false;
        }
    };

    EXPECT_EQ(failuresOf<Unqueued>(), "Failures of \"Write\", without failing allocations: no mistakes\n");
}

TEST_F(FailuresTest, OneThatIsOnlyUndoneIsNotRedone)
{
    class NotAgain : public WriteCommand
    {
    public:
        using WriteCommand::WriteCommand;

        void redo() override
        {
            throw std::runtime_error("never called");
        }

        bool isRedoCapable() override
        {
            return false;
        }
    };

    EXPECT_EQ(failuresOf<NotAgain>(), "Failures of \"Write\", without failing allocations: no mistakes\n");
}

TEST_F(FailuresTest, WorldsThatDifferAreTold)
{
    int made = 0;
    const CommandKit<Disk> growing(
        [&made] {
            return std::make_unique<Disk>(Disk{"", ++made});
        },
        [](const Disk& disk) { return std::to_string(disk.size); });
    const auto make = [&](Disk& disk)
    {
        return std::make_shared<WriteCommand>(disk, growing);
    };
    EXPECT_EQ(growing.failures(make).toText(),
              "Failures of \"Write\", without failing allocations: 1 mistake\n"
              "  In two worlds the data before execute() are not the same (- expected, + found):\n"
              "    - 3\n"
              "    + 4\n");
}

TEST_F(FailuresTest, WithoutTheObjectsThereAreNoAllocationFaults)
{
    EXPECT_EQ(AllocationFaults::getInstalled(), nullptr);
}

} // namespace
} // namespace Valdane
