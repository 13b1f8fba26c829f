#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Journal/Journal.h"
#include "Tests/Platform/Multitasking/RefusedThreadStart.h"
#include "Tests/Service/Journal/MemoryDisk.h"
#include "Tests/Service/Journal/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <vector>

// What the thread of the manager does while another one writes.

namespace Valdane
{
namespace
{

using Durability = Journal::Durability;
using Keeps = CommandCodecs::Keeps;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A disk whose next write takes until it is told to go on.
class SlowJournalDisk : public testing::TestWithParam<Durability>
{
protected:
    SlowJournalDisk()
    {
        journal.start(program.manager, {.document = "sheet", .digest = program.sheet.text()});
    }

    void add(int digit)
    {
        program.manager.addCommand(std::make_shared<TypeDigit>(program.sheet, 0, digit));
    }

    /// Returns when the first write has begun.
    void beginToWrite()
    {
        disk.onCall(
            [this](MemoryDisk::Call)
            {
                if (!hasCalled.exchange(true))
                {
                    hasBegun.set_value();
                    mayGoOn.get_future().wait();
                }
            });
        add(1);
        journal.writeSoon();
        hasBegun.get_future().wait();
    }

    MemoryDisk disk;
    Program program{Keeps::Undo};
    Journal journal{
        program.codecs, "/a.journal", {.durability = GetParam(), .interval = std::chrono::milliseconds(0)}};
    std::atomic<bool> hasCalled = false;
    std::promise<void> hasBegun;
    std::promise<void> mayGoOn;
};

TEST_P(SlowJournalDisk, NobodyWaitsForIt)
{
    beginToWrite();
    add(2);
    add(3);
    program.manager.undo(2);
    program.manager.redo(1);
    program.manager.adjustOnSave(0);
    journal.writeSoon();
    journal.setDocument("another sheet");
    EXPECT_EQ(stateOf(program.sheet, program.manager), "12 0 0 0 0 0 | type 1 type 2 type 3 | 2 | 2");
    mayGoOn.set_value();
    journal.flush();
    EXPECT_EQ(journal.getFailure(), "");
}

#ifndef _WIN32
// A handler of the application would run there, in the middle of what its thread does.
TEST_P(SlowJournalDisk, TheThreadThatWritesHearsNoSignalsButThoseOfItsOwnFaults)
{
    const auto blockedHere = []
    {
        sigset_t mask{};
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        std::vector<int> blocked;
        for (const int signal :
             {SIGABRT, SIGALRM, SIGBUS, SIGCHLD, SIGCONT, SIGFPE,  SIGHUP,  SIGILL,  SIGINT,   SIGPIPE,
              SIGQUIT, SIGSEGV, SIGSYS, SIGTERM, SIGTRAP, SIGTSTP, SIGUSR1, SIGUSR2, SIGWINCH, SIGXFSZ})
        {
            if (sigismember(&mask, signal) == 1)
            {
                blocked.push_back(signal);
            }
        }
        return blocked;
    };
    std::promise<std::vector<int>> atWriter;
    disk.onCall(
        [&](MemoryDisk::Call)
        {
            if (!hasCalled.exchange(true))
            {
                atWriter.set_value(blockedHere());
            }
        });
    add(1);
    journal.writeSoon();
    EXPECT_THAT(atWriter.get_future().get(),
                ElementsAre(SIGALRM, SIGCHLD, SIGCONT, SIGHUP, SIGINT, SIGPIPE, SIGQUIT, SIGTERM, SIGTSTP,
                            SIGUSR1, SIGUSR2, SIGWINCH, SIGXFSZ));
    EXPECT_THAT(blockedHere(), IsEmpty());
}
#endif

TEST_P(SlowJournalDisk, WhatWaitsWhenItFailsIsNotWritten)
{
    std::vector<std::string> told;
    const auto ended = journal.connectToSigEnded([&](const std::string& why) { told.push_back(why); });
    disk.failAt(disk.getCallCount(), SQLITE_IOERR, false);
    beginToWrite();
    const auto before = disk.getCallCount();
    add(2);
    mayGoOn.set_value();
    journal.flush();
    add(3);
    EXPECT_THAT(told, testing::ElementsAre(HasSubstr("disk I/O error")));
    EXPECT_EQ(disk.getCallCount(), before);
}

INSTANTIATE_TEST_SUITE_P(LooseModes, SlowJournalDisk,
                         testing::Values(Durability::Interval, Durability::WhenIdle),
                         [](const auto& tested)
                         { return tested.param == Durability::Interval ? "Interval" : "WhenIdle"; });

TEST(JournalThread, WithoutAThreadNothingIsLost)
{
    const std::string noThread = "The journal '/a.journal' cannot be written: no thread can be started: "
                                 "Resource temporarily unavailable.";
    const MemoryDisk disk;
    const std::string digest = Program(Keeps::Undo).sheet.text();
    {
        Program program(Keeps::Undo);
        Journal journal(program.codecs, "/a.journal");
        {
            const ValdaneTests::RefusedThreadStart refused;
            EXPECT_THAT([&] { journal.start(program.manager, {.document = "sheet", .digest = digest}); },
                        testing::ThrowsMessage<VdException>(noThread));
        }
        journal.start(program.manager, {.document = "sheet", .digest = digest});
        program.manager.addCommand(std::make_shared<TypeDigit>(program.sheet, 0, 1));
    }
    {
        Program program(Keeps::Undo);
        Journal journal(program.codecs, "/a.journal");
        const ValdaneTests::RefusedThreadStart refused;
        EXPECT_THROW(journal.start(program.manager, {.document = "sheet", .digest = digest}), VdException);
        EXPECT_TRUE(journal.getRemains().has_value());
        EXPECT_EQ(journal.recover(program.manager, digest).failure, noThread);
        journal.close();
    }
    Program program(Keeps::Undo);
    Journal journal(program.codecs, "/a.journal");
    EXPECT_EQ(journal.recover(program.manager, digest).failure, "");
    EXPECT_EQ(stateOf(program.sheet, program.manager), "1 0 0 0 0 0 | type 1 | 1 | not saved");
}

} // namespace
} // namespace Valdane
