#include "Applications/ModelEditor/Edits/LineDiff.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <random>
#include <string>

namespace
{

using ModelEditor::differencesOf;
using ModelEditor::patchOf;
using testing::HasSubstr;

constexpr std::size_t allLines = 1'000'000;

TEST(LineDiff, TellsNothingOfTheSame)
{
    EXPECT_EQ(differencesOf("", "", allLines), "");
    EXPECT_EQ(differencesOf("a\nb", "a\nb", allLines), "");
}

TEST(LineDiff, TellsWhatIsOnOneSideOnly)
{
    EXPECT_EQ(differencesOf("", "a\n", allLines), "@@ -0,0 +1,1 @@\n+a\n");
    EXPECT_EQ(differencesOf("a\nb\n", "b\n", allLines), "@@ -1,2 +1,1 @@\n-a\n b\n");
    EXPECT_EQ(differencesOf("a\nb\nc\n", "a\nX\nc\n", allLines), "@@ -1,3 +1,3 @@\n a\n-b\n+X\n c\n");
}

TEST(LineDiff, ShowsThreeLinesAroundAndWhereTheyAre)
{
    const std::string start = "1\n2\n3\n4\n";
    const std::string middle = "6\n7\n8\n9\n10\n11\n12\n";
    EXPECT_EQ(differencesOf(start + "5\n" + middle + "13\n14\n", start + "X\n" + middle + "14\n", allLines),
              "@@ -2,7 +2,7 @@\n 2\n 3\n 4\n-5\n+X\n 6\n 7\n 8\n"
              "@@ -10,5 +10,4 @@\n 10\n 11\n 12\n-13\n 14\n");
}

TEST(LineDiff, TellsOfALineEndThatIsMissing)
{
    EXPECT_EQ(differencesOf("a", "a\n", allLines), "@@ -1,1 +1,1 @@\n-a\n\\ no line end\n+a\n");
}

TEST(LineDiff, LeavesOutCarriageReturnsThatAllLinesHave)
{
    EXPECT_EQ(differencesOf("a\r\nb\r\n", "a\r\nc\r\n", allLines), "@@ -1,2 +1,2 @@\n a\n-b\n+c\n");
    EXPECT_EQ(differencesOf("a\r\n", "a\n", allLines), "@@ -1,1 +1,1 @@\n-a\r\n+a\n");
}

TEST(LineDiff, EndsAfterSoManyLines)
{
    EXPECT_EQ(differencesOf("a\nb\nc\n", "", 2), "@@ -1,3 +0,0 @@\n-a\n-b\nand 1 more\n");
    EXPECT_EQ(differencesOf("a\nb\nc\n", "", 3), "@@ -1,3 +0,0 @@\n-a\n-b\n-c\n");
}

TEST(LineDiff, FindsLinesThatAreThereOften)
{
    EXPECT_EQ(differencesOf("a\nx\nx\nb\n", "c\nx\nx\nd\n", allLines),
              "@@ -1,4 +1,4 @@\n-a\n+c\n x\n x\n-b\n+d\n");
}

TEST(LineDiff, FindsLinesBetweenThoseThatAreThereOnce)
{
    EXPECT_EQ(differencesOf("a\nx\nM\nx\nb\n", "c\nx\nx\nM\nd\n", allLines),
              "@@ -1,5 +1,5 @@\n-a\n+c\n+x\n x\n M\n-x\n-b\n+d\n");
}

TEST(LineDiff, TakesLongLinesApart)
{
    std::string line;
    for (int i = 0; i < 200; ++i)
    {
        line += "<v n='" + std::to_string(i) + "'/>";
    }
    std::string changed = line;
    changed.replace(changed.find("'100'"), 5, "'x'");
    const auto told = differencesOf(line, changed, allLines);
    EXPECT_THAT(told, HasSubstr(" <v n='99'/>\n-<v n='100'/>\n+<v n='x'/>\n <v n='101'/>\n"));
    EXPECT_LT(told.size(), 200U);
}

// Both texts can be made of what is told if all lines are.
TEST(LineDiff, OfRandomTextsIsTrue)
{
    std::mt19937 random(1);
    for (int round = 0; round < 1000; ++round)
    {
        std::array<std::string, 2> texts;
        std::array<std::string, 2> made;
        for (std::size_t i = 0; i < texts.size(); ++i)
        {
            // Each line is near to one that differs.
            const auto* const ownLine = i == 0 ? "-\n" : "+\n";
            texts[i] = ownLine;
            for (auto count = random() % 12; count > 0; --count)
            {
                texts[i] += std::string(1, static_cast<char>('a' + random() % 8)) + "\n";
                texts[i] += count % 3 == 0 ? ownLine : "";
            }
            texts[i] += ownLine;
        }
        const auto told = differencesOf(texts[0], texts[1], allLines);
        for (std::size_t start = 0; start < told.size();)
        {
            const auto end = told.find('\n', start) + 1;
            const auto line = told.substr(start + 1, end - start - 1);
            made[0] += told[start] == '+' || told[start] == '@' ? "" : line;
            made[1] += told[start] == '-' || told[start] == '@' ? "" : line;
            start = end;
        }
        EXPECT_EQ(made, texts);
    }
}

TEST(LineDiff, AsAPatchIsWholeAndExact)
{
    EXPECT_EQ(patchOf("m", "a\n", "a\n"), "");
    EXPECT_EQ(patchOf("m", "a\r\nb", "a\r\nc"),
              "--- m\n+++ m\n@@ -1,2 +1,2 @@\n a\r\n-b\n\\ no line end\n+c\n\\ no line end\n");
    const std::string line(1000, '>');
    EXPECT_EQ(patchOf("m n", line + "\n", ""), "--- m n\t\n+++ m n\t\n@@ -1,1 +0,0 @@\n-" + line + "\n");
}

TEST(LineDiff, OfAllLinesOfALongTextIsNearlyLinear)
{
    std::string before;
    std::string after;
    for (int i = 0; i < 200'000; ++i)
    {
        before += "a" + std::to_string(i) + "\nsame\n";
        after += "b" + std::to_string(i) + "\nsame\n";
    }
    EXPECT_THAT(differencesOf(before, after, 5), HasSubstr(" more\n"));
}

} // namespace
