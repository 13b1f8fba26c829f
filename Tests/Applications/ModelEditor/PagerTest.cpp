#include "Tests/Applications/ModelEditor/TerminalRun.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace
{

using testing::HasSubstr;
using testing::Not;

// What is longer than the screen, and colours: at a terminal that is able to show them.
class PagerTest : public testing::Test
{
protected:
    PagerTest()
    {
        directory.write("m.xml", "<a x='1'><b name='n'/><b/><b/><b/><b/></a>");
    }

    static TerminalKind withPager(const std::string& pager)
    {
        return {.rows = 5, .environment = {{"TERM", "xterm"}, {"PAGER", pager}, {"NO_COLOR", "1"}}};
    }

    // What a line prints, up to the end that is named.
    std::string print(const TerminalKind& kind, const std::string& line, const std::string& end = "model>")
    {
        Terminal terminal(directory, "m.xml", {}, kind);
        terminal.waitFor("model>");
        terminal.type(line + "\n");
        terminal.waitFor("\r\n");
        const auto seen = terminal.waitFor(end);
        terminal.type("quit\ny\n");
        terminal.waitForEnd(status);
        EXPECT_EQ(status, 0);
        return seen;
    }

    TestDirectory directory;
    int status = -1;
};

const std::string marking = "sed 's/^/page: /'";

TEST_F(PagerTest, ShowsWhatIsLongerThanTheScreen)
{
    EXPECT_THAT(print(withPager(marking), "tree"), HasSubstr("page: a\r\npage:   b[1] n\r\n"));
}

TEST_F(PagerTest, IsNotAskedForWhatFits)
{
    const auto seen = print(withPager(marking), "tree /a 0");
    EXPECT_THAT(seen, HasSubstr("a (+5)\r\n"));
    EXPECT_THAT(seen, Not(HasSubstr("page: ")));
}

TEST_F(PagerTest, TheNextPromptNeedsALineOfTheScreen)
{
    const auto four = print(withPager(marking), "find //b[position()<4]");
    EXPECT_THAT(four, HasSubstr("3 nodes\r\n"));
    EXPECT_THAT(four, Not(HasSubstr("page: ")));
    EXPECT_THAT(print(withPager(marking), "find //b[position()<5]"), HasSubstr("page: 4 nodes\r\n"));
}

TEST_F(PagerTest, IsNotAskedForWhatIsDone)
{
    const auto seen = print(withPager(marking), "insert //b <c/>");
    EXPECT_THAT(seen, HasSubstr("/a/b[5]"));
    EXPECT_THAT(seen, Not(HasSubstr("page: ")));
}

TEST_F(PagerTest, WhoLeavesItEarlyGoesOnEditing)
{
    std::string bytes = "<a>";
    for (int i = 0; i < 20000; ++i)
    {
        bytes += "<b/>";
    }
    directory.write("m.xml", bytes + "</a>");
    const auto seen = print(withPager("head -n 2"), "find //b");
    EXPECT_THAT(seen, HasSubstr("/a/b[2]\r\n"));
    EXPECT_THAT(seen, Not(HasSubstr("/a/b[3]")));
}

TEST_F(PagerTest, AllIsPrintedIfItIsNotThere)
{
    const auto seen = print(withPager("no-such-program"), "tree");
    EXPECT_THAT(seen, HasSubstr("no-such-program"));
    EXPECT_THAT(seen, HasSubstr("a\r\n  b[1] n\r\n"));
}

TEST_F(PagerTest, IsNotUsedWhereThatIsWanted)
{
    for (const auto* const none : {"", "cat"})
    {
        EXPECT_THAT(print(withPager(none), "tree"), HasSubstr("a\r\n  b[1] n\r\n")) << none;
    }
}

TEST_F(PagerTest, IsNotUsedAtATerminalThatCannotMoveItsCursor)
{
    auto dumb = withPager(marking);
    dumb.environment.emplace_back("TERM", "dumb");
    EXPECT_THAT(print(dumb, "tree"), Not(HasSubstr("page: ")));
}

TEST_F(PagerTest, IsNotUsedByAScript)
{
    directory.write("s", "tree\n");
    const Terminal terminal(directory, "m.xml", "s", withPager(marking));
    EXPECT_THAT(terminal.waitForEnd(status), HasSubstr("> tree\r\na\r\n  b[1] n\r\n"));
    EXPECT_EQ(status, 0);
}

TEST_F(PagerTest, ColoursTellNamesAndValuesApart)
{
    const TerminalKind coloured{.rows = 0, .environment = {{"TERM", "xterm"}}};
    EXPECT_THAT(print(coloured, "show /a", "int)"),
                HasSubstr("\033[1m/a\033[0m\r\n  \033[35m@x\033[0m = \033[32m1\033[0m (int)"));
    EXPECT_THAT(print(coloured, "tree", "n\033[0m"), HasSubstr("  \033[1mb[1]\033[0m \033[32mn\033[0m"));
    EXPECT_THAT(print(coloured, "pwd"), HasSubstr("\033[1mmodel>"));
    EXPECT_THAT(print(coloured, "pwd", "\033[0m "), HasSubstr("\033[1mmodel>\033[0m "))
        << "typed text is plain";
    EXPECT_THAT(print(coloured, "nope", "them"), HasSubstr("\033[1;31mno verb nope; help lists them"));
}

TEST_F(PagerTest, ColoursTellWhatIsRemovedAndAdded)
{
    const TerminalKind coloured{.rows = 0, .environment = {{"TERM", "xterm"}}};
    Terminal terminal(directory, "m.xml", {}, coloured);
    terminal.waitFor("model>");
    terminal.type("set /a/@x 2\n");
    terminal.waitFor("1 -> 2");
    terminal.waitFor("model>");
    terminal.type("diff\n");
    const auto seen = terminal.waitFor("\033[32m+");
    EXPECT_THAT(seen, HasSubstr("\033[1m--- m.xml\033[0m\r\n\033[1m+++ the model\033[0m\r\n"));
    EXPECT_THAT(seen, HasSubstr("\033[31m-<a x='1'>"));
}

TEST_F(PagerTest, ThereAreNoColoursWhereThatIsWanted)
{
    const TerminalKind plain{.rows = 0, .environment = {{"TERM", "xterm"}, {"NO_COLOR", "1"}}};
    EXPECT_THAT(print(plain, "show /a"), HasSubstr("/a\r\n  @x = 1 (int)\r\n"));
}

TEST_F(PagerTest, ThereAreNoColoursInAScript)
{
    directory.write("s", "show /a\nnope\n");
    const Terminal terminal(directory, "m.xml", "s", {.rows = 0, .environment = {{"TERM", "xterm"}}});
    EXPECT_THAT(terminal.waitForEnd(status), Not(HasSubstr("\033")));
    EXPECT_EQ(status, 1);
}

} // namespace
