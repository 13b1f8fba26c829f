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
using ModelEditor::visible;
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
    EXPECT_EQ(shown("a\tb"), R"("a\x09b")");
    EXPECT_EQ(shown("\"\\"), "\"\\");
    EXPECT_EQ(shown("a\u202Eb"), R"("a\u202eb")");
    EXPECT_EQ(shown("a\xFF"), R"("a\xff")");
}

TEST(Words, WhatATerminalObeysIsMadeVisible)
{
    EXPECT_EQ(visible("a\tb\n\"\\\"\n"), "a\tb\n\"\\\"\n");
    EXPECT_EQ(visible(std::string_view("\0\r\x1B[31m\x7F", 8)), R"(\x00\x0d\x1b[31m\x7f)");
    EXPECT_EQ(visible("\u0080\u009B\u009F\u00A0"), "\\u0080\\u009b\\u009f\u00A0");
    EXPECT_EQ(visible("\u061C\u200E\u200F"), R"(\u061c\u200e\u200f)");
    EXPECT_EQ(visible("\u202A\u202B\u202C\u202D\u202E"), R"(\u202a\u202b\u202c\u202d\u202e)");
    EXPECT_EQ(visible("\u2066\u2067\u2068\u2069"), R"(\u2066\u2067\u2068\u2069)");
    const std::string others =
        "gr\u00FC\u00DF \u05D0 \u0627 \u200D \u2029 \u202F \u2065 \u206A \uFFFD \U0001F916 \U0010FFFF";
    EXPECT_EQ(visible(others), others);
}

TEST(Words, BytesThatAreNotUtf8AreMadeVisible)
{
    EXPECT_EQ(visible("a\x80\xFF"), R"(a\x80\xff)");
    EXPECT_EQ(visible("\xC3"), R"(\xc3)");
    EXPECT_EQ(visible("\xC3("), R"(\xc3()");
    EXPECT_EQ(visible("\xE2\x80"), R"(\xe2\x80)");
    EXPECT_EQ(visible("\xC0\x8A\xE0\x80\x8A\xF0\x80\x80\x8A"), R"(\xc0\x8a\xe0\x80\x8a\xf0\x80\x80\x8a)")
        << "too long for what it says";
    EXPECT_EQ(visible("\xED\xA0\x80"), R"(\xed\xa0\x80)") << "half of a pair";
    EXPECT_EQ(visible("\xF4\x90\x80\x80\xF8\x88\x80\x80\x80"), R"(\xf4\x90\x80\x80\xf8\x88\x80\x80\x80)")
        << "beyond the last character";
}

} // namespace
