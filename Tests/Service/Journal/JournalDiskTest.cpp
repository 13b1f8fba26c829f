#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Journal/Journal.h"
#include "Tests/Service/Journal/MemoryDisk.h"
#include "Tests/Service/Journal/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <sqlite3.h>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

// What a disk that fails, and a power failure, leave of a journal.

namespace Valdane
{
namespace
{

using Durability = Journal::Durability;
using Keeps = CommandCodecs::Keeps;
using testing::HasSubstr;

const std::string diskFile = "/a.journal";

/// A program on a disk that may fail, and what may come back of it.
class DiskProgram
{
public:
    DiskProgram(MemoryDisk& used, Keeps usedKeeps, Durability usedDurability)
        : disk(used), keeps(usedKeeps), durability(usedDurability), program(keeps)
    {
        states.push_back(stateOf(program.sheet, program.manager));
    }

    /// What is on the disk before a call, with what has to come back of it.
    struct Picture
    {
        MemoryDisk::Files files;
        Sheet document;           ///< as saved
        std::size_t promised = 0; ///< as many steps at least
        std::size_t taken = 0;    ///< and at most one more than these
        bool isEnded = false;     ///< whether it was told that nothing more is kept
    };

    /// Opens the journal, takes all steps, and dies.
    void run()
    {
        try
        {
            journal = std::make_unique<Journal>(program.codecs, diskFile,
                                                Journal::Options{.durability = durability});
        }
        catch (const VdException& exception)
        {
            complaints.emplace_back(exception.what());
        }
        if (journal != nullptr)
        {
            ended = journal->connectToSigEnded([this](const std::string& why) { complaints.push_back(why); });
            const std::string digest = program.sheet.text();
            journal->start(program.manager,
                           {.document = "sheet",
                            .digest = digest,
                            .base = keeps == Keeps::Arguments ? std::optional(digest) : std::nullopt});
        }
        for (int step = 0; step < Steps; ++step)
        {
            take(step);
            states.push_back(stateOf(program.sheet, program.manager));
            const std::lock_guard lock(mutex);
            ++now.taken;
        }
        journal.reset();
    }

    Picture getPicture() const
    {
        const std::lock_guard lock(mutex);
        Picture picture = now;
        picture.files = disk.getFiles();
        picture.isEnded = !complaints.empty();
        return picture;
    }

    /// What comes back of these files.
    std::string recovered(const Picture& picture) const
    {
        disk.setFiles(picture.files);
        Program next(keeps);
        Journal left(next.codecs, diskFile, {.durability = Durability::EachCommand});
        next.sheet = picture.document;
        if (left.getRemains().has_value())
        {
            next.sheet = keeps == Keeps::Arguments ? Sheet() : next.sheet;
            const auto failure = left.recover(next.manager, next.sheet.text()).failure;
            if (!failure.empty())
            {
                return failure;
            }
        }
        return stateOf(next.sheet, next.manager);
    }

    /// Fails unless what comes back is as promised.
    void expectAsPromised(const Picture& picture, const std::string& what) const
    {
        std::string back;
        try
        {
            back = recovered(picture);
        }
        catch (const std::exception& exception)
        {
            back = exception.what();
        }
        const auto first = states.begin() + static_cast<std::ptrdiff_t>(picture.promised);
        const auto last =
            states.begin() + static_cast<std::ptrdiff_t>(std::min(picture.taken + 1, states.size() - 1));
        std::vector<std::string> allowed(first, last + 1);
        if (picture.promised == 0)
        {
            allowed.push_back(stateOf(picture.document, CommandManager()));
        }
        if (picture.isEnded && keeps == Keeps::Undo)
        {
            // A save that could not be noted.
            allowed.emplace_back(
                "The document is not the one to which the history of 'sheet' belongs: it has changed since.");
        }
        EXPECT_THAT(allowed, testing::Contains(back)) << what;
    }

    static constexpr int Steps = 16;

    std::vector<std::string> complaints;
    std::vector<std::string> states; ///< before the first step, and after each

private:
    void take(int step)
    {
        CommandManager& manager = program.manager;
        switch (step % 8)
        {
        case 5:
            manager.undo(1);
            break;
        case 6:
            step < 8 ? manager.undo(1) : manager.redo(1);
            break;
        case 7:
            save();
            break;
        default:
            manager.addCommand(
                std::make_shared<TypeDigit>(program.sheet, static_cast<std::size_t>(step % 3), 1 + step % 9));
        }
        if (journal != nullptr && (durability == Durability::EachCommand || step % 5 == 4))
        {
            journal->flush();
            const std::lock_guard lock(mutex);
            now.promised = journal->getFailure().empty() ? static_cast<std::size_t>(step) + 1 : now.promised;
        }
    }

    void save()
    {
        if (journal != nullptr)
        {
            journal->willSave(program.sheet.text());
        }
        {
            const std::lock_guard lock(mutex);
            now.document = program.sheet;
        }
        program.manager.adjustOnSave(0);
        if (journal != nullptr)
        {
            journal->didSave();
        }
    }

    MemoryDisk& disk;
    Keeps keeps;
    Durability durability;
    Program program;
    std::unique_ptr<Journal> journal;
    Signals::Connection ended;
    mutable std::mutex mutex;
    Picture now;
};

/// Where replay begins, and when a change reaches the disk.
class JournalDisk : public testing::TestWithParam<std::tuple<Keeps, Durability>>
{
protected:
    std::unique_ptr<DiskProgram> makeProgram()
    {
        return std::make_unique<DiskProgram>(disk, std::get<Keeps>(GetParam()),
                                             std::get<Durability>(GetParam()));
    }

    MemoryDisk disk;
};

TEST_P(JournalDisk, APowerFailureLosesNoMoreThanIsSaid)
{
    const auto program = makeProgram();
    std::vector<DiskProgram::Picture> pictures;
    disk.onCall([&](MemoryDisk::Call) { pictures.push_back(program->getPicture()); });
    program->run();
    disk.onCall({});
    EXPECT_THAT(program->complaints, testing::IsEmpty());
    EXPECT_GT(pictures.size(), 50U);
    std::mt19937 random(7);
    for (std::size_t at = 0; at < pictures.size() && !HasFailure(); ++at)
    {
        program->expectAsPromised(pictures[at], "death before call " + std::to_string(at));
        for (int time = 0; time < 4; ++time)
        {
            auto picture = pictures[at];
            picture.files = MemoryDisk::afterPowerFailure(picture.files, random);
            program->expectAsPromised(picture, "power failure before call " + std::to_string(at));
        }
    }
}

TEST_P(JournalDisk, AFailureOfTheDiskIsToldOnceAndNothingElseHappens)
{
    const auto undisturbed = makeProgram();
    undisturbed->run();
    const auto calls = disk.getCallCount();
    int complained = 0;

    struct Failure
    {
        int error;
        bool isForGood;
        std::string text;
    };

    for (const Failure& failure :
         {Failure{SQLITE_IOERR, false, "disk I/O error"}, Failure{SQLITE_IOERR, true, "disk I/O error"},
          Failure{SQLITE_FULL, true, "disk is full"}})
    {
        for (std::uint64_t failing = 0; failing < calls && !HasFailure(); ++failing)
        {
            disk.setFiles({});
            disk.failAt(disk.getCallCount() + failing, failure.error, failure.isForGood);
            const auto program = makeProgram();
            program->run();
            disk.failAt(~std::uint64_t{0}, 0, false);
            const std::string what = "call " + std::to_string(failing) +
                                     (failure.isForGood ? " and all behind: " : ": ") + failure.text;
            EXPECT_EQ(program->states, undisturbed->states) << what;
            EXPECT_LE(program->complaints.size(), 1U) << what;
            for (const std::string& complaint : program->complaints)
            {
                EXPECT_THAT(complaint, testing::AllOf(HasSubstr("The journal '/a.journal' cannot be "),
                                                      HasSubstr(failure.text)));
                ++complained;
            }
            program->expectAsPromised(program->getPicture(), what);
        }
    }
    EXPECT_GT(complained, 100);
}

INSTANTIATE_TEST_SUITE_P(Modes, JournalDisk,
                         testing::Combine(testing::Values(Keeps::Arguments, Keeps::Undo),
                                          testing::Values(Durability::EachCommand, Durability::WhenIdle)),
                         [](const auto& tested)
                         {
                             return std::string(std::get<Keeps>(tested.param) == Keeps::Undo
                                                    ? "OnTheSavedDocument"
                                                    : "OnTheBase") +
                                    (std::get<Durability>(tested.param) == Durability::EachCommand
                                         ? "EachCommand"
                                         : "WhenIdle");
                         });

} // namespace
} // namespace Valdane
