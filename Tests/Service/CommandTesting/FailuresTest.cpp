// In a program without Valdane::CommandTestingAllocations.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/AllocationFaults.h"
#include "Service/CommandTesting/CommandKit.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

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

    EXPECT_EQ(failuresOf<HalfWay>(), "Failures of \"Write\", without failing allocations: 2 mistakes\n"
                                     "  execute(), made to fail at \"size\" and at \"size\" with an int "
                                     "instead of a std::exception: the data are not as before:\n"
                                     "    - file: \n"
                                     "    + file: x\n"
                                     "  redo(), made to fail at \"size\" and at \"size\" with an int instead "
                                     "of a std::exception: the data are not as before:\n"
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
                                        "  undo(), made to fail at \"size\" and at \"size\" with an int "
                                        "instead of a std::exception: the data are not as before:\n"
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
              "Failures of \"Write\", without failing allocations: 2 mistakes\n"
              "  execute(), made to fail at \"size\" with an int instead of a std::exception and at \"size\" "
              "(call 2) with an int instead of a std::exception: the data are not as before:\n"
              "    - file: \n"
              "    + file: x\n"
              "  redo(), made to fail at \"size\" with an int instead of a std::exception and at \"size\" "
              "(call 2) with an int instead of a std::exception: the data are not as before:\n"
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
              "Failures of \"Write\", without failing allocations: 2 mistakes\n"
              "  execute(), made to fail at \"size\" and at \"size\" with an int instead of a "
              "std::exception: it hides the failure, but has not done all of its work:\n"
              "      file: x\n"
              "    - size: 1\n"
              "    + size: 0\n"
              "  redo(), made to fail at \"size\" and at \"size\" with an int instead of a std::exception: "
              "it hides the failure, but has not done all of its work:\n"
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

    EXPECT_EQ(failuresOf<Once>(), "Failures of \"Write\", without failing allocations: 2 mistakes\n"
                                  "  execute(), made to fail at \"file\" and at \"file\" with an int instead "
                                  "of a std::exception: tried again, it has another result:\n"
                                  "    - file: x\n"
                                  "    + file: xx\n"
                                  "  redo(), made to fail at \"file\", at \"size\", at \"file\" with an int "
                                  "instead of a std::exception and at \"size\" with an int instead of a "
                                  "std::exception: tried again, it throws: no handle\n");
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
              "  In two worlds the data before execute() are not the same:\n"
              "    - 3\n"
              "    + 4\n");
}

TEST_F(FailuresTest, WithoutTheObjectsThereAreNoAllocationFaults)
{
    EXPECT_EQ(AllocationFaults::getInstalled(), nullptr);
}

} // namespace
} // namespace Valdane
