#include "Tests/Applications/ModelEditor/Editor/EditorFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

using testing::EndsWith;
using testing::StartsWith;

// Moves in the history of one model.
class EditorHistory : public EditorFixture
{
protected:
    EditorHistory() : EditorFixture("<r v='0'/>") {}

    // The value after so many edits.
    void setUpTo(int last)
    {
        for (int i = value() + 1; i <= last; ++i)
        {
            run("set /r/@v " + std::to_string(i));
        }
    }

    int value()
    {
        return std::stoi(run("find number(/r/@v)"));
    }
};

TEST_F(EditorHistory, GotoLeadsToAnyPlaceAndTellsEachStep)
{
    setUpTo(3);
    EXPECT_EQ(run("goto 1"), "Undone: Set v of r to 3\n"
                             "  /r/@v: 3 -> 2\n"
                             "Undone: Set v of r to 2\n"
                             "  /r/@v: 2 -> 1\n");
    EXPECT_EQ(run("goto 2"), "Redone: Set v of r to 2\n"
                             "  /r/@v: 1 -> 2\n");
    EXPECT_EQ(run("goto 2"), "");
    run("goto 0");
    EXPECT_EQ(value(), 0);
    run("goto 3");
    EXPECT_EQ(value(), 3);
    EXPECT_EQ(run("goto 4"), "goto: the history has 3 steps");
    EXPECT_EQ(run("goto -1"), "goto: -1 is not a count");
    EXPECT_EQ(value(), 3);
}

TEST_F(EditorHistory, GotoCountsWhatWaitsToBeMergedAsAStep)
{
    setUpTo(1);
    run("merge set /r/@v 7");
    EXPECT_EQ(run("goto 2"), "");
    EXPECT_THAT(run("goto 1"), EndsWith("  /r/@v: 7 -> 1\n"));
}

TEST_F(EditorHistory, TheSaveIsFoundOnBothSides)
{
    setUpTo(2);
    run("save");
    setUpTo(4);
    EXPECT_THAT(run("undo --to-save"), StartsWith("Undone: Set v of r to 4\n"));
    EXPECT_EQ(value(), 2);
    EXPECT_EQ(run("modified"), "0 modules\n");
    EXPECT_EQ(run("undo --to-save"), "");
    EXPECT_EQ(run("redo --to-save"), "");
    run("undo");
    EXPECT_EQ(run("undo --to-save"), "undo: the save is ahead; redo --to-save leads to it");
    run("redo --to-save");
    EXPECT_EQ(value(), 2);
    run("redo 2");
    EXPECT_EQ(run("redo --to-save"), "redo: the save is behind; undo --to-save leads to it");
    EXPECT_EQ(value(), 4);
}

TEST_F(EditorHistory, ASaveThatNoStepLeadsToIsSaid)
{
    setUpTo(2);
    run("save");
    run("undo");
    run("set /r/@v 9");
    EXPECT_EQ(run("undo --to-save"), "undo: no step leads to what was saved");
    EXPECT_EQ(run("redo --to-save"), "redo: no step leads to what was saved");
    EXPECT_EQ(value(), 9);
}

TEST_F(EditorHistory, AGroupAndARecordingHaveNoSave)
{
    run("record");
    EXPECT_EQ(run("undo --to-save"), "undo: not in a recording; stop it first");
    run("group g");
    EXPECT_EQ(run("redo --to-save"), "redo: not in a group; end or abandon it first");
}

TEST_F(EditorHistory, TheNearestStepsAreListedIfWanted)
{
    setUpTo(5);
    run("undo 2");
    EXPECT_EQ(run("history 1"), " ...  2 more steps\n"
                                "   3  Set v of r to 3\n"
                                "  => 3 to undo, 2 to redo\n"
                                "   4  Set v of r to 4\n"
                                " ...  1 more step\n");
    EXPECT_EQ(run("history 3"), run("history"));
    EXPECT_EQ(run("history 0"), " ...  3 more steps\n"
                                "  => 3 to undo, 2 to redo\n"
                                " ...  2 more steps\n");
    EXPECT_EQ(run("history x"), "history: x is not a count");
}

TEST_F(EditorHistory, AVerbMayBeShortenedAndIsRecordedInFull)
{
    EXPECT_THAT(run("hel un"), StartsWith("undo [N|--to-save]: "));
    EXPECT_EQ(run("se //@nothing 1"), "set: nothing at //@nothing");
    EXPECT_EQ(run("h"), "h may be history or help");
    EXPECT_EQ(run("re"), "re may be replace, rename, redo, record or reload");
    run("rec");
    run("set /r/@v 2");
    run("merg set /r/@v 3");
    run("anno /r p:q x");
    EXPECT_THAT(run("stop"), EndsWith("set /r/@v 2\nmerge set /r/@v 3\nannotate /r p:q x\n"));
    EXPECT_THAT(run("un"), StartsWith("Undone: "));
}

} // namespace
