#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

using ModelEditor::Editor;
using ModelEditor::Output;
using ModelEditor::XmlModel;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const std::string smallFile = "<r v='1'><a name='A' x='1' y='1.5'/><b x='2'/><c name='C'><d x='3'/></c></r>";

// What the verbs do that make one step of several.
class EditorScopes : public testing::Test
{
protected:
    // What the lines print, or what the first one throws that fails.
    std::string runAll(const std::vector<std::string>& lines)
    {
        out.str("");
        try
        {
            for (const auto& line : lines)
            {
                editor.run(line);
            }
        }
        catch (const Valdane::VdException& exception)
        {
            return exception.what();
        }
        return out.str();
    }

    std::string run(const std::string& line)
    {
        return runAll({line});
    }

    std::string bytes() const
    {
        return model.toBytes();
    }

    std::vector<Output> written;
    XmlModel model{smallFile, "m"};
    std::ostringstream out;
    Editor editor{model, [this](Output output) { written.push_back(std::move(output)); }, out};
};

TEST_F(EditorScopes, AnEditOfSeveralNodesIsOneStep)
{
    EXPECT_EQ(run("set //@x 7"), "Set //@x (3 nodes) to 7\n  /r/a/@x: 1 -> 7\n  /r/b/@x: 2 -> 7\n"
                                 "  /r/c/d/@x: 3 -> 7\n");
    EXPECT_EQ(run("rename //*[@name] n"),
              "Rename //*[@name] (2 nodes) to n\n  /r/a/@name: A -> n\n  /r/c/@name: C -> n\n");
    EXPECT_EQ(run("annotate '//a|//b' n:k v"),
              "Annotate //a|//b (2 nodes) with n:k = v\n  /r/a/@n:k: added v\n  /r/b/@n:k: added v\n"
              "  note: there is no xmlns:n around it; programs that know namespaces want one\n");
    EXPECT_EQ(run("clear-annotations '//a|//b'"),
              "Clear annotations of //a|//b (2 nodes)\n  /r/a/@n:k: removed v\n  /r/b/@n:k: removed v\n");
    EXPECT_THAT(run("history"), HasSubstr("  => 4 to undo, 0 to redo\n"));
    const std::string edited = bytes();
    run("undo 4");
    EXPECT_EQ(bytes(), smallFile);
    run("redo 4");
    EXPECT_EQ(bytes(), edited);
}

TEST_F(EditorScopes, AnEditOfSeveralNodesIsDoneWhollyOrNotAtAll)
{
    EXPECT_EQ(run("set '//a/@*|//comment()|//c' nan"), "set: /r/c is an element; it has no values");
    EXPECT_EQ(run("set '//a/@x|//a/@y' 2.5 --strict"),
              "set: 2.5 is not a value of type int, which /r/a/@x has");
    EXPECT_EQ(run("rename //* n"), "rename: /r has no attribute name");
    EXPECT_EQ(run("clear-annotations //*"), "clear-annotations: /r has no such annotations");
    EXPECT_EQ(run("rename //*[@name] '\x01'"),
              "rename: XML cannot hold the character U+0001, character 1 of the value");
    EXPECT_EQ(run("rename //comment()|/r n"), "rename: /r has no attribute name");
    EXPECT_EQ(bytes(), smallFile);
    EXPECT_EQ(run("history"), "  => 0 to undo, 0 to redo\n");
    EXPECT_EQ(run("modified"), "0 modules\n");
}

TEST_F(EditorScopes, OneElementWithoutTheNamespaceIsEnoughForTheNote)
{
    XmlModel mixed("<r><a xmlns:n='u'/><b/></r>", "mixed");
    Editor other(
        mixed, [](const Output&) {}, out);
    other.run("annotate //a n:k v");
    EXPECT_THAT(out.str(), testing::Not(HasSubstr("note")));
    other.run("annotate //a|//b n:k v");
    EXPECT_THAT(out.str(), HasSubstr("note: there is no xmlns:n around it"));
}

TEST_F(EditorScopes, WhatAFailingMacroRolledBackIsNotModified)
{
    XmlModel mixed("<r><a x='text'/><b x='1.5'/></r>", "mixed");
    Editor other(
        mixed, [](const Output&) {}, out);
    EXPECT_THROW(other.run("set //@x '\x01'"), Valdane::VdException);
    EXPECT_EQ(mixed.toBytes(), "<r><a x='text'/><b x='1.5'/></r>");
    EXPECT_THAT(other.getUnsaved(), testing::IsEmpty());
    other.run("merge set //b/@x 2");
    EXPECT_THROW(other.run("set //@x '\x01'"), Valdane::VdException);
    EXPECT_THAT(other.getUnsaved(), testing::ElementsAre("/r/b"));
    other.run("undo");
    EXPECT_EQ(mixed.toBytes(), "<r><a x='text'/><b x='1.5'/></r>");
    EXPECT_THAT(other.getUnsaved(), testing::IsEmpty());
}

TEST_F(EditorScopes, AGroupIsOneStepOfItsName)
{
    EXPECT_EQ(run("group 'a b'"), "");
    runAll({"set //a/@x 5", "set //a/@x 6", "set //d/@x 9"});
    EXPECT_EQ(run("history"), "  in the group a b:\n   1  Set x of a A to 5\n   2  Set x of a A to 6\n"
                              "   3  Set x of d of c C to 9\n  => 3 to undo, 0 to redo\n");
    EXPECT_EQ(run("end"), "Group a b: 3 steps as one\n");
    EXPECT_EQ(run("history"), "   1  a b\n  => 1 to undo, 0 to redo\n");
    const std::string edited = bytes();
    EXPECT_EQ(run("undo"), "Undone: a b\n  /r/c/d/@x: 9 -> 3\n  /r/a/@x: 6 -> 5\n  /r/a/@x: 5 -> 1\n");
    EXPECT_EQ(bytes(), smallFile);
    run("redo");
    EXPECT_EQ(bytes(), edited);
}

TEST_F(EditorScopes, UndoAndRedoStayWithinTheGroup)
{
    runAll({"set //b/@x 4", "group g", "set //a/@x 5", "set //a/@x 6"});
    EXPECT_EQ(run("undo"), "Undone: Set x of a A to 6\n  /r/a/@x: 6 -> 5\n");
    EXPECT_THAT(run("undo 9"), EndsWith("/r/a/@x: 5 -> 1\nNothing more to undo in this group\n"));
    EXPECT_THAT(run("redo 2"), EndsWith("/r/a/@x: 5 -> 6\n"));
    EXPECT_THAT(run("redo"), "Nothing to redo in this group\n");
    runAll({"undo", "end", "undo"});
    EXPECT_THAT(bytes(), HasSubstr("<a name='A' x='1' y='1.5'/><b x='4'/>"));
    run("redo");
    EXPECT_THAT(bytes(), HasSubstr("<a name='A' x='5' y='1.5'/><b x='4'/>"));
}

TEST_F(EditorScopes, AnEmptyGroupLeavesNoEntry)
{
    runAll({"set //a/@x 5", "undo"});
    EXPECT_EQ(runAll({"group g", "end"}), "Group g: 0 steps, no entry\n");
    EXPECT_EQ(runAll({"group g", "set //b/@x 8", "undo", "end"}).substr(0, 7), "Set x o");
    EXPECT_THAT(run("history"), StartsWith("  => 0 to undo, 1 to redo\n"));
}

TEST_F(EditorScopes, AnAbandonedGroupLeavesNoTrace)
{
    runAll({"set //a/@x 5", "undo", "group g", "set //@x 8", "set //@x 9", "undo"});
    EXPECT_EQ(run("abandon"), "Undone: Set //@x (3 nodes) to 8\n  /r/c/d/@x: 8 -> 3\n  /r/b/@x: 8 -> 2\n"
                              "  /r/a/@x: 8 -> 1\nGroup g abandoned, 1 step undone\n");
    EXPECT_EQ(bytes(), smallFile);
    EXPECT_EQ(run("history"), "  => 0 to undo, 1 to redo\n   1  Set x of a A to 5\n");
    EXPECT_EQ(run("modified"), "0 modules\n");
}

TEST_F(EditorScopes, AnyLineThatFailsInAGroupFailsAlone)
{
    for (const std::string line :
         {"set //a/@x no --strict", "set //a/@x '\x01'", "set //y 1", "nope", "set '", "tree //@x", "undo x",
          "save", "export f", "limit", "limit 3", "record", "stop", "quit", "group h", "group", "merge tree"})
    {
        runAll({"set //b/@x 3", "group g", "set //a/@x 5", "merge set //a/@x 6"});
        const std::string before = bytes();
        EXPECT_THROW(editor.run(line), Valdane::VdException) << line;
        EXPECT_EQ(bytes(), before) << line;
        EXPECT_EQ(editor.getPrompt(), "model (g)> ") << line;
        EXPECT_EQ(editor.giveUpGroup(), "; the group g is ended, 2 steps undone") << line;
        EXPECT_EQ(editor.getPrompt(), "model> ");
        EXPECT_EQ(editor.giveUpGroup(), "");
        EXPECT_THAT(run("history"), EndsWith("  => 1 to undo, 0 to redo\n"));
        run("undo");
        EXPECT_EQ(bytes(), smallFile);
        EXPECT_EQ(run("modified"), "0 modules\n");
    }
    EXPECT_THAT(written, testing::IsEmpty());
    EXPECT_FALSE(editor.takeQuit());
}

TEST_F(EditorScopes, RollingBackAGroupTellsNothingOfTheEditThatFailed)
{
    XmlModel mixed("<r><a x='text'/><b x='1.5'/></r>", "mixed");
    Editor other(
        mixed, [](const Output&) {}, out);
    other.run("group g");
    other.run("set //b/@x 2.5");
    out.str("");
    EXPECT_THROW(other.run("set //@x '\x01'"), Valdane::VdException);
    EXPECT_EQ(out.str(), "");
    other.giveUpGroup();
    EXPECT_EQ(out.str(), "Undone: Set x of b to 2.5\n  /r/b/@x: 2.5 -> 1.5\n");
}

TEST_F(EditorScopes, WhatIsRefusedInAGroupSaysWhy)
{
    EXPECT_EQ(runAll({"group g", "save"}), "save: not in a group; end or abandon it first");
    EXPECT_EQ(run("group h"), "group: not in a group; end or abandon it first");
    run("abandon");
    EXPECT_EQ(run("end"), "end: there is no group");
    EXPECT_EQ(run("abandon"), "abandon: there is no group");
    EXPECT_EQ(run("group ''"), "group: a group needs a name");
}

TEST_F(EditorScopes, WhatOnlyLooksIsAllowedInAGroup)
{
    runAll({"group g", "set //a/@x 5"});
    for (const std::string line : {"tree", "show //a", "find //a", "modified", "history", "help", "help set"})
    {
        run(line);
        EXPECT_EQ(editor.getPrompt(), "model (g)> ") << line;
    }
}

TEST_F(EditorScopes, AMergedEditIsOneStepWithTheNext)
{
    runAll({"set //b/@x 4", "undo"});
    EXPECT_EQ(run("merge set //a/@x 5"), "Set x of a A to 5\n  /r/a/@x: 1 -> 5\n");
    EXPECT_EQ(run("history"), "   +  Set x of a A to 5 (waits to be merged with the next edit)\n"
                              "  => 0 to undo, 1 to redo\n   1  Set x of b to 4\n");
    EXPECT_THAT(run("modified"), StartsWith("/r/a A\n1 module"));
    runAll({"merge set //a/@x 6", "set //a/@x 7"});
    EXPECT_EQ(run("history"), "   1  Set x of a A to 7\n  => 1 to undo, 0 to redo\n");
    const std::string edited = bytes();
    EXPECT_EQ(run("undo"), "Undone: Set x of a A to 7\n  /r/a/@x: 7 -> 6\n  /r/a/@x: 6 -> 5\n"
                           "  /r/a/@x: 5 -> 1\n");
    EXPECT_EQ(bytes(), smallFile);
    run("redo");
    EXPECT_EQ(bytes(), edited);
}

TEST_F(EditorScopes, WhatWaitsToBeMergedIsAStepOfItsOwnWhenNoEditFollows)
{
    for (const std::string line : {"undo 0", "redo", "save", "export f", "limit 9", "group g", "record"})
    {
        runAll({"merge set //a/@x 5", "merge set //b/@x 6", line, "abandon"});
        run("stop");
        EXPECT_THAT(run("history"), StartsWith("   1  Set x of b to 6")) << line;
        run("undo");
        EXPECT_EQ(bytes(), smallFile) << line;
    }
}

TEST_F(EditorScopes, UndoWithMergedEditsUndoesThose)
{
    runAll({"set //a/@x 4", "merge set //a/@x 5", "merge set //a/@x 6"});
    EXPECT_EQ(run("undo"), "Undone: Set x of a A to 6\n  /r/a/@x: 6 -> 5\n  /r/a/@x: 5 -> 4\n");
    run("redo");
    EXPECT_THAT(bytes(), HasSubstr("x='6'"));
}

TEST_F(EditorScopes, OnlyEditsAreMerged)
{
    EXPECT_EQ(run("merge undo"), "merge: undo is no edit");
    EXPECT_EQ(run("merge merge set //a/@x 1"), "merge: merge is no edit");
    EXPECT_EQ(run("merge nope"), "merge: no verb nope; help lists them");
    EXPECT_EQ(run("merge set //a/@x"), "merge: write it as: set XPATH VALUE [--strict]");
    EXPECT_EQ(run("merge"), "merge: write it as: merge EDIT");
    EXPECT_EQ(run("merge set //a/@x x --strict"), "merge: x is not a value of type int, which /r/a/@x has");
    EXPECT_EQ(run("history"), "  => 0 to undo, 0 to redo\n");
}

TEST_F(EditorScopes, AFailingEditLeavesTheMergedOnesWaiting)
{
    run("merge set //a/@x 5");
    EXPECT_EQ(run("set //a/@y '\x01'"),
              "set: XML cannot hold the character U+0001, character 1 of the value");
    EXPECT_EQ(run("merge set //a/@y '\x02'"),
              "merge: XML cannot hold the character U+0002, character 1 of the value");
    run("set //a/@y 2");
    EXPECT_EQ(run("history"), "   1  Set y of a A to 2\n  => 1 to undo, 0 to redo\n");
    run("undo");
    EXPECT_EQ(bytes(), smallFile);
}

TEST_F(EditorScopes, ARecordingListsWhatWasNotUndoneAndIsOneStepThen)
{
    runAll({"set //b/@x 9", "record", "set //a/@x 5", "set //a/@x 6", "undo", "merge set //a/@y 2",
            "rename \"//*[@name='A']\" 'it'\"'\"'s'",
            "annotate \"//*[@name=\\\"it's\\\"]\" n:k \"a \\\"b\\\"\"", "group \"g h\"", "set //@x 7 # all",
            "undo", "set //d/@x 8", "end"});
    const std::string lines = "set //a/@x 5\nmerge set //a/@y 2\nrename \"//*[@name='A']\" \"it's\"\n"
                              "annotate \"//*[@name=\\\"it's\\\"]\" n:k 'a \"b\"'\n"
                              "group 'g h'\n  set //d/@x 8\nend\n";
    EXPECT_EQ(run("stop file"), "Recorded 4 steps, now one in the history:\n" + lines);
    ASSERT_EQ(written.size(), 1U);
    EXPECT_EQ(written[0].verb, "stop");
    EXPECT_EQ(written[0].path, "file");
    EXPECT_THAT(written[0].bytes, StartsWith("#"));
    EXPECT_THAT(written[0].bytes, EndsWith("\n" + lines));
    EXPECT_EQ(run("history"),
              "   1  Set x of b to 9\n   2  Recording of 4 steps\n  => 2 to undo, 0 to redo\n");
    run("undo 2");
    EXPECT_EQ(bytes(), smallFile);
}

TEST_F(EditorScopes, UndoAndRedoStayWithinTheRecording)
{
    runAll({"set //b/@x 9", "record", "set //a/@x 5"});
    EXPECT_THAT(run("undo 2"), EndsWith("Nothing more to undo in this recording\n"));
    EXPECT_THAT(run("redo 2"), EndsWith("Nothing more to redo in this recording\n"));
    EXPECT_EQ(run("history"), "   1  Set x of b to 9\n  in this recording:\n   1  Set x of a A to 5\n"
                              "  => 1 to undo, 0 to redo\n");
}

TEST_F(EditorScopes, ALimitDoesNotShortenARecording)
{
    runAll({"limit 1", "record", "set //a/@x 5", "set //b/@x 6"});
    EXPECT_EQ(run("stop"), "Recorded 2 steps, now one in the history:\nset //a/@x 5\nset //b/@x 6\n");
    run("undo");
    EXPECT_EQ(bytes(), smallFile);
}

TEST_F(EditorScopes, ARecordingOfNothingLeavesNoEntry)
{
    EXPECT_EQ(runAll({"record", "stop f"}), "Recorded 0 steps\n");
    EXPECT_EQ(run("history"), "  => 0 to undo, 0 to redo\n");
    EXPECT_EQ(written.at(0).bytes.find('\n') + 1, written.at(0).bytes.size());
}

TEST_F(EditorScopes, WhatIsRefusedInARecordingLeavesItUnderWay)
{
    runAll({"record", "set //a/@x 5"});
    for (const std::string verb : {"save", "export f", "limit 2", "record", "quit"})
    {
        EXPECT_THAT(run(verb), EndsWith(": not in a recording; stop it first"));
    }
    EXPECT_THAT(run("set //a/@x x"), testing::Not(HasSubstr("undone")));
    EXPECT_EQ(editor.getPrompt(), "model [recording]> ");
    EXPECT_THAT(run("stop"), HasSubstr("\nset //a/@x 5\n"));
    EXPECT_EQ(run("stop"), "stop: there is no recording");
}

TEST_F(EditorScopes, FinishEndsWhatIsUnderWay)
{
    EXPECT_NO_THROW(editor.finish());
    runAll({"record", "set //b/@x 6", "group g", "set //a/@x 5"});
    EXPECT_THROW(editor.finish(), Valdane::VdException);
    EXPECT_EQ(editor.getPrompt(), "model [recording]> ");
    EXPECT_THAT(bytes(), HasSubstr("<a name='A' x='1' y='1.5'/><b x='6'/>"));
    EXPECT_THROW(editor.finish(), Valdane::VdException);
    EXPECT_EQ(editor.getPrompt(), "model> ");
    EXPECT_NO_THROW(editor.finish());
    EXPECT_THAT(run("history"), StartsWith("   1  Recording of 1 step\n"));
}

TEST_F(EditorScopes, ModifiedTellsOfSavesAndExportsApart)
{
    runAll({"set //d/@x 4", "set /r/@v 2"});
    EXPECT_EQ(run("modified"), "/r (itself)\n/r/c C\n2 modules\n");
    EXPECT_EQ(run("modified save"), run("modified export"));
    run("save");
    EXPECT_EQ(run("modified"), "0 modules\n");
    EXPECT_EQ(run("modified export"), "/r (itself)\n/r/c C\n2 modules\n");
    runAll({"export f", "undo"});
    EXPECT_EQ(run("modified save"), "/r (itself)\n1 module\n");
    EXPECT_EQ(run("modified export"), "/r (itself)\n1 module\n");
    run("save");
    EXPECT_EQ(run("modified export"), "/r (itself)\n1 module\n");
    run("redo");
    EXPECT_EQ(run("modified export"), "0 modules\n");
    EXPECT_EQ(run("modified"), "/r (itself)\n1 module\n");
    EXPECT_EQ(run("modified nope"), "modified: nope is neither save nor export");
}

TEST_F(EditorScopes, ASaveThatFailsIsNone)
{
    Editor failing(
        model, [](const Output&) { throw Valdane::VdException("full"); }, out);
    failing.run("set //b/@x 4");
    EXPECT_THROW(failing.run("save"), Valdane::VdException);
    EXPECT_THAT(failing.getUnsaved(), testing::ElementsAre("/r/b"));
}

TEST_F(EditorScopes, TreeMarksModifiedModules)
{
    runAll({"set //d/@x 4", "set /r/@v 2"});
    EXPECT_EQ(run("tree"), "r *\n  a A\n  b\n  c C *\n    d\n");
    runAll({"save", "group g", "set //b/@x 4"});
    EXPECT_EQ(run("tree 1"), "r\n  a A\n  b *\n  c C (+1)\n");
    run("abandon");
    EXPECT_THAT(run("tree"), testing::Not(HasSubstr("*")));
}

TEST_F(EditorScopes, HistoryMarksWhatWasSaved)
{
    runAll({"set //b/@x 4", "set //b/@x 5", "save", "set //b/@x 6", "undo 2"});
    EXPECT_EQ(run("history"), "   1  Set x of b to 4\n  => 1 to undo, 2 to redo\n"
                              "   2  Set x of b to 5  [saved]\n   3  Set x of b to 6\n");
    run("export f");
    EXPECT_THAT(run("history"), HasSubstr("Set x of b to 5  [saved]"));
    run("set //b/@x 7");
    EXPECT_THAT(run("history"), testing::Not(HasSubstr("saved")));
    runAll({"save", "limit 1"});
    EXPECT_THAT(run("history"), StartsWith("   1  Set x of b to 7  [saved]\n"));
}

TEST_F(EditorScopes, HistoryMarksWhatWasSavedAlsoWhileAnEditWaitsToBeMerged)
{
    runAll({"set //b/@x 4", "save", "merge set //a/@x 5"});
    EXPECT_EQ(run("history"), "   1  Set x of b to 4  [saved]\n"
                              "   +  Set x of a A to 5 (waits to be merged with the next edit)\n"
                              "  => 1 to undo, 0 to redo\n");
    run("undo");
    EXPECT_EQ(run("history"), "   1  Set x of b to 4  [saved]\n  => 1 to undo, 1 to redo\n"
                              "   2  Set x of a A to 5\n");
}

TEST_F(EditorScopes, WhatALimitDropsStaysModified)
{
    runAll({"set //a/@x 5", "set //b/@x 6", "set //b/@x 7", "undo 2"});
    EXPECT_EQ(run("limit 1"), "Limit 1, 3 steps dropped\n");
    EXPECT_EQ(run("modified"), "/r/a A\n1 module\n");
    EXPECT_EQ(run("limit 0"), "Limit 0\n");
    runAll({"export f", "set //b/@x 8"});
    EXPECT_EQ(run("modified"), "/r/a A\n/r/b\n2 modules\n");
    EXPECT_EQ(run("modified export"), "/r/b\n1 module\n");
    EXPECT_EQ(run("undo"), "Nothing to undo\n");
    EXPECT_EQ(runAll({"limit 2", "set //b/@x 9", "undo"}).substr(0, 8), "Limit 2\n");
    EXPECT_EQ(run("modified"), "/r/a A\n/r/b\n2 modules\n");
}

TEST_F(EditorScopes, WhatIsChangedBackByAnotherEditCountsAsModified)
{
    runAll({"set //a/@x 5", "set //a/@x 1"});
    EXPECT_EQ(bytes(), smallFile);
    EXPECT_EQ(run("modified"), "/r/a A\n1 module\n");
    run("undo 2");
    EXPECT_EQ(run("modified"), "0 modules\n");
    run("set //a/@x 1");
    EXPECT_EQ(run("modified"), "0 modules\n");
}

} // namespace
