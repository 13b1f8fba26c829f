#include "Service/CommandTesting/Report.h"

#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

TEST(ReportTest, WithoutMistakesItIsTrueAndOneLine)
{
    const Report report("Round trip");
    EXPECT_TRUE(report);
    EXPECT_EQ(report.getSubject(), "Round trip");
    EXPECT_EQ(report.toText(), "Round trip: no mistakes\n");
}

TEST(ReportTest, MistakesAreIndentedBelowTheSubject)
{
    Report report("Round trip");
    report.addMistake("First:\n- a\n\n+ b");
    EXPECT_FALSE(report);
    EXPECT_EQ(report.toText(), "Round trip: 1 mistake\n"
                               "  First:\n"
                               "    - a\n"
                               "\n"
                               "    + b\n");
    report.addMistake("Second");
    std::ostringstream printed;
    printed << report;
    EXPECT_EQ(printed.str(), "Round trip: 2 mistakes\n"
                             "  First:\n"
                             "    - a\n"
                             "\n"
                             "    + b\n"
                             "  Second\n");
}

TEST(ReportTest, TheSameMistakeCountsOnce)
{
    Report report("Round trip");
    report.addMistake("First");
    report.addMistake("Second");
    report.addMistake("First");
    EXPECT_THAT(report.getMistakes(), ElementsAre("First", "Second"));
}

TEST(ReportTest, TheMistakesOfAnotherOneComeWithItsSubject)
{
    Report part("Round trip");
    part.addMistake("First:\n- a");
    part.addMistake("Second");
    Report whole("All checks");
    whole.add(Report("Misuse"));
    EXPECT_TRUE(whole);
    whole.add(part);
    EXPECT_EQ(whole.toText(), "All checks: 2 mistakes\n"
                              "  Round trip:\n"
                              "    First:\n"
                              "      - a\n"
                              "    Second\n");
    EXPECT_THAT(whole.getMistakes(), ElementsAre("Round trip:\nFirst:\n  - a\n", "Round trip:\nSecond\n"));
    Report again("Aborts");
    again.addMistake("First");
    whole.add(again);
    whole.add(part);
    whole.addMistake("Third");
    whole.addMistake("Fourth");
    EXPECT_EQ(whole.toText(), "All checks: 5 mistakes\n"
                              "  Round trip:\n"
                              "    First:\n"
                              "      - a\n"
                              "    Second\n"
                              "  Aborts:\n"
                              "    First\n"
                              "  Third\n"
                              "  Fourth\n");
}

TEST(ReportTest, OfAMistakeAHundredLinesAreToldAndTheOthersCounted)
{
    const auto linesOf = [](int count)
    {
        std::string text = "first";
        for (int line = 1; line < count; ++line)
        {
            text += "\n" + std::to_string(line);
        }
        Report report("Lines");
        report.addMistake(text);
        return report.toText();
    };
    const std::string whole = linesOf(102);
    EXPECT_EQ(whole.substr(whole.size() - 16), "    100\n    101\n");
    const std::string cut = linesOf(103);
    EXPECT_EQ(cut.substr(cut.size() - 33), "    100\n    ... and 2 lines more\n");
}

} // namespace
} // namespace Valdane
