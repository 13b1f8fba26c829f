#include "Tests/Applications/ModelEditor/Editor/EditorFixture.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

using testing::EndsWith;
using testing::StartsWith;

// A current element, where relative addresses start.
class EditorCurrent : public EditorFixture
{
protected:
    EditorCurrent() : EditorFixture("<r><a><x v='1'/><x v='2'/></a><b><x v='3'/></b></r>") {}
};

TEST_F(EditorCurrent, RelativeAddressesStartThere)
{
    EXPECT_EQ(run("pwd"), "/\n");
    EXPECT_EQ(run("find r/a/x[1]/@v"), "/r/a/x[1]/@v = 1\n1 node\n");
    EXPECT_EQ(run("cd /r/a"), "");
    EXPECT_EQ(run("pwd"), "/r/a\n");
    EXPECT_EQ(editor.getPrompt(), "model /r/a> ");
    EXPECT_EQ(run("find x/@v"), "/r/a/x[1]/@v = 1\n/r/a/x[2]/@v = 2\n2 nodes\n");
    EXPECT_EQ(run("find count(x)"), "2\n");
    EXPECT_EQ(run("find //x[3]"), "0 nodes\n") << "an absolute address starts at the top";
    EXPECT_EQ(run("find /r/b/x/@v"), "/r/b/x/@v = 3\n1 node\n");
    EXPECT_EQ(run("tree"), "a\n  x[1]\n  x[2]\n");
    EXPECT_THAT(run("set x[2]/@v 7"), EndsWith("  /r/a/x[2]/@v: 2 -> 7\n"));
    EXPECT_EQ(run("cd x[2]"), "");
    EXPECT_EQ(run("show ."), run("show /r/a/x[2]"));
    run("cd ../../b");
    EXPECT_EQ(run("pwd"), "/r/b\n");
    run("cd");
    EXPECT_EQ(run("pwd"), "/\n");
    EXPECT_EQ(editor.getPrompt(), "model> ");
    EXPECT_EQ(run("tree 0"), "r (+2)\n");
}

TEST_F(EditorCurrent, OnlyOneElementCanBeCurrent)
{
    run("cd /r/b");
    EXPECT_EQ(run("cd //x"), "cd: //x selects 3 nodes; name one");
    EXPECT_EQ(run("cd x/@v"), "cd: /r/b/x/@v is not an element");
    EXPECT_EQ(run("cd nothing"), "cd: nothing at nothing");
    EXPECT_EQ(run("pwd"), "/r/b\n");
}

TEST_F(EditorCurrent, WhatIsRecordedStartsAtTheTop)
{
    run("record");
    run("cd /r/a");
    run("set x[2]/@v 7");
    run("merge set x[1]/@v 8");
    run("set /r/b/x/@v 9");
    run("group g");
    run("set x/@v 4");
    run("end");
    EXPECT_EQ(run("set 'x[1]/@v | x[2]/@v' 5"), "set: x[1]/@v | x[2]/@v cannot be recorded; start it with /");
    EXPECT_THAT(run("stop"), EndsWith("set /r/a/x[2]/@v 7\nmerge set /r/a/x[1]/@v 8\nset /r/b/x/@v 9\n"
                                      "group g\n  set /r/a/x/@v 4\nend\n"));
    EXPECT_THAT(run("set 'x[1]/@v | x[2]/@v' 5"), StartsWith("Set ")) << "not in a recording";
}

TEST_F(EditorCurrent, NothingRelativeCanBeDoneWhileItIsGone)
{
    const std::string gone = ": the current element is gone; cd starts at the top again";
    run("cd /r/a/x[2]");
    run("delete /r/a");
    const auto bytes = model.toBytes();
    EXPECT_EQ(editor.getPrompt(), "model [gone]> ");
    for (const std::string line :
         {"insert . <y/>", "insert .. <y/>", "set @v 5", "set @new 5", "delete .", "find x", "find count(x)",
          "show .", "tree", "pwd", "cd ..", "cd r", "wrap . y", "move . /r/b", "move /r/b/x .",
          "copy /r/b/x .", "scale @v 2", "annotate . a:b c", "replace @v 1 2"})
    {
        EXPECT_EQ(run(line), line.substr(0, line.find(' ')) + gone) << line;
    }
    EXPECT_EQ(model.toBytes(), bytes);
    EXPECT_TRUE(editor.complete("find x").words.empty());
    EXPECT_EQ(run("find /r/b/x/@v"), "/r/b/x/@v = 3\n1 node\n");
    EXPECT_EQ(run("tree /r 0"), "r (+1) *\n");
    run("undo");
    EXPECT_EQ(editor.getPrompt(), "model /r/a/x[2]> ");
    EXPECT_EQ(run("find @v"), "/r/a/x[2]/@v = 2\n1 node\n");
    run("redo");
    run("cd");
    EXPECT_EQ(editor.getPrompt(), "model> ");
    EXPECT_EQ(run("find r/b"), "/r/b\n1 node\n");
    run("undo");
    EXPECT_EQ(run("pwd"), "/\n") << "it was left";
}

TEST_F(EditorCurrent, ItStaysGoneWhenNothingCanBringItBack)
{
    run("cd /r/a/x[2]");
    run("delete /r/a");
    run("limit 0");
    EXPECT_EQ(run("pwd"), "pwd: the current element is gone; cd starts at the top again");
    run("record");
    EXPECT_EQ(run("set @v 5"), "set: the current element is gone; cd starts at the top again");
    run("set /r/b/x/@v 9");
    EXPECT_THAT(run("stop"), EndsWith("set /r/b/x/@v 9\n"));
}

TEST_F(EditorCurrent, AnElementThatIsGoneIsCurrentNoMore)
{
    const TestDirectory directory;
    run("import " + directory.write("other.xml", "<o><p><x v='5'/></p></o>"));
    while (!editor.goOn())
    {
        editor.getWakeUp().wait();
    }
    editor.conclude();
    run("cd /r/p");
    EXPECT_EQ(run("find x/@v"), "/r/p/x/@v = 5\n1 node\n");
    run("undo");
    EXPECT_EQ(run("find x/@v"), "find: the current element is gone; cd starts at the top again");
    run("redo");
    EXPECT_EQ(run("pwd"), "/r/p\n");
}

} // namespace
