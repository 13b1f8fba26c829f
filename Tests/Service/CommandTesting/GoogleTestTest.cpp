#include "Service/CommandTesting/GoogleTest.h"

#include "Tests/Service/CommandTesting/Page.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <string>

namespace Valdane
{
namespace
{

/// Makes a command that cannot be undone.
const auto wrongCommand = spoilt([](ScriptedCommand& command, Page&) { command.onUndo = nullptr; });

template <typename Matcher, typename Value>
std::string explain(const Matcher& matcher, const Value& value)
{
    testing::StringMatchResultListener listener;
    const testing::Matcher<const Value&> typed = matcher;
    const std::string answer = typed.MatchAndExplain(value, &listener) ? "matches" : "does not match: ";
    return answer + listener.str();
}

template <typename Value, typename Matcher>
std::string describe(const Matcher& matcher)
{
    return testing::DescribeMatcher<const Value&>(matcher) + "; " +
           testing::DescribeMatcher<const Value&>(matcher, true);
}

TEST(GoogleTestTest, ACommandIsProvedOrNot)
{
    EXPECT_THAT(renameTo("fan"), isProvedBy(makePageKit()));
    EXPECT_THAT(wrongCommand, testing::Not(isProvedBy(makePageKit())));
    EXPECT_THAT(renameTo("pump"), isProvedBy(makePageKit(), {.changesNothing = true}));
    EXPECT_EQ(explain(isProvedBy(makePageKit()), wrongCommand),
              "does not match: All checks of \"Write\", without failing allocations: 1 mistake\n"
              "  Round trip of \"Write\":\n"
              "    After undo 1 the data are not as before execute() (- expected, + found):\n"
              "        title: pump\n"
              "      - text: none\n"
              "      + text: done\n");
    EXPECT_EQ(describe<decltype(wrongCommand)>(isProvedBy(makePageKit())),
              "makes a command without mistakes; makes a command with mistakes");
}

TEST(GoogleTestTest, AReportHasNoMistakesOrSome)
{
    Report report("Round trip");
    EXPECT_THAT(report, hasNoMistakes());
    report.addMistake("Undo 1 throws: no power");
    EXPECT_THAT(report, testing::Not(hasNoMistakes()));
    EXPECT_THAT(report, hasMistakes(testing::Contains(testing::HasSubstr("Undo 1"))));
    EXPECT_THAT(report, testing::Not(hasMistakes(testing::SizeIs(2))));
    EXPECT_EQ(describe<Report>(hasNoMistakes()), "has no mistakes; has mistakes");
    EXPECT_EQ(describe<Report>(hasMistakes(testing::IsEmpty())),
              "has mistakes that are such: is empty; has mistakes that are such: isn't empty");
}

TEST(GoogleTestTest, AReportThatDoesNotMatchIsPrintedWhole)
{
    static Report report("Round trip");
    report.addMistake("Undo 1 throws: no power");
    EXPECT_NONFATAL_FAILURE(EXPECT_THAT(report, hasNoMistakes()), "Expected: has no mistakes\n"
                                                                  "  Actual: Round trip: 1 mistake\n"
                                                                  "  Undo 1 throws: no power\n");
}

} // namespace
} // namespace Valdane
