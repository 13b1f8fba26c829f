// Attributes that the file does not have: set adds them.

#include "Tests/Applications/ModelEditor/Editor/EditorFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

using testing::EndsWith;
using testing::HasSubstr;

const std::string tools = "<r xmlns:n='u'>\n  <a x='1'\n     />\n  <b  ></b>\n  <b n:by='me'/>\n</r>\n";

class EditorNewAttributes : public EditorFixture
{
protected:
    EditorNewAttributes() : EditorFixture(tools) {}

    /// What is saved of the second line on.
    std::string saved() const
    {
        const auto bytes = model.toBytes();
        return bytes.substr(bytes.find('\n') + 1);
    }
};

TEST_F(EditorNewAttributes, AreAddedAndUndoneByteForByte)
{
    EXPECT_EQ(run("set //a/@colour 'red & \"blue\"'"),
              "Set colour of a to red & \"blue\"\n  /r/a/@colour: added red & \"blue\"\n");
    EXPECT_THAT(saved(), testing::StartsWith("  <a x='1' colour=\"red &amp; &quot;blue&quot;\"\n     />\n"));
    EXPECT_EQ(run("set /r/b[1]/@empty ''"), "Set empty of b to \"\"\n  /r/b[1]/@empty: added \"\"\n");
    EXPECT_THAT(saved(), HasSubstr("  <b empty=\"\"  ></b>\n"));
    EXPECT_EQ(run("find //@empty"), "/r/b[1]/@empty = \"\"\n1 node\n");
    EXPECT_THAT(run("undo 2"), EndsWith("  /r/a/@colour: removed red & \"blue\"\n"));
    EXPECT_EQ(model.toBytes(), tools);
    run("redo 2");
    EXPECT_THAT(saved(), HasSubstr("colour="));
    run("undo 2");
    EXPECT_EQ(model.toBytes(), tools);
}

TEST_F(EditorNewAttributes, AreThenSetShownAndUndoneLikeOthers)
{
    run("set //a/@size 008");
    EXPECT_EQ(run("set //a/@size 5.5"), "Set size of a to 5.5\n  /r/a/@size: 008 -> 5.5\n");
    EXPECT_EQ(run("set //a/@size wide --strict"), "Set size of a to wide\n  /r/a/@size: 5.5 -> wide\n")
        << "the file gives it no type";
    EXPECT_EQ(run("set //a/@size wide"), "Set size of a to wide\n  (no change)\n");
    EXPECT_EQ(run("set //a/@size '&nbsp;'"), "Set size of a to &nbsp;\n  /r/a/@size: wide -> &nbsp;\n");
    EXPECT_THAT(saved(), HasSubstr("<a x='1' size=\"&amp;nbsp;\"\n     />"));
    EXPECT_EQ(run("markup //a/@size '&nbsp;'"),
              "markup: /r/a/@size was added since the model was opened, so that it has no references");
    EXPECT_EQ(run("set //a/@x 2"), "Set x of a to 2\n  /r/a/@x: 1 -> 2\n");
    EXPECT_EQ(run("show //a"), "/r/a\n  @x = 2 (int)\n  @size = &nbsp; (text)\n");
    run("undo 5");
    EXPECT_EQ(run("find //@size"), "/r/a/@size = 008\n1 node\n");
    run("undo");
    EXPECT_EQ(model.toBytes(), tools);
}

TEST_F(EditorNewAttributes, MayBeNames)
{
    EXPECT_EQ(run("set //b[1]/@name left"), "Rename b to left\n  /r/b[1]/@name: added left\n");
    EXPECT_EQ(run("rename //b[1] right"), "Rename b left to right\n  /r/b[1]/@name: left -> right\n");
    EXPECT_EQ(run("set //b[1]/@name top"), "Rename b right to top\n  /r/b[1]/@name: right -> top\n");
    EXPECT_EQ(run("show //b[1]"), "/r/b[1]\n  @name = top (name)\n");
    EXPECT_THAT(saved(), HasSubstr("<b name=\"top\"  >"));
    EXPECT_EQ(run("clear-annotations //b[1]"), "clear-annotations: /r/b[1] has no such annotations");
    run("undo 3");
    EXPECT_EQ(model.toBytes(), tools);
    EXPECT_EQ(run("rename //b[1] x"), "rename: /r/b[1] has no attribute name");
}

TEST_F(EditorNewAttributes, MayHaveAPrefix)
{
    EXPECT_EQ(run("set //a/@n:by you"), "Annotate a with n:by = you\n  /r/a/@n:by: added you\n");
    EXPECT_THAT(run("set //a/@q:by you"), EndsWith("note: there is no xmlns:q around it; programs that know "
                                                   "namespaces want one\n"));
    run("set //a/@plain 1");
    EXPECT_EQ(run("clear-annotations //a"),
              "Clear annotations of a\n  /r/a/@n:by: removed you\n  /r/a/@q:by: removed you\n");
    EXPECT_THAT(saved(), HasSubstr("<a x='1' plain=\"1\"\n"));
    run("undo 4");
    EXPECT_EQ(model.toBytes(), tools);
}

TEST_F(EditorNewAttributes, AreAddedToOneElementThatIsThere)
{
    EXPECT_EQ(run("set //b/@new 1"), "set: //b selects 2 nodes, none of which has @new; name one to add it");
    EXPECT_EQ(run("set //c/@new 1"), "set: nothing at //c/@new");
    EXPECT_EQ(run("set //a/@new 1 --strict"), "set: nothing at //a/@new");
    EXPECT_EQ(run("markup //a/@new 1"), "markup: nothing at //a/@new");
    EXPECT_EQ(run("set //a/@xmlns:q 1"), "set: nothing at //a/@xmlns:q");
    EXPECT_EQ(run("set //a/@x/@new 1"), "set: /r/a/@x is not an element");
    EXPECT_EQ(run("set '//c|//a/@new' 1"), "set: nothing at //c|//a/@new");
    EXPECT_EQ(run("set //a[c/@new] 1"), "set: nothing at //a[c/@new]");
    EXPECT_EQ(run("set /@new 1"), "set: nothing at /@new");
    EXPECT_EQ(run("set //@new 1"), "set: nothing at //@new");
    EXPECT_EQ(run("set @new 1"), "set: nothing at @new");
    EXPECT_EQ(run("set //a/@new 'ab\x01'"),
              "set: XML cannot hold the character U+0001, character 3 of the value");
    EXPECT_EQ(model.toBytes(), tools);
    EXPECT_THAT(run("history"), HasSubstr("0 to undo"));
}

TEST_F(EditorNewAttributes, AreAddedToTheCurrentElementAndRecordedFromTheTop)
{
    run("record");
    run("cd //a");
    EXPECT_THAT(run("set @new 1"), EndsWith("/r/a/@new: added 1\n"));
    EXPECT_THAT(run("set ../b[2]/@new 2"), EndsWith("/r/b[2]/@new: added 2\n"));
    EXPECT_THAT(run("stop"), EndsWith("set /r/a/@new 1\nset /r/a/../b[2]/@new 2\n"));
}

} // namespace
