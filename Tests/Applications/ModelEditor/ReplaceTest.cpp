#include "Applications/ModelEditor/Edits/RegularExpression.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Applications/ModelEditor/Editor/EditorFixture.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using ModelEditor::RegularExpression;

std::string replaced(const std::string& text, const std::string& pattern, const std::string& by,
                     bool ignoresCase = false)
{
    try
    {
        return RegularExpression(pattern, ignoresCase).replaceAll(text, by);
    }
    catch (const Valdane::VdException& exception)
    {
        return exception.what();
    }
}

TEST(RegularExpression, ReplacesEveryMatch)
{
    EXPECT_EQ(replaced("one two", "(\\w+) (\\w+)", "$2 $1 $$ [$&]"), "two one $ [one two]");
    EXPECT_EQ(replaced("abab", "a|ab", "-"), "-b-b") << "the first alternative";
    EXPECT_EQ(replaced("aabb", "(.)\\1", "<$1>"), "<a><b>");
    EXPECT_EQ(replaced("abc", "x*", "-"), "-a-b-c-");
    EXPECT_EQ(replaced("abc", "B", "x"), "abc");
    EXPECT_EQ(replaced("abc", "B", "x", true), "axc");
    EXPECT_EQ(replaced("", "^$", "x"), "x");
}

TEST(RegularExpression, WorksOnCharacters)
{
    EXPECT_EQ(replaced("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", ".", "<$&>"),
              "<\xC3\xA4><\xE2\x82\xAC><\xF0\x9F\x98\x80>");
    EXPECT_EQ(replaced("\xC3\xA4", "[\xC3\xA0-\xC3\xB0]", "\xC3\xBC"), "\xC3\xBC");
    EXPECT_EQ(replaced("a\xFFz\xC3", "a", "b"), "b\xFFz\xC3") << "no UTF-8";
}

TEST(RegularExpression, SaysWhereItIsWrong)
{
    EXPECT_EQ(replaced("", "(a)(b", ""),
              "bad REGEX at character 4: a ( or ) without the other one, or nothing to repeat: (a)(b");
    EXPECT_EQ(replaced("", "ab[b-a]c", ""),
              "bad REGEX at character 5: a range that ends before it begins: ab[b-a]c");
    EXPECT_EQ(replaced("", "a\\", ""),
              "bad REGEX at character 2: a backslash with nothing that it can escape: a\\");
    EXPECT_EQ(replaced("", "\xC3\xA4[a", ""), "bad REGEX at character 2: a [ without its ]: \xC3\xA4[a");
    EXPECT_EQ(replaced("", "[[:foo:]]", ""),
              "bad REGEX at character 8: no such class of characters: [[:foo:]]");
}

// Some of them would take years, others the whole stack.
TEST(RegularExpression, GivesUpWhatTakesTooLong)
{
    const std::string tooLong = "REGEX takes too long; write it with fewer repetitions within repetitions";
    const std::string tooDeep = "the text is too long for REGEX; write it so that it matches shorter parts";
    EXPECT_EQ(replaced(std::string(40, 'a').append(1, 'b'), "(a+)+$", ""), tooLong);
    EXPECT_EQ(replaced(std::string(40, 'a'), "(a|a)*c", ""), tooLong);
    EXPECT_EQ(replaced("", "(|){40}x", ""), tooLong) << "without any text";
    EXPECT_EQ(replaced(std::string(1'000'000, 'a'), ".*", ""), tooDeep);
    EXPECT_EQ(replaced(std::string(300'000, 'a'), "a", "b"), std::string(300'000, 'b'));
    EXPECT_EQ(replaced("", "(((a?){255}){255})", ""), "REGEX is too large");
    EXPECT_EQ(replaced("", "((a?){25}){25}", ""), "REGEX is too large");
    EXPECT_EQ(replaced("", "a{99999999999999999999}", ""), "REGEX is too large");
    EXPECT_EQ(replaced("", std::string(1'001, 'a'), ""), "REGEX is too large");
    EXPECT_EQ(replaced("", std::string(400, '(') + std::string(400, ')'), "x"), "x");
    EXPECT_EQ(replaced("", "(|){300}", "x"), "x");
}

// Such a way ends without a look at the text, and costs as much as there are groups.
TEST(RegularExpression, GivesUpWaysThatEndInALookAhead)
{
    std::string groups;
    std::string ways;
    for (int i = 0; i < 16; ++i)
    {
        groups += "()()()()()()()()()()";
        ways += "(|)";
    }
    const std::string tooLong = "REGEX takes too long; write it with fewer repetitions within repetitions";
    EXPECT_EQ(replaced("", groups + ways + "(?!)", "x"), tooLong);
    EXPECT_EQ(replaced("", "(|){4}(?!)", "x"), "");
    EXPECT_EQ(replaced("ab", groups + "(|)(?!a)b", "x"), "ax");
}

TEST(RegularExpression, ACountOfManyDigitsIsTooLarge)
{
    EXPECT_EQ(replaced("", "a{" + std::string(1'000'000, '1') + "}", "x"), "REGEX is too large");
}

TEST(RegularExpression, KeepsBytesThatAreNoCharacters)
{
    for (const std::string bytes : {"\xFF", "\xC3", "\xF4\x90\x80\x80", "\xF4\x90\x83\xA9", "\xED\xA0\x80"})
    {
        EXPECT_EQ(replaced("a" + bytes + "a", "a", "b"), "b" + bytes + "b") << testing::PrintToString(bytes);
    }
}

class EditorReplace : public EditorFixture
{
protected:
    EditorReplace()
        : EditorFixture(
              "<r xmlns:p='u'><a name='wheel_1' f='1.5' p:q='x1'/><a name='wheel_2' f='2.5'>t1&nbsp;</a></r>")
    {
    }
};

TEST_F(EditorReplace, TellsEachChange)
{
    EXPECT_EQ(run("replace //@name '_(\\d)' '-$1'"), "Replace _(\\d) with -$1 in //@name (2 nodes)\n"
                                                     "  /r/a[1]/@name: wheel_1 -> wheel-1\n"
                                                     "  /r/a[2]/@name: wheel_2 -> wheel-2\n");
    EXPECT_EQ(run("replace //@f 1.5 x"), "Replace 1.5 with x in //@f (2 nodes)\n"
                                         "  /r/a[1]/@f: 1.5 -> x (was double, is text now)\n");
    EXPECT_EQ(run("replace //@p:q X y -i"), "Replace X with y in //@p:q\n  /r/a[1]/@p:q: x1 -> y1\n");
    EXPECT_EQ(
        run("replace //a/text() '\\d&nb' '2&#8364;&nb'"),
        "Replace \\d&nb with 2&#8364;&nb in //a/text()\n  /r/a[2]/text(): t1&nbsp; -> t2&#8364;&nbsp;\n");
    EXPECT_EQ(run("undo 4").find("failed"), std::string::npos);
    EXPECT_EQ(
        model.toBytes(),
        "<r xmlns:p='u'><a name='wheel_1' f='1.5' p:q='x1'/><a name='wheel_2' f='2.5'>t1&nbsp;</a></r>");
}

TEST_F(EditorReplace, TellsThatNothingHasChanged)
{
    EXPECT_EQ(run("replace //@f z y"), "Replace z with y in //@f (2 nodes)\n  (no change)\n");
    EXPECT_EQ(run("replace //@f 2 2"), "Replace 2 with 2 in //@f (2 nodes)\n  (no change)\n");
}

TEST_F(EditorReplace, SaysWhatCannotBeDone)
{
    EXPECT_EQ(run("replace //a x y"), "replace: /r/a[1] is an element; name one of its values: @f");
    EXPECT_EQ(run("replace //@z x y"), "replace: nothing at //@z");
    EXPECT_EQ(run("replace //@f ( y"),
              "replace: bad REGEX at character 1: a ( or ) without the other one, or nothing to repeat: (");
    EXPECT_EQ(run("replace //@f x y -g"), "replace: no option -g; there is -i");
    const std::string text(40, 'a');
    run("set //a[1]/@f " + text);
    EXPECT_EQ(
        run("replace //@f (a+)+b y"),
        "replace: /r/a[1]/@f: REGEX takes too long; write it with fewer repetitions within repetitions");
    EXPECT_EQ(run("replace //@f (a+)+$ 7"),
              "Replace (a+)+$ with 7 in //@f (2 nodes)\n  /r/a[1]/@f: " + text + " -> 7\n");
}

} // namespace
