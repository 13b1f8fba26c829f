#include "Applications/ModelEditor/Edits/Words.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using ModelEditor::joinWords;
using ModelEditor::shown;
using ModelEditor::splitWords;
using Words = std::vector<std::string>;

TEST(Words, AreSplitAtBlanks)
{
    EXPECT_EQ(splitWords(""), Words{});
    EXPECT_EQ(splitWords(" \t "), Words{});
    EXPECT_EQ(splitWords(" set\t//a/@b  1 "), (Words{"set", "//a/@b", "1"}));
}

TEST(Words, QuotesAndBackslashesWorkAsInAShell)
{
    EXPECT_EQ(splitWords(R"(a'b c'"d e"f)"), (Words{"ab cd ef"}));
    EXPECT_EQ(splitWords(R"("" '')"), (Words{"", ""}));
    EXPECT_EQ(splitWords(R"('a\b"' "a\b\"\\'" a\ \'\\)"), (Words{R"(a\b")", R"(a\b"\')", R"(a '\)"}));
}

TEST(Words, QuotesInBracketsBelongToTheAddress)
{
    EXPECT_EQ(splitWords("show //link[@name='wrist_1_link']"),
              (Words{"show", "//link[@name='wrist_1_link']"}));
    EXPECT_EQ(splitWords(R"(//a[@b="it's #1 ]"]/@c 'd e')"), (Words{R"(//a[@b="it's #1 ]"]/@c)", "d e"}));
    EXPECT_EQ(splitWords("//a[b[@c='d e']][2]/@f g"), (Words{"//a[b[@c='d e']][2]/@f", "g"}));
    EXPECT_EQ(splitWords(R"(//a[@b=\'c\'] d)"), (Words{"//a[@b='c']", "d"})) << "as elsewhere";
    EXPECT_EQ(splitWords(R"('//a[@b="c"]' "//a[@b='c']")"), (Words{R"(//a[@b="c"])", "//a[@b='c']"}));
}

TEST(Words, ABracketThatIsNotClosedInItsWordIsACharacter)
{
    EXPECT_EQ(splitWords("[a b] c[ 'd e'"), (Words{"[a", "b]", "c[", "d e"}));
    EXPECT_EQ(splitWords("a['b c' d]"), (Words{"a[b c", "d]"}));
    EXPECT_EQ(splitWords(R"([\] '[' "]")"), (Words{"[]", "[", "]"}));
    EXPECT_EQ(splitWords("]['x'"), (Words{"][x"}));
    EXPECT_EQ(splitWords("[['a b'] ['c d']"), (Words{"[[a b]", "['c d']"})) << "nor is one behind it";
    EXPECT_EQ(splitWords("[a\\ b'c'] d"), (Words{"[a b'c']", "d"}));
    EXPECT_THROW(splitWords("a['b]"), Valdane::VdException);
    EXPECT_THROW(splitWords("[\\"), Valdane::VdException);
}

TEST(Words, ManyBracketsThatAreNotClosedTakeNoTime)
{
    const std::string brackets(1'000'000, '[');
    EXPECT_EQ(splitWords(brackets + " 'a b'"), (Words{brackets, "a b"}));
}

TEST(Words, ACommentStartsOnlyAtTheStartOfAWord)
{
    EXPECT_EQ(splitWords("# all"), Words{});
    EXPECT_EQ(splitWords("a b#c #d e"), (Words{"a", "b#c"}));
    EXPECT_EQ(splitWords("'#'"), (Words{"#"}));
}

TEST(Words, WhatIsUnfinishedIsRefused)
{
    for (const std::string line : {"a 'b", R"(a "b)", R"(a "b\")", R"(a\)"})
    {
        EXPECT_THROW(splitWords(line), Valdane::VdException) << line;
    }
    EXPECT_THROW(splitWords(std::string("a\0b", 3)), Valdane::VdException);
}

TEST(Words, AreJoinedToALineThatSplitsIntoThemAgain)
{
    const std::vector<Words> all{{},
                                 {"set", "//a/@b", "1"},
                                 {"", "#", "a#b"},
                                 {"a b", "\ta", "it's", R"("q")", R"(it's "q" \"\)", R"(\)", R"(a\')"},
                                 {"[", "]", "[a", "b]", "a[b]", "a[", "'x y'", "]", "[\\", "[']"},
                                 {"gr\xC3\xBC\xC3\x9F", "\r\v\f"}};
    for (const auto& words : all)
    {
        EXPECT_EQ(splitWords(joinWords(words)), words) << joinWords(words);
    }
    EXPECT_EQ(joinWords({"set", "//a[@b='1']", "a b", "x"}), R"(set "//a[@b='1']" 'a b' x)");
}

TEST(Words, AreShownAsTheyAreUnlessThatCouldNotBeSeen)
{
    EXPECT_EQ(shown("0 0 1"), "0 0 1");
    EXPECT_EQ(shown("gr\xC3\xBC"
                    "n"),
              "gr\xC3\xBC"
              "n");
    EXPECT_EQ(shown(""), "\"\"");
    EXPECT_EQ(shown(" a"), "\" a\"");
    EXPECT_EQ(shown("a "), "\"a \"");
    EXPECT_EQ(shown("a\n\x1B\"\\"), R"("a\n\x1b\"\\")");
}

} // namespace
