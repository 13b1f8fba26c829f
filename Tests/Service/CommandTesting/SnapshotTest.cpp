#include "Service/CommandTesting/Snapshot.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace Valdane
{
namespace
{

/// Prints only a part of what is compared.
struct Shy
{
    int shown;
    int hidden;

    bool operator==(const Shy&) const = default;

    friend std::ostream& operator<<(std::ostream& out, const Shy& shy)
    {
        return out << shy.shown;
    }
};

std::string difference(const std::string& expected, const std::string& found)
{
    return Snapshot(expected).differenceTo(Snapshot(found));
}

std::string numbers(int count, const std::string& prefix)
{
    std::string text;
    for (int number = 0; number < count; ++number)
    {
        text += prefix + std::to_string(number) + "\n";
    }
    return text;
}

TEST(SnapshotTest, EqualValuesAreEqualAndValuesOfTwoTypesAreNot)
{
    const Snapshot one(1);
    const Snapshot copy = one;
    EXPECT_TRUE(one == copy);
    EXPECT_TRUE(one == Snapshot(1));
    EXPECT_FALSE(one == Snapshot(2));
    EXPECT_FALSE(one == Snapshot(1L));
    EXPECT_EQ(one.toText(), "1");
}

TEST(SnapshotTest, OfOneLineBothAreShown)
{
    EXPECT_EQ(Snapshot(1).differenceTo(Snapshot(23)), "- 1\n+ 23");
}

TEST(SnapshotTest, OfManyLinesThoseThatDifferAreShownWithTheOneBefore)
{
    EXPECT_EQ(difference("a\nb\nc\nd\ne\n", "a\nb\nx\nd\ne\n"), "  b\n- c\n+ x");
    EXPECT_EQ(difference("a\nb\nc\nd\ne\nf", "x\nb\nc\nd\ny\nf"), "- a\n+ x\n  d\n- e\n+ y");
}

TEST(SnapshotTest, LinesThatComeOrGoDoNotMakeOthersDiffer)
{
    EXPECT_EQ(difference("a\nb\nc\nd", "b\nc\nx\nd"), "- a\n  c\n+ x");
    EXPECT_EQ(difference("", "a"), "+ a");
    EXPECT_EQ(difference("a\na", "a"), "  a\n- a");
    EXPECT_EQ(difference("a\n\nb", "a\nb"), "  a\n- ");
}

TEST(SnapshotTest, LinesThatAreTooManyForThatAreComparedWithTheOneInTheirPlace)
{
    const std::string text = difference(numbers(1001, "a") + "end", numbers(1002, "b") + "end");
    EXPECT_EQ(text.substr(0, 19), "- a0\n+ b0\n- a1\n+ b1");
    const std::string between = numbers(1500, "x");
    EXPECT_EQ(difference("a\n" + between + "c\n", "b\n" + between + "d\n"), "- a\n+ b\n  x1499\n- c\n+ d");
}

TEST(SnapshotTest, WhatCannotBeShownInLinesIsSaid)
{
    EXPECT_EQ(Snapshot(Shy{1, 2}).differenceTo(Snapshot(Shy{1, 3})),
              "The values differ, but are the same when they are printed");
    EXPECT_EQ(difference("a\n", "a"), "Only one of the texts ends with the end of a line");
    EXPECT_EQ(difference("a\n", "a\n"), "");
}

} // namespace
} // namespace Valdane
