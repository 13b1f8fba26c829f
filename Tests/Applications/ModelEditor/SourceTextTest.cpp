#include "Applications/ModelEditor/Document/SourceText.h"

#include <gtest/gtest.h>

namespace
{

using ModelEditor::SourceText;

TEST(SourceText, KeepsWhatIsNotReplaced)
{
    SourceText text("one two three");
    EXPECT_EQ(text.getCurrent(), "one two three");
    text.replace({8, 5}, "3");
    text.replace({0, 3}, "first");
    text.replace({7, 0}, "!");
    EXPECT_EQ(text.getCurrent(), "first two! 3");
    EXPECT_EQ(text.getOriginal(), "one two three");
}

TEST(SourceText, TheLastReplacementCountsAndRestoringTakesItAway)
{
    SourceText text("abc");
    text.replace({1, 1}, "x");
    text.replace({1, 1}, "yy");
    EXPECT_EQ(text.getCurrent(), "ayyc");
    text.restore({1, 1});
    text.restore({2, 1});
    EXPECT_EQ(text.getCurrent(), "abc");
}

TEST(SourceText, APartHasTheReplacementsInItAndOneOfNothingAtItsEnd)
{
    SourceText text("one two three");
    text.replace({0, 0}, "<");
    text.replace({4, 3}, "2");
    text.replace({7, 0}, "!");
    text.replace({8, 5}, "3");
    EXPECT_EQ(text.getCurrent({0, 3}), "<one");
    EXPECT_EQ(text.getCurrent({3, 4}), " 2!");
    EXPECT_EQ(text.getCurrent({7, 6}), " 3");
    EXPECT_EQ(text.getCurrent({13, 0}), "");
}

TEST(SourceText, CanBeTakenBackAsItWasRead)
{
    SourceText text("one");
    text.replace({0, 3}, "two");
    EXPECT_EQ(text.release(), "one");
}

} // namespace
