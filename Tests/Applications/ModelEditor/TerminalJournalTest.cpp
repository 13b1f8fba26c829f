#include "Service/Journal/Journal.h"
#include "Tests/Applications/ModelEditor/TerminalRun.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <thread>

namespace
{

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string journalPrompt = "model> ";
const std::string journalQuestion = "Bring them back? (y/n) ";

/// A person who edits a file, and a program that dies.
class TerminalJournal : public testing::Test
{
protected:
    TerminalJournal()
    {
        directory.write("m.xml", "<a x='1' y='1'/>");
    }

    std::filesystem::path journals() const
    {
        return directory.getPath() / "state/model-editor/journals";
    }

    /// Reads a copy of the journals, because the program has them, until all steps are written.
    void waitForUnsaved(std::uint64_t steps) const
    {
        const auto copy = directory.getPath() / "copy";
        for (std::uint64_t found = ~steps; found != steps; std::this_thread::yield())
        {
            try
            {
                std::filesystem::remove_all(copy);
                std::filesystem::copy(journals(), copy);
                const auto all = Valdane::Journal::find(copy);
                found = all.empty() || !all.front().damage.empty() ? found : all.front().unsavedSteps;
            }
            catch (const std::exception&) // NOLINT(bugprone-empty-catch): it is being written
            {
            }
        }
    }

    std::string typeLine(const Terminal& terminal, const std::string& line) const
    {
        terminal.type(line + "\n");
        return terminal.waitFor(journalPrompt);
    }

    /// Sets both attributes, undoes one, and dies.
    void dieWithSteps()
    {
        const Terminal terminal(directory, "m.xml");
        terminal.waitFor(journalPrompt);
        typeLine(terminal, "set /a/@x 2");
        typeLine(terminal, "set /a/@y 3");
        typeLine(terminal, "undo");
        waitForUnsaved(1);
        terminal.die();
    }

    void quit(const Terminal& terminal)
    {
        terminal.type("quit\n");
        terminal.waitForEnd(status);
        EXPECT_EQ(status, 0);
    }

    TestDirectory directory;
    int status = -1;
};

TEST_F(TerminalJournal, WhatWasDoneComesBackWithItsUndoAndRedo)
{
    dieWithSteps();
    const Terminal terminal(directory, "m.xml");
    EXPECT_THAT(terminal.waitFor(journalQuestion),
                AllOf(HasSubstr("A session of 20"), HasSubstr(" ended with 1 unsaved step in m.xml. ")));
    terminal.type("y\n");
    EXPECT_THAT(terminal.waitFor(journalPrompt), HasSubstr("Brought back 1 unsaved step of m.xml\r\n"));
    EXPECT_THAT(typeLine(terminal, "show /a"), HasSubstr("2"));
    EXPECT_THAT(typeLine(terminal, "redo"), HasSubstr("/a/@y"));
    EXPECT_THAT(typeLine(terminal, "save"), HasSubstr("Saved m.xml"));
    EXPECT_EQ(directory.read("m.xml"), "<a x='2' y='3'/>");
    typeLine(terminal, "undo 2");
    EXPECT_THAT(typeLine(terminal, "save"), HasSubstr("Saved m.xml"));
    EXPECT_EQ(directory.read("m.xml"), "<a x='1' y='1'/>");
    quit(terminal);
    EXPECT_TRUE(std::filesystem::is_empty(journals()));
}

TEST_F(TerminalJournal, AfterANoItIsOfferedAgainUnlessSomethingIsEdited)
{
    dieWithSteps();
    for (int time = 0; time < 2; ++time)
    {
        const Terminal terminal(directory, "m.xml");
        terminal.waitFor(journalQuestion);
        typeLine(terminal, "n");
        EXPECT_THAT(typeLine(terminal, "history"), HasSubstr("0"));
        quit(terminal);
    }
    {
        const Terminal terminal(directory, "m.xml");
        terminal.waitFor(journalQuestion);
        typeLine(terminal, "n");
        typeLine(terminal, "set /a/@x 7");
        typeLine(terminal, "save");
        quit(terminal);
    }
    const Terminal terminal(directory, "m.xml");
    EXPECT_THAT(terminal.waitFor(journalPrompt), Not(HasSubstr("Bring them back")));
    quit(terminal);
}

TEST_F(TerminalJournal, AFileThatHasChangedIsNotTouched)
{
    dieWithSteps();
    directory.write("m.xml", "<b/>");
    const Terminal terminal(directory, "m.xml");
    EXPECT_THAT(terminal.waitFor(journalPrompt),
                AllOf(HasSubstr("warning: m.xml has changed since it was edited with 1 unsaved step on 20"),
                      HasSubstr("; they are kept in "), HasSubstr(".journal, and new ones are not")));
    quit(terminal);
    directory.write("m.xml", "<a x='1' y='1'/>");
    const Terminal again(directory, "m.xml");
    EXPECT_THAT(again.waitFor(journalQuestion), HasSubstr("1 unsaved step"));
}

TEST_F(TerminalJournal, WhatIsSavedIsNotOffered)
{
    {
        const Terminal terminal(directory, "m.xml");
        terminal.waitFor(journalPrompt);
        typeLine(terminal, "set /a/@x 2");
        typeLine(terminal, "save");
        waitForUnsaved(0);
        terminal.die();
    }
    const Terminal terminal(directory, "m.xml");
    EXPECT_THAT(terminal.waitFor(journalPrompt), Not(HasSubstr("Bring them back")));
    quit(terminal);
}

TEST_F(TerminalJournal, AModelThatWasSavedElsewhereIsFoundThere)
{
    {
        const Terminal terminal(directory, "m.xml");
        terminal.waitFor(journalPrompt);
        typeLine(terminal, "set /a/@x 2");
        typeLine(terminal, "save other.xml");
        typeLine(terminal, "set /a/@y 5");
        waitForUnsaved(1);
        terminal.die();
    }
    const Terminal terminal(directory, "other.xml");
    EXPECT_THAT(terminal.waitFor(journalQuestion), HasSubstr("1 unsaved step in other.xml"));
    typeLine(terminal, "y");
    EXPECT_THAT(typeLine(terminal, "undo 2"), HasSubstr("/a/@x"));
    typeLine(terminal, "save");
    EXPECT_EQ(directory.read("other.xml"), "<a x='1' y='1'/>");
    quit(terminal);
}

TEST_F(TerminalJournal, UndoGoesOnInTheNextSessionOnRequest)
{
    const TerminalKind keeping{.option = "--keep-history"};
    {
        const Terminal terminal(directory, "m.xml", "", keeping);
        terminal.waitFor(journalPrompt);
        typeLine(terminal, "set /a/@x 2");
        typeLine(terminal, "save");
        quit(terminal);
    }
    {
        const Terminal terminal(directory, "m.xml", "", keeping);
        EXPECT_THAT(terminal.waitFor(journalPrompt), HasSubstr("Brought back 1 step of m.xml"));
        EXPECT_THAT(typeLine(terminal, "undo"), HasSubstr("/a/@x"));
        typeLine(terminal, "save");
        EXPECT_EQ(directory.read("m.xml"), "<a x='1' y='1'/>");
        quit(terminal);
    }
    directory.write("m.xml", "<a x='9' y='1'/>");
    const Terminal terminal(directory, "m.xml", "", keeping);
    EXPECT_THAT(terminal.waitFor(journalPrompt),
                HasSubstr("warning: m.xml has changed since it was edited with 1 step"));
    quit(terminal);
}

TEST_F(TerminalJournal, WhatSomebodyDidNotWantToSaveIsNotKeptOnRequest)
{
    const TerminalKind keeping{.option = "--keep-history"};
    {
        const Terminal terminal(directory, "m.xml", "", keeping);
        terminal.waitFor(journalPrompt);
        typeLine(terminal, "set /a/@x 2");
        terminal.type("quit\n");
        terminal.waitFor("Quit without saving? (y/n) ");
        terminal.type("y\n");
        terminal.waitForEnd(status);
    }
    const Terminal terminal(directory, "m.xml", "", keeping);
    EXPECT_THAT(terminal.waitFor(journalPrompt), Not(HasSubstr("Brought back")));
    quit(terminal);
}

TEST_F(TerminalJournal, PrefixesOfTheCommandLineMeanTheSameInWhatComesBack)
{
    directory.write("m.xml", "<a xmlns='urn:n' x='1'/>");
    {
        const Terminal terminal(directory, "m.xml");
        terminal.waitFor(journalPrompt);
        typeLine(terminal, "set /*/@x 2");
        waitForUnsaved(1);
        terminal.die();
    }
    const Terminal terminal(directory, "m.xml", "", {.option = "--namespace=n=urn:n"});
    terminal.waitFor(journalQuestion);
    typeLine(terminal, "y");
    EXPECT_THAT(typeLine(terminal, "show /n:a"), HasSubstr("@x = 2"));
    typeLine(terminal, "save");
    quit(terminal);
}

TEST_F(TerminalJournal, WithoutOneNothingIsWritten)
{
    const Terminal terminal(directory, "m.xml", "", {.option = "--no-journal"});
    terminal.waitFor(journalPrompt);
    typeLine(terminal, "set /a/@x 2");
    terminal.die();
    EXPECT_FALSE(std::filesystem::exists(journals()));
}

TEST_F(TerminalJournal, WhoCannotHaveOneIsToldAndWorksOn)
{
    directory.write("state", "no folder");
    const Terminal terminal(directory, "m.xml");
    EXPECT_THAT(terminal.waitFor(journalPrompt),
                HasSubstr("warning: what is not saved of m.xml is not kept: "));
    EXPECT_THAT(typeLine(terminal, "set /a/@x 2"), HasSubstr("/a/@x: 1 -> 2"));
    typeLine(terminal, "save");
    terminal.type("quit\n");
    terminal.waitForEnd(status);
}

TEST_F(TerminalJournal, SeveralProgramsWithOneFileHaveOneEach)
{
    const Terminal one(directory, "m.xml");
    one.waitFor(journalPrompt);
    typeLine(one, "set /a/@x 2");
    waitForUnsaved(1);
    const Terminal other(directory, "m.xml");
    EXPECT_THAT(other.waitFor(journalPrompt), Not(HasSubstr("warning")));
    typeLine(other, "set /a/@x 3");
    EXPECT_THAT(typeLine(one, "undo"), HasSubstr("/a/@x"));
}

} // namespace
