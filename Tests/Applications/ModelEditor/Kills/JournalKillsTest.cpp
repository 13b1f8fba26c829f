#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Recovery/FileJournal.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Applications/ModelEditor/Kills/EditingSession.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#ifdef MODEL_EDITOR_HAS_DESKTOP
#include <QApplication>
#endif

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <random>
#include <sched.h>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

// Kills a process while it edits, and looks at what comes back in the next one. MODEL_EDITOR_JOURNAL_KILLS is how often, if
// that is to be more; MODEL_EDITOR_JOURNAL_SEED where the seeds begin; with MODEL_EDITOR_JOURNAL_CLAIM=1 each step is expected to
// come back, which only one of the durabilities promises.

namespace
{

using Durability = Valdane::Journal::Durability;
using ModelEditor::FileJournal;

constexpr std::size_t MostSteps = 60;
constexpr int StepsPerSave = 12;

enum class FrontEnd
{
    Terminal,
    Desktop,
};

struct Victim
{
    FrontEnd frontEnd;
    Durability durability;
    std::string name;
};

void PrintTo(const Victim& victim, std::ostream* out)
{
    *out << victim.name;
}

/// What the process that is killed tells the one that kills it.
struct Told
{
    std::atomic<std::uint64_t> taken = 0;    ///< steps
    std::atomic<std::uint64_t> promised = 0; ///< those that must come back
    std::array<std::atomic<std::uint64_t>, MostSteps + 1> states{};
};

std::uint64_t sumOf(const std::string& state)
{
    return std::hash<std::string>()(state);
}

unsigned int numberIn(const char* variable, unsigned int otherwise)
{
    const char* const text = std::getenv(variable);
    return text == nullptr ? otherwise : static_cast<unsigned int>(std::atoi(text));
}

class JournalKills : public testing::TestWithParam<Victim>
{
protected:
    JournalKills()
        : told(new (mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                   Told)
    {
    }

    ~JournalKills() override
    {
        munmap(told, sizeof(Told));
    }

    std::unique_ptr<EditingSession> makeSession(unsigned int seed,
                                                std::unique_ptr<ModelEditor::XmlModel> base) const
    {
#ifdef MODEL_EDITOR_HAS_DESKTOP
        if (GetParam().frontEnd == FrontEnd::Desktop)
        {
            return makeDesktopSession(file, std::move(base), seed);
        }
#endif
        return makeTerminalSession(base->toBytes(), seed);
    }

    std::unique_ptr<ModelEditor::XmlModel> makeBase() const
    {
        return std::make_unique<ModelEditor::XmlModel>(original, "model");
    }

    /// A process that does this; it ends with the status that it returns.
    static pid_t startProcess(const std::function<int()>& work)
    {
        std::cout.flush();
        const pid_t process = fork();
        if (process == 0)
        {
            const int status = GetParam().frontEnd == FrontEnd::Desktop ? withDesktop(work) : work();
            std::cout.flush();
            std::fflush(nullptr);
            _exit(status);
        }
        return process;
    }

    static int withDesktop(const std::function<int()>& work)
    {
#ifdef MODEL_EDITOR_HAS_DESKTOP
        int count = 1;
        std::array<char, 8> name{"kills"};
        std::array<char*, 2> arguments{name.data(), nullptr};
        const QApplication application(count, arguments.data());
#endif
        return work();
    }

    /// Whether it was killed by us, or has come to its end.
    static bool isAsMeant(int status)
    {
        return WIFSIGNALED(status) ? WTERMSIG(status) == SIGKILL : WEXITSTATUS(status) == 0;
    }

    /// Edits until it is killed, or all steps are done.
    int edit(unsigned int seed) const
    {
        const auto session = makeSession(seed, makeBase());
        told->states[0] = sumOf(session->getState());
        const bool isEachPromised = GetParam().durability == Durability::EachCommand ||
                                    numberIn("MODEL_EDITOR_JOURNAL_CLAIM", 0) == 1;
        session->keep(std::make_unique<FileJournal>(journals, file, GetParam().durability));
        for (std::size_t step = 1; step <= MostSteps; ++step)
        {
            takeStep(*session, step, file);
            told->states[step] = sumOf(session->getState());
            told->taken = step;
            if (step % StepsPerSave == 0 || isEachPromised)
            {
                told->promised = step;
            }
        }
        _exit(0);
    }

    /// Whether a session may have been in that state while it took its last step, of which it has not told any more.
    bool isOnTheWay(std::uint64_t state, std::size_t taken, unsigned int seed) const
    {
        const auto session = makeSession(seed, makeBase());
        for (std::size_t step = 1; step <= taken; ++step)
        {
            takeStep(*session, step, copy);
        }
        auto& manager = session->getManager();
        const auto position = manager.getPosition();
        // Undo and redo of several steps are done step by step.
        for (std::uint64_t at = 0; at <= manager.getQueueSize(); ++at)
        {
            goTo(manager, at);
            if (sumOf(session->getState()) == state)
            {
                return true;
            }
        }
        goTo(manager, position);
        takeStep(*session, taken + 1, copy);
        return sumOf(session->getState()) == state;
    }

    static void goTo(Valdane::CommandManager& manager, std::uint64_t position)
    {
        const auto now = manager.getPosition();
        position < now ? manager.undo(now - position) : manager.redo(position - now);
    }

    static void takeStep(EditingSession& session, std::size_t step, const std::string& path)
    {
        step % StepsPerSave == 0 ? session.save(path) : session.doStep();
    }

    /// Whether what comes back is as promised.
    int lookAtRemains(unsigned int seed) const
    {
        auto journal = std::make_unique<FileJournal>(journals, file, GetParam().durability);
        if (!journal->getRemains().has_value())
        {
            // Undo without anything to undo is a step, too.
            EXPECT_EQ(told->states[told->promised], told->states[0]);
            return testing::Test::HasFailure() ? 1 : 0;
        }
        EXPECT_TRUE(journal->fits(ModelEditor::readFile(file)));
        auto base = journal->loadBase();
        EXPECT_EQ(base->toBytes(), original);
        const auto session = makeSession(seed, std::move(base));
        EXPECT_EQ(session->bringBack(std::move(journal)), "");
        const auto state = session->getState();
        std::size_t step = told->promised;
        while (step <= told->taken && told->states[step] != sumOf(state))
        {
            ++step;
        }
        EXPECT_TRUE(step <= told->taken || isOnTheWay(sumOf(state), told->taken, seed))
            << "taken " << told->taken << ", promised " << told->promised << ":\n"
            << state;
        auto& manager = session->getManager();
        const auto position = manager.getPosition();
        manager.undoAll();
        EXPECT_EQ(session->getModel().toBytes(), original);
        manager.redoAll();
        goTo(manager, position);
        EXPECT_EQ(session->getState(), state);
        return testing::Test::HasFailure() ? 1 : 0;
    }

    TestDirectory directory;
    const std::filesystem::path journals = directory.getPath() / "journals";
    const std::string original = readTestFile(besideTests("Data/Models/Feedthrough.xml"));
    const std::string file = directory.write("model", original);
    const std::string copy = (directory.getPath() / "copy").string();
    Told* told;
};

TEST_P(JournalKills, WhatComesBackIsAsPromised)
{
    const unsigned int kills = numberIn("MODEL_EDITOR_JOURNAL_KILLS", 5);
    const unsigned int first = numberIn("MODEL_EDITOR_JOURNAL_SEED", 1);
    std::uint64_t steps = 0;
    std::uint64_t tooLate = 0;
    for (unsigned int seed = first; seed < first + kills; ++seed)
    {
        new (told) Told;
        std::filesystem::remove_all(journals);
        directory.write("model", original);
        std::mt19937 random(seed);
        const std::uint64_t last = random() % MostSteps;
        const pid_t editing = startProcess([this, seed] { return edit(seed); });
        int status = 0;
        pid_t ended = 0;
        while (told->taken < last && ended == 0)
        {
            sched_yield();
            ended = waitpid(editing, &status, WNOHANG);
        }
        if (ended == 0)
        {
            usleep(static_cast<useconds_t>(random() % 3000));
            kill(editing, SIGKILL);
            waitpid(editing, &status, 0);
        }
        ASSERT_TRUE(isAsMeant(status)) << status;
        tooLate += WIFSIGNALED(status) ? 0 : 1;
        steps += told->taken;
        const pid_t looking = startProcess([this, seed] { return lookAtRemains(seed); });
        waitpid(looking, &status, 0);
        ASSERT_EQ(status, 0) << "seed " << seed;
    }
    std::cout << kills << " kills, " << tooLate << " of them too late, after " << steps << " steps.\n";
}

std::vector<Victim> allVictims()
{
    std::vector<Victim> all{{FrontEnd::Terminal, Durability::EachCommand, "TerminalEachCommand"},
                            {FrontEnd::Terminal, Durability::WhenIdle, "TerminalWhenIdle"}};
#ifdef MODEL_EDITOR_HAS_DESKTOP
    all.push_back({FrontEnd::Desktop, Durability::EachCommand, "DesktopEachCommand"});
    all.push_back({FrontEnd::Desktop, Durability::Interval, "DesktopInterval"});
#endif
    return all;
}

INSTANTIATE_TEST_SUITE_P(Modes, JournalKills, testing::ValuesIn(allVictims()),
                         [](const auto& tested) { return tested.param.name; });

} // namespace
