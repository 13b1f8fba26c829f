
#include "Tests/Applications/ModelEditor/Editor/EditorFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

const std::string robotFile = "<robot name='r' xmlns:n='u' version='4'>\n"
                              "  <link name='base'><mass value='1.50'/><on>true</on></link>\n"
                              "  <link name='arm' n:x='1'><mass value='2'/><size v='3000000000'/></link>\n"
                              "  <!-- c --></robot>\n";

class EditorTest : public EditorFixture
{
protected:
    EditorTest() : EditorFixture(robotFile) {}
};

TEST_F(EditorTest, TreeShowsKeysNamesAndWhatIsBelow)
{
    EXPECT_EQ(run("tree"),
              "robot r\n  link[1] base\n    mass\n    on = true\n  link[2] arm\n    mass\n    size\n");
    EXPECT_EQ(run("tree 1"), "robot r\n  link[1] base (+2)\n  link[2] arm (+2)\n");
    EXPECT_EQ(run("tree //link[2]"), "link[2] arm\n  mass\n  size\n");
    EXPECT_EQ(run("tree //link[2] 0"), "link[2] arm (+2)\n");
    EXPECT_EQ(run("tree //link[2] x"), "tree: x is not a depth");
    EXPECT_EQ(run("tree //@value"), "tree: //@value selects 2 nodes; name one");
    EXPECT_EQ(run("tree //size/@v"), "tree: /robot/link[2]/size/@v is not an element");
}

TEST_F(EditorTest, ShowTellsValuesAndTypes)
{
    EXPECT_EQ(run("show //link[2]"),
              "/robot/link[2]\n  @name = arm (name)\n  @n:x = 1 (annotation)\n  elements: 2\n");
    EXPECT_EQ(run("show //on"), "/robot/link[1]/on\n  text() = true (bool)\n");
    EXPECT_EQ(run("show //size/@v"), "/robot/link[2]/size/@v\n  @v = 3000000000 (unsigned int)\n");
    EXPECT_EQ(run("show //@n:x"), "/robot/link[2]/@n:x\n  @n:x = 1 (annotation)\n");
    EXPECT_EQ(run("show //nothing"), "show: nothing at //nothing");
    EXPECT_EQ(run("show 1+1"), "2\n");
}

TEST_F(EditorTest, FindListsAddressesAndValues)
{
    EXPECT_EQ(run("find //mass/@value"),
              "/robot/link[1]/mass/@value = 1.50\n/robot/link[2]/mass/@value = 2\n2 nodes\n");
    EXPECT_EQ(run("find //link[1]"), "/robot/link[1] base\n1 node\n");
    EXPECT_EQ(run("find //nothing"), "0 nodes\n");
    EXPECT_EQ(run("find count(//mass)"), "2\n");
    EXPECT_EQ(run("find //a | //b"), "find: write it as: find XPATH; what has blanks is quoted");
    EXPECT_THAT(run("find //["), testing::StartsWith("find: bad XPath at character 3: "));
}

TEST_F(EditorTest, SetWritesWhatIsWrittenAndUndoGivesTheFileBack)
{
    EXPECT_EQ(run("set //link[1]/mass/@value 4"),
              "Set value of mass of link base to 4\n  /robot/link[1]/mass/@value: 1.50 -> 4\n");
    EXPECT_EQ(run("set //link[2]/mass/@value -007"),
              "Set value of mass of link arm to -007\n  /robot/link[2]/mass/@value: 2 -> -007\n");
    EXPECT_EQ(run("set //size/@v 5"),
              "Set v of size of link arm to 5\n  /robot/link[2]/size/@v: 3000000000 -> 5\n");
    EXPECT_EQ(run("set //on/text() false"),
              "Set text of on of link base to false\n  /robot/link[1]/on/text(): true -> false\n");
    EXPECT_THAT(model.toBytes(), testing::HasSubstr("<mass value='4'/><on>false</on>"));
    run("undo 4");
    EXPECT_EQ(model.toBytes(), robotFile);
    run("redo 4");
    EXPECT_THAT(model.toBytes(), testing::HasSubstr("<mass value='-007'/><size v='5'/>"));
}

TEST_F(EditorTest, EveryTextIsSavedAsItWasWritten)
{
    for (const std::string text :
         {"008", "04321", "3000000000", "1.20", "1.500", "+1", "1e3", "100%", "5.5", "True", ""})
    {
        for (const std::string address :
             {"//link[1]/mass/@value", "//link[2]/mass/@value", "//size/@v", "//on/text()"})
        {
            run("set " + address + " '" + text + "'");
            EXPECT_EQ(run("find 'string(" + address + ")'"), run("find 'string(\"" + text + "\")'"))
                << address;
            run("undo");
            EXPECT_EQ(model.toBytes(), robotFile);
        }
    }
    run("set //mass/@value 1.20");
    EXPECT_THAT(model.toBytes(), testing::HasSubstr("<mass value='1.20'/><on>"));
}

TEST_F(EditorTest, AnotherTypeIsToldAndShown)
{
    EXPECT_EQ(run("set //link[2]/mass/@value 5.5"),
              "Set value of mass of link arm to 5.5\n"
              "  /robot/link[2]/mass/@value: 2 -> 5.5 (was int, is double now)\n");
    EXPECT_THAT(run("show //link[2]/mass/@value"), testing::HasSubstr("@value = 5.5 (double)\n"));
    EXPECT_THAT(run("set //link[2]/mass/@value 100%"),
                testing::HasSubstr("5.5 -> 100% (was int, is text now)\n"));
    EXPECT_THAT(run("set //link[2]/mass/@value 3"), testing::HasSubstr("100% -> 3\n"))
        << "as the file had it";
    EXPECT_THAT(run("set //link[2]/mass/@value ''"),
                testing::HasSubstr("3 -> \"\" (was int, is text now)\n"));
    EXPECT_THAT(run("set //on/text() yes"), testing::HasSubstr("true -> yes (was bool, is text now)\n"));
    EXPECT_THAT(run("rename //link[1] 7"), testing::HasSubstr("base -> 7\n"));
    EXPECT_THAT(run("rename //link[1] base"), testing::HasSubstr("7 -> base\n")) << "a name has no type";
    EXPECT_THAT(run("annotate //link[2] n:x one"), testing::HasSubstr("1 -> one\n"));
}

TEST_F(EditorTest, SeveralTextsOfOneValueInARowAllComeBack)
{
    for (const std::string text : {"1", "1.500", "1.0", "1.5", "2"})
    {
        run("set //link[1]/mass/@value " + text);
    }
    const std::string edited = model.toBytes();
    run("undo 5");
    EXPECT_EQ(model.toBytes(), robotFile);
    run("redo 5");
    EXPECT_EQ(model.toBytes(), edited);
}

TEST_F(EditorTest, SettingWhatIsThereIsACommandWithoutChange)
{
    EXPECT_EQ(run("set //link[2]/mass/@value 2"), "Set value of mass of link arm to 2\n  (no change)\n");
    EXPECT_EQ(run("undo"), "Undone: Set value of mass of link arm to 2\n  (no change)\n");
}

TEST_F(EditorTest, StrictlySetRefusesWhatIsNotOfTheType)
{
    const auto refusal = [](const std::string& text, const std::string& type, const std::string& address)
    {
        return "set: " + text + " is not a value of type " + type + ", which " + address + " has";
    };
    for (const std::string text : {"12a", "1.5", "2147483648", "x", "true"})
    {
        EXPECT_EQ(run("set //link[2]/mass/@value " + text + " --strict"),
                  refusal(text, "int", "/robot/link[2]/mass/@value"));
    }
    for (const std::string text : {"-1", "4294967296", "-4294967295"})
    {
        EXPECT_EQ(run("set //size/@v " + text + " --strict"),
                  refusal(text, "unsigned int", "/robot/link[2]/size/@v"));
    }
    EXPECT_EQ(run("set //link[1]/mass/@value '' --strict"),
              refusal("\"\"", "double", "/robot/link[1]/mass/@value"));
    EXPECT_EQ(run("set //on/text() maybe --strict"), refusal("maybe", "bool", "/robot/link[1]/on/text()"));
    EXPECT_EQ(run("set //link[1]/mass/@value nan --strict"),
              refusal("nan", "double", "/robot/link[1]/mass/@value"));
    EXPECT_EQ(run("set //size/@v 5 --loose"), "set: no option --loose; there is --strict");
    EXPECT_EQ(model.toBytes(), robotFile);
    EXPECT_THAT(run("set //size/@v 5 --strict"), testing::HasSubstr("3000000000 -> 5\n"));
    EXPECT_THAT(run("set //size/@v 4e9 --strict"),
                testing::HasSubstr("4e9 is not a value of type unsigned int"));
    EXPECT_THAT(run("undo"), testing::HasSubstr("5 -> 3000000000\n"));
    EXPECT_EQ(run("undo"), "Nothing to undo\n");
}

// How a person sees it: the value of such an element is its text.
TEST_F(EditorTest, AnElementThatHoldsOnlyATextIsSetLikeTheText)
{
    EXPECT_EQ(run("find //on"), "/robot/link[1]/on = true\n1 node\n");
    EXPECT_EQ(run("set //on false"),
              "Set text of on of link base to false\n  /robot/link[1]/on/text(): true -> false\n");
    EXPECT_THAT(run("replace //on f(.) F$1"), testing::HasSubstr("/robot/link[1]/on/text(): false -> False"));
    run("insert //link[2] '<on unit=\"x\"><![CDATA[<]]></on><off>a<!-- b "
        "--></off><both>a<on/></both><empty/>'");
    EXPECT_EQ(run("set //empty 1"),
              "set: /robot/link[2]/empty is an element; it is empty; insert puts a text into it");
    EXPECT_EQ(run("find //on"),
              "/robot/link[1]/on = False\n/robot/link[2]/on = <\n/robot/link[2]/both/on\n3 nodes\n");
    EXPECT_EQ(run("find \"//link[2]/off | //both\""), "/robot/link[2]/off\n/robot/link[2]/both\n2 nodes\n");
    EXPECT_THAT(run("set //link[2]/on '>'"), testing::HasSubstr("/robot/link[2]/on/text(): < -> >\n"));
    EXPECT_EQ(run("set //off 1"), "set: /robot/link[2]/off is an element; name one of its values: text()");
    EXPECT_THAT(run("set //both 1"), testing::StartsWith("set: /robot/link[2]/both is an element; name one"));
}

TEST_F(EditorTest, SetSaysWhatToWriteInstead)
{
    EXPECT_EQ(run("set //@speed 1"), "set: nothing at //@speed");
    EXPECT_EQ(run("set //size 1"), "set: /robot/link[2]/size is an element; name one of its values: @v");
    EXPECT_EQ(run("set //link[1] 1"), "set: /robot/link[1] is an element; it has no values");
    EXPECT_EQ(run("set //link[1]/@name x"), "Rename link base to x\n  /robot/link[1]/@name: base -> x\n");
    EXPECT_EQ(run("set //@n:x 2"), "Annotate link arm with n:x = 2\n  /robot/link[2]/@n:x: 1 -> 2\n");
    EXPECT_THAT(model.toBytes(), testing::HasSubstr("<link name='arm' n:x='2'>"));
    run("undo 2");
    EXPECT_EQ(run("set //comment() 2"), "set: comments and processing instructions are not edited");
    EXPECT_EQ(run("set 1+1 2"), "set: 1+1 is a value, not a place in the model");
}

TEST_F(EditorTest, RenameChangesTheNameAndNoAddress)
{
    EXPECT_EQ(run("rename //link[1] foot"),
              "Rename link base to foot\n  /robot/link[1]/@name: base -> foot\n");
    EXPECT_EQ(run("set //link[@name='foot']/mass/@value 3"),
              "Set value of mass of link foot to 3\n  /robot/link[1]/mass/@value: 1.50 -> 3\n");
    EXPECT_EQ(run("rename //link[1] toe"), "Rename link foot to toe\n  /robot/link[1]/@name: foot -> toe\n");
    run("undo 3");
    EXPECT_EQ(model.toBytes(), robotFile);
    EXPECT_EQ(run("rename //size x"), "rename: /robot/link[2]/size has no attribute name");
    EXPECT_EQ(run("rename //link[1]/@name x"), "rename: /robot/link[1]/@name is not an element");
    EXPECT_EQ(run("rename //link[1] \x01"),
              "rename: XML cannot hold the character U+0001, character 1 of the value");
}

TEST_F(EditorTest, AnnotationsAreAddedReplacedAndCleared)
{
    EXPECT_EQ(run("annotate //link[2] n:y 'a b'"),
              "Annotate link arm with n:y = a b\n  /robot/link[2]/@n:y: added a b\n");
    EXPECT_EQ(run("annotate //link[2] n:x 2"),
              "Annotate link arm with n:x = 2\n  /robot/link[2]/@n:x: 1 -> 2\n");
    EXPECT_THAT(model.toBytes(), testing::HasSubstr("<link name='arm' n:x='2' n:y=\"a b\">"));
    EXPECT_EQ(run("clear-annotations //link[2]"),
              "Clear annotations of link arm\n  /robot/link[2]/@n:y: removed a b\n")
        << "the file had n:x";
    EXPECT_THAT(model.toBytes(), testing::HasSubstr("<link name='arm' n:x='2'>"));
    EXPECT_EQ(run("clear-annotations //link[2]"),
              "clear-annotations: /robot/link[2] has no such annotations; those "
              "that the file had go by their PREFIX");
    EXPECT_EQ(run("clear-annotations //link[2] m"),
              "clear-annotations: /robot/link[2] has no such annotations; those "
              "that the file had go by their PREFIX");
    EXPECT_EQ(run("clear-annotations //link[2] n"),
              "Clear annotations of link arm\n  /robot/link[2]/@n:x: removed 2\n");
    EXPECT_THAT(model.toBytes(), testing::HasSubstr("<link name='arm'>"));
    EXPECT_EQ(run("clear-annotations //link[2]"),
              "clear-annotations: /robot/link[2] has no such annotations");
    run("undo 4");
    EXPECT_EQ(model.toBytes(), robotFile);
    EXPECT_EQ(run("annotate //link[2] plain x"), "annotate: plain is not a name of the form prefix:name");
    EXPECT_EQ(run("annotate //link[2] xmlns:q x"), "annotate: xmlns:q is not a name of the form prefix:name");
}

TEST_F(EditorTest, AnAnnotationWithoutNamespaceIsNoted)
{
    EXPECT_THAT(run("annotate //link[1] other:y 1"),
                testing::HasSubstr("note: there is no xmlns:other around it"));
    EXPECT_THAT(run("annotate //link[1] n:y 1"), testing::Not(testing::HasSubstr("note")));
    EXPECT_THAT(run("annotate //link[1] xml:lang en"), testing::Not(testing::HasSubstr("note")));
}

TEST_F(EditorTest, UndoAndRedoCountAndSayWhenThereIsNoMore)
{
    EXPECT_EQ(run("undo"), "Nothing to undo\n");
    EXPECT_EQ(run("redo 3"), "Nothing to redo\n");
    EXPECT_EQ(run("undo 0"), "");
    run("set /robot/@version 5");
    EXPECT_EQ(run("undo 2"),
              "Undone: Set version of robot r to 5\n  /robot/@version: 5 -> 4\nNothing more to undo\n");
    EXPECT_EQ(run("redo"), "Redone: Set version of robot r to 5\n  /robot/@version: 4 -> 5\n");
    EXPECT_EQ(run("undo x"), "undo: x is not a count");
    EXPECT_EQ(run("redo -1"), "redo: -1 is not a count");
    EXPECT_EQ(run("undo 99999999999999999999"), "undo: 99999999999999999999 is not a count");
}

TEST_F(EditorTest, HistoryMarksThePosition)
{
    EXPECT_EQ(run("history"), "  => 0 to undo, 0 to redo\n");
    run("set /robot/@version 5");
    run("set /robot/@version 6");
    run("set /robot/@version 7");
    run("undo 2");
    EXPECT_EQ(run("history"), "   1  Set version of robot r to 5\n  => 1 to undo, 2 to redo\n"
                              "   2  Set version of robot r to 6\n   3  Set version of robot r to 7\n");
    run("set /robot/@version 8");
    EXPECT_EQ(run("history"), "   1  Set version of robot r to 5\n   2  Set version of robot r to 8\n"
                              "  => 2 to undo, 0 to redo\n");
}

TEST_F(EditorTest, LimitDropsTheOldest)
{
    EXPECT_EQ(run("limit"), "No limit\n");
    run("set /robot/@version 5");
    run("set /robot/@version 6");
    run("set /robot/@version 7");
    EXPECT_EQ(run("limit 2"), "Limit 2, 1 step dropped\n");
    EXPECT_THAT(run("undo 9"), testing::EndsWith("/robot/@version: 6 -> 5\nNothing more to undo\n"));
    EXPECT_EQ(run("limit off"), "No limit\n");
    EXPECT_EQ(run("limit 0"), "Limit 0, 2 steps dropped\n");
    EXPECT_EQ(run("set /robot/@version 9"), "Set version of robot r to 9\n  /robot/@version: 5 -> 9\n");
    EXPECT_EQ(run("undo"), "Nothing to undo\n");
    EXPECT_EQ(run("limit x"), "limit: x is not a count");
    EXPECT_EQ(run("limit 4294967296"), "limit: 4294967296 is not a count");
}

TEST_F(EditorTest, WritingIsLeftToTheWriter)
{
    run("set /robot/@version 5");
    run("save");
    run("save 'a file'");
    run("export copy");
    ASSERT_EQ(written.size(), 3U);
    EXPECT_EQ(written[0].verb, "save");
    EXPECT_EQ(written[0].path, "");
    EXPECT_EQ(written[0].bytes, model.toBytes());
    EXPECT_EQ(written[1].path, "a file");
    EXPECT_EQ(written[2].verb, "export");
    EXPECT_EQ(written[2].path, "copy");
    EXPECT_EQ(written[2].bytes, model.toBytes());
}

TEST_F(EditorTest, AnEmptyFileNameIsNotTheFileOfTheModel)
{
    run("record");
    run("set /robot/@version 5");
    EXPECT_EQ(run("stop ''"), "stop: the name of the file is empty");
    EXPECT_EQ(editor.getPrompt(), "model [recording]> ");
    run("stop");
    EXPECT_EQ(run("save ''"), "save: the name of the file is empty");
    EXPECT_EQ(run("export ''"), "export: the name of the file is empty");
    EXPECT_TRUE(written.empty());
    EXPECT_FALSE(editor.getUnsaved().empty());
}

TEST_F(EditorTest, WhatItDoesNotKnowOrLacksIsReported)
{
    EXPECT_EQ(run("frobnicate x"), "no verb frobnicate; help lists them");
    EXPECT_EQ(run("hsitory"), "no verb hsitory; did you mean history? help lists them");
    EXPECT_EQ(run("sett //a/@x 1"), "no verb sett; did you mean set? help lists them");
    EXPECT_EQ(run("exit"), "no verb exit; help lists them") << "as far from quit as from nothing";
    EXPECT_EQ(run("set x"), "set: write it as: set XPATH VALUE [--strict]");
    EXPECT_EQ(run("set x y --strict z"),
              "set: write it as: set XPATH VALUE [--strict]; what has blanks is quoted");
    EXPECT_EQ(run("modified x y"), "modified: write it as: modified [save|export]");
    EXPECT_EQ(run(""), "");
}

TEST_F(EditorTest, HelpListsEveryVerb)
{
    const std::string help = "\n" + run("help");
    for (const std::string verb : {"tree",    "show",     "find",
                                   "cd",      "pwd",      "set",
                                   "rename",  "annotate", "clear-annotations",
                                   "merge",   "group",    "end",
                                   "abandon", "undo",     "redo",
                                   "goto",    "history",  "limit",
                                   "record",  "stop",     "modified",
                                   "save",    "export",   "help",
                                   "quit"})
    {
        EXPECT_THAT(help, testing::HasSubstr("\n  " + verb + " ")) << verb;
        EXPECT_THAT(run("help " + verb), testing::StartsWith(verb));
    }
    EXPECT_EQ(run("help nope"), "help: no verb nope; help lists them");
}

TEST_F(EditorTest, LongTextsAreCutInDescriptionsOnly)
{
    const std::string text(1000, 'x');
    run("annotate //link[1] n:long " + text);
    EXPECT_LT(run("history").size(), 200U);
    EXPECT_THAT(model.toBytes(), testing::HasSubstr(text));
}

TEST_F(EditorTest, QuitQuits)
{
    EXPECT_FALSE(editor.takeQuit());
    run("quit");
    EXPECT_TRUE(editor.takeQuit());
    EXPECT_FALSE(editor.takeQuit());
}

} // namespace
