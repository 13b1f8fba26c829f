#include "Tests/Applications/ModelEditor/TerminalRun.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace
{

using testing::HasSubstr;

class TerminalTest : public testing::Test
{
protected:
    TerminalTest()
    {
        directory.write("m.xml", "<a x='1'/>");
    }

    TestDirectory directory;
    int status = -1;
};

const std::string prompt = "model> ";
const std::string question = "(y/n) ";

TEST_F(TerminalTest, PromptsRunsLinesAndSavesAtOnce)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("set /a/@x 2\n");
    EXPECT_THAT(terminal.waitFor(prompt), HasSubstr("/a/@x: 1 -> 2"));
    terminal.type("nope\n");
    EXPECT_THAT(terminal.waitFor(prompt), HasSubstr("no verb nope; help lists them"));
    terminal.type("save\n");
    EXPECT_THAT(terminal.waitFor(prompt), HasSubstr("Saved m.xml (10 bytes)"));
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>");
    terminal.type("quit\n");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(TerminalTest, GreetsWithTheFileAndItsSize)
{
    Terminal terminal(directory, "m.xml");
    EXPECT_THAT(terminal.waitFor(prompt),
                HasSubstr("m.xml: 10 bytes, 1 element\r\nType help to see what can be done.\r\n"));
}

TEST_F(TerminalTest, LinesAreEditedAndComeBackFromTheHistory)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    // Control-H deletes, control-P takes the line before.
    terminal.type("find /axx\x08\x08\n");
    EXPECT_THAT(terminal.waitFor("1 node"), HasSubstr("/a\r\n"));
    terminal.waitFor(prompt);
    terminal.type("\x10\n");
    EXPECT_THAT(terminal.waitFor("1 node"), HasSubstr("1 node"));
    terminal.waitFor(prompt);
    terminal.type("quit\n");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(TerminalTest, UnsavedModulesAreDroppedOnlyByAYes)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("set /a/@x 2\n");
    terminal.waitFor(prompt);
    terminal.type("quit\n");
    EXPECT_THAT(terminal.waitFor(question), HasSubstr("Not saved: m.xml: /a\r\n"));
    terminal.type("no\n");
    terminal.waitFor(prompt);
    terminal.type("\x04");
    EXPECT_THAT(terminal.waitFor(question), HasSubstr("Not saved: m.xml: /a\r\n"));
    terminal.type("n\n");
    terminal.waitFor(prompt);
    terminal.type("quit\n");
    terminal.waitFor(question);
    terminal.type("y\n");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(directory.read("m.xml"), "<a x='1'/>");
}

TEST_F(TerminalTest, TheEndKeyInsteadOfAnAnswerIsANo)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("set /a/@x 2\n");
    terminal.waitFor(prompt);
    terminal.type("\x04");
    terminal.waitFor(question);
    terminal.type("\x04");
    terminal.waitFor(prompt);
    terminal.type("save\n");
    EXPECT_THAT(terminal.waitFor(prompt), HasSubstr("Saved m.xml"));
    terminal.type("\x04");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>");
}

// Where a person has told the program to outlive the terminal.
TEST_F(TerminalTest, ATerminalThatIsGoneEndsTheProgram)
{
    const auto before = std::signal(SIGHUP, SIG_IGN);
    Terminal terminal(directory, "m.xml");
    std::signal(SIGHUP, before);
    terminal.waitFor(prompt);
    terminal.type("set /a/@x 2\n");
    terminal.waitFor(prompt);
    terminal.hangUp();
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(directory.read("m.xml"), "<a x='1'/>");
}

TEST_F(TerminalTest, AReadOnlyFileIsWrittenOnlyAfterAYes)
{
    std::filesystem::permissions(directory.getPath() / "m.xml", std::filesystem::perms::owner_read);
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("set /a/@x 2\n");
    terminal.waitFor(prompt);
    terminal.type("save\n");
    EXPECT_THAT(terminal.waitFor(question), HasSubstr("m.xml is read-only. Write it anyway?"));
    terminal.type("\x04");
    EXPECT_THAT(terminal.waitFor(prompt), HasSubstr("save: m.xml is read-only; save! writes it anyway"));
    terminal.type("save\n");
    terminal.waitFor(question);
    terminal.type("y\n");
    EXPECT_THAT(terminal.waitFor(prompt), HasSubstr("Saved m.xml (10 bytes)"));
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>");
    terminal.type("quit\n");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(TerminalTest, NobodyIsAskedWhenAllIsSavedOrUndone)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("set /a/@x 2\n");
    terminal.waitFor(prompt);
    terminal.type("undo\n");
    terminal.waitFor(prompt);
    terminal.type("quit\n");
    EXPECT_THAT(terminal.waitForEnd(status), testing::Not(HasSubstr("Not saved")));
    EXPECT_EQ(status, 0);
}

TEST_F(TerminalTest, ThePromptTellsOfARecordingAndAGroup)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("record\n");
    terminal.waitFor("model [recording]> ");
    terminal.type("group 'a b'\n");
    EXPECT_THAT(terminal.waitFor("model [recording] (a b)> "), HasSubstr("(a b)> "));
    terminal.type("set /a/@x 2\n");
    terminal.waitFor("model [recording] (a b)> ");
    terminal.type("end\n");
    EXPECT_THAT(terminal.waitFor("model [recording]> "), HasSubstr("Group a b: 1 step as one"));
    terminal.type("stop\n");
    terminal.waitFor("\nmodel> ");
    terminal.type("undo\n");
    EXPECT_THAT(terminal.waitFor(prompt), HasSubstr("/a/@x: 2 -> 1"));
    terminal.type("quit\n");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(TerminalTest, AMistypedLineInAGroupFailsAlone)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("group g\n");
    terminal.waitFor("model (g)> ");
    terminal.type("set /a/@x 2\n");
    terminal.waitFor("model (g)> ");
    terminal.type("sset /a/@x 3\n");
    EXPECT_THAT(terminal.waitFor("model (g)> "), testing::Not(HasSubstr("is ended")));
    terminal.type("end\n");
    EXPECT_THAT(terminal.waitFor("\nmodel> "), HasSubstr("Group g: 1 step as one"));
    terminal.type("find /a/@x\n");
    EXPECT_THAT(terminal.waitFor("1 node"), HasSubstr("/a/@x = 2"));
}

TEST_F(TerminalTest, TheEndKeyInAGroupEndsTheGroupOnly)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("group g\n");
    terminal.waitFor("model (g)> ");
    terminal.type("set /a/@x 2\n");
    terminal.waitFor("model (g)> ");
    terminal.type("\x04");
    EXPECT_THAT(terminal.waitFor(prompt),
                HasSubstr("the group g has no end; the group g is ended, 1 step undone"));
    terminal.type("find /a/@x\n");
    EXPECT_THAT(terminal.waitFor("1 node"), HasSubstr("/a/@x = 1"));
    terminal.waitFor(prompt);
    terminal.type("\x04");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(TerminalTest, TheInterruptKeyEmptiesTheLine)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("set /a/@x 5\x03"
                  "find /a/@x\n");
    EXPECT_THAT(terminal.waitFor("1 node"), HasSubstr("/a/@x = 1"));
    terminal.waitFor(prompt);
    terminal.type("\x04");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(TerminalTest, TheInterruptKeyEmptiesTheLineAlsoWhenItComesAlone)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("nonsense");
    terminal.waitFor("nonsense");
    terminal.type("\x03");
    terminal.waitFor(prompt);
    terminal.type("find /a/@x\n");
    EXPECT_THAT(terminal.waitFor("1 node"), HasSubstr("/a/@x = 1"));
    terminal.waitFor(prompt);
    terminal.type("\x04");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(TerminalTest, ThePromptTellsWhichOfSeveralFilesIsCurrent)
{
    directory.write("n.xml", "<b/>");
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("open n.xml\n");
    EXPECT_THAT(terminal.waitFor("2:n.xml> "), HasSubstr("File 2: n.xml"));
    terminal.type("open absent.xml\n");
    EXPECT_THAT(terminal.waitFor("2:n.xml> "), HasSubstr("open: absent.xml: No such file or directory"));
    terminal.type("use m.xml\n");
    terminal.waitFor("1:m.xml> ");
    terminal.type("set /a/@x 2\n");
    terminal.waitFor("1:m.xml> ");
    terminal.type("use 2\n");
    terminal.waitFor("2:n.xml> ");
    terminal.type("\x04");
    EXPECT_THAT(terminal.waitFor(question), HasSubstr("Not saved: m.xml: /a"));
    terminal.type("\x04");
    terminal.waitFor("2:n.xml> ");
    terminal.type("close\n");
    terminal.waitFor(prompt);
    terminal.type("quit\n");
    terminal.waitFor(question);
    terminal.type("y\n");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

// So long a run that whoever sees it begin can stop it.
class LongRun : public TerminalTest
{
protected:
    LongRun()
    {
        std::string values;
        for (int i = 0; i < 20000; ++i)
        {
            values += "<v x='1'/>";
        }
        directory.write("m.xml", "<r>" + values + "</r>");
        directory.write("s", "scale //@x 2\nset //v[1]/@x 5\n");
    }

    const std::string bar = "[....................] ";
};

TEST_F(LongRun, LinesCanBeTypedWhileARunIsUnderWay)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("scale //@x 2\n");
    terminal.waitFor(bar);
    terminal.type("status\n");
    EXPECT_THAT(terminal.waitFor("(20000 values) by 2, "), HasSubstr("status"));
    terminal.type("save\n");
    terminal.waitFor("save: not while Scale //@x (20000 values) by 2 is under way");
    terminal.waitFor("> ");
    terminal.type("open s\n");
    terminal.waitFor("open: not while Scale //@x (20000 values) by 2 is under way");
    terminal.waitFor("> ");
    terminal.type("abort\n");
    terminal.waitFor("scale: aborted; nothing has changed");
    terminal.waitFor(prompt);
    terminal.type("modified\n");
    EXPECT_THAT(terminal.waitFor(prompt), HasSubstr("0 modules"));
    terminal.type("\x04");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(LongRun, TheInterruptKeyAbortsItAndASecondOneDoesNoHarm)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("scale //@x 2\n");
    terminal.waitFor(bar);
    terminal.type("\x03\x03");
    terminal.waitFor("scale: aborted; nothing has changed");
    terminal.waitFor(prompt);
    terminal.type("\x03modified\n");
    EXPECT_THAT(terminal.waitFor("0 modules"), HasSubstr("0 modules"));
    terminal.waitFor(prompt);
    terminal.type("\x04");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(TerminalTest, LinesComeBackInTheNextSession)
{
    {
        Terminal terminal(directory, "m.xml", "", {.option = "--no-journal"});
        terminal.waitFor(prompt);
        terminal.type("set /a/@x 2\nfind /a/@x\n");
        terminal.waitFor("1 node");
        terminal.hangUp();
        terminal.waitForEnd(status);
    }
    Terminal terminal(directory, "m.xml", "", {.option = "--no-journal"});
    terminal.waitFor(prompt);
    terminal.type("\x10\x10\n");
    EXPECT_THAT(terminal.waitFor("1 -> 2"), HasSubstr("/a/@x: 1 -> 2"));
    EXPECT_EQ(directory.read("state/model-editor/lines"), "set /a/@x 2\nfind /a/@x\nset /a/@x 2\n");
}

TEST_F(TerminalTest, AHistoryThatCannotBeKeptIsToldOnce)
{
    directory.write("state", "no folder");
    Terminal terminal(directory, "m.xml", "", {.option = "--no-journal"});
    terminal.waitFor(prompt);
    terminal.type("pwd\npwd\n");
    const auto seen = terminal.waitFor("/\r\n") + terminal.waitFor("/\r\n");
    EXPECT_THAT(seen, HasSubstr("lines of this session are not kept: "));
    EXPECT_EQ(seen.find("not kept"), seen.rfind("not kept"));
}

TEST_F(TerminalTest, TheTabKeyCompletes)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    // A verb with its blank, an element, and the only attribute.
    terminal.type("fin\t/\t/@\t\n");
    EXPECT_THAT(terminal.waitFor("1 node"), HasSubstr("/a/@x = 1"));
    terminal.waitFor(prompt);
    terminal.type("re\t");
    EXPECT_THAT(terminal.waitFor("rename\r\n"), HasSubstr("record\r\nredo\r\nreload\r\nreload!\r\nrename"));
    terminal.waitFor(prompt + "re");
    terminal.type("n\t/a/@x b\n");
    EXPECT_THAT(terminal.waitFor("rename: "), HasSubstr("name /a/@x b"));
}

TEST_F(TerminalTest, WhatIsPastedIsTextLineByLine)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("\x1b[200~set /a/@x 'b\tc'\r\nfind /a/@x\r\nset /a/@x re\t\x1b[201~");
    EXPECT_THAT(terminal.waitFor("1 node"), HasSubstr("/a/@x = \"b\\x09c\"")) << "a tab is a character";
    terminal.waitFor(prompt + "set /a/@x re");
    terminal.type("x\n");
    EXPECT_THAT(terminal.waitFor("no option x"), HasSubstr("set: no option x")) << "it did not complete re";
}

TEST_F(TerminalTest, APasteThatTheTerminalBreaksOffEndsTheSession)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("\x1b[200~set /a/@x 2");
    terminal.hangUp();
    terminal.waitForEnd(status);
    EXPECT_EQ(directory.read("m.xml"), "<a x='1'/>");
}

TEST_F(TerminalTest, AnInterruptStopsALongSearchAndTheSessionGoesOn)
{
    std::string bytes = "<r>";
    for (int i = 0; i < 3000; ++i)
    {
        bytes += "<e/>";
    }
    directory.write("m.xml", bytes + "</r>");
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("find //e[not(//e[not(//e[@b])])]\n");
    EXPECT_THAT(terminal.interruptUntil("interrupted"), HasSubstr("find: interrupted"))
        << "it takes days otherwise";
    terminal.waitFor(prompt);
    terminal.type("find //e[3]\n");
    EXPECT_THAT(terminal.waitFor("1 node"), HasSubstr("/r/e[3]"));
    terminal.waitFor(prompt);
    terminal.type("quit\n");
    terminal.waitForEnd(status);
    EXPECT_EQ(status, 0);
}

TEST_F(LongRun, TheEndKeyAbortsIt)
{
    Terminal terminal(directory, "m.xml");
    terminal.waitFor(prompt);
    terminal.type("scale //@x 2\n");
    terminal.waitFor(bar);
    terminal.type("\x04");
    EXPECT_THAT(terminal.waitForEnd(status), HasSubstr("nothing has changed"));
    EXPECT_EQ(status, 0);
}

TEST_F(LongRun, AnInterruptAbortsThatOfAScriptAndStopsTheScript)
{
    Terminal terminal(directory, "m.xml", "s");
    terminal.waitFor("25 %");
    terminal.interrupt();
    terminal.interrupt();
    const auto rest = terminal.waitForEnd(status);
    EXPECT_THAT(rest, HasSubstr("s:1: scale: aborted; nothing has changed"));
    EXPECT_THAT(rest, testing::Not(HasSubstr("> set")));
    EXPECT_EQ(status, 1);
}

} // namespace
