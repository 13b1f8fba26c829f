#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>

namespace
{

using ModelEditor::Editor;
using ModelEditor::Output;
using ModelEditor::XmlModel;
using testing::HasSubstr;
using testing::StartsWith;

// What works on another thread. The test takes it from step to step.
class EditorRun : public testing::Test
{
protected:
    explicit EditorRun(const std::string& file =
                           "<r><a x='1' y='2'/><b x='1.5'/><c x='word'/><d x='7'/><e u='4294967295'/></r>")
        : model(file, "m")
    {
    }

    // What the line prints, or what it throws. What it starts stays running.
    std::string run(const std::string& line)
    {
        return printedBy([&] { editor.run(line); });
    }

    // Takes the run further until as many percent are concluded, or until it is over. Returns whether it is.
    bool goOnTo(int percent)
    {
        bool isOver = false;
        for (int concluded = 0; !isOver && concluded < percent;)
        {
            editor.getWakeUp().wait();
            isOver = editor.goOn();
            concluded = isOver ? percent : editor.getPercentConcluded();
        }
        return isOver;
    }

    void goOnToEnd()
    {
        goOnTo(101);
    }

    std::string conclude()
    {
        return printedBy([&] { editor.conclude(); });
    }

    std::string runToEnd(const std::string& line)
    {
        const std::string refused = run(line);
        if (!editor.isUnderWay())
        {
            return refused;
        }
        goOnToEnd();
        return conclude();
    }

    template <typename Call>
    std::string printedBy(const Call& call)
    {
        out.str("");
        try
        {
            call();
            return out.str();
        }
        catch (const Valdane::VdException& exception)
        {
            return exception.what();
        }
    }

    XmlModel model;
    std::ostringstream out;
    Editor editor{model, [](const Output&) {}, out};
};

TEST_F(EditorRun, ScaleMultipliesAllNumbersInOneStep)
{
    const std::string before = model.toBytes();
    EXPECT_EQ(runToEnd("scale '//a/@*|//b/@x' 3"), "Scale //a/@*|//b/@x (3 values) by 3\n"
                                                   "  /r/a/@x: 1 -> 3\n"
                                                   "  /r/a/@y: 2 -> 6\n"
                                                   "  /r/b/@x: 1.5 -> 4.5\n");
    const std::string scaled = model.toBytes();
    EXPECT_THAT(run("undo"),
                StartsWith("Undone: Scale //a/@*|//b/@x (3 values) by 3\n  /r/b/@x: 4.5 -> 1.5\n"));
    EXPECT_EQ(model.toBytes(), before);
    run("redo");
    EXPECT_EQ(model.toBytes(), scaled);
    EXPECT_THAT(run("history"), HasSubstr("=> 1 to undo, 0 to redo"));
}

TEST_F(EditorRun, AFailureTakesBackWhatWasScaledBefore)
{
    const std::string before = model.toBytes();
    EXPECT_EQ(runToEnd("scale //@x 2"), "scale: /r/c/@x: word is not a number");
    EXPECT_EQ(model.toBytes(), before);
    EXPECT_FALSE(editor.isUnderWay());
    EXPECT_EQ(run("modified"), "0 modules\n");
    EXPECT_THAT(run("history"), HasSubstr("=> 0 to undo, 0 to redo"));
}

TEST_F(EditorRun, WhatFailsIsLeftAloneIfWanted)
{
    const std::string before = model.toBytes();
    EXPECT_EQ(runToEnd("scale //@x 0.5 --continue-on-error"),
              "Scale //@x (4 values) by 0.5\n"
              "  /r/b/@x: 1.5 -> 0.75\n"
              "  3 values left alone:\n"
              "    0.5 is not a value of type int, which /r/a/@x has\n"
              "    /r/c/@x: word is not a number\n"
              "    3.5 is not a value of type int, which /r/d/@x has\n");
    const std::string scaled = model.toBytes();
    run("undo");
    EXPECT_EQ(model.toBytes(), before);
    run("redo");
    EXPECT_EQ(model.toBytes(), scaled);
}

TEST_F(EditorRun, TheLimitOfFailuresEndsTheRun)
{
    const std::string before = model.toBytes();
    EXPECT_EQ(runToEnd("scale //@x 0.5 --continue-on-error 3"), "scale: too many values cannot be changed");
    EXPECT_EQ(model.toBytes(), before);
    EXPECT_THAT(runToEnd("scale //@x 0.5 --continue-on-error 4"), HasSubstr("3 values left alone"));
}

TEST_F(EditorRun, WhatCannotBeScaledIsRefusedAtOnce)
{
    EXPECT_EQ(run("scale //nothing 2"), "scale: nothing at //nothing");
    EXPECT_THAT(run("scale //a 2"), StartsWith("scale: /r/a is an element"));
    EXPECT_EQ(run("scale //@x word"), "scale: word is not a number");
    EXPECT_EQ(run("scale //@x 2 --hurry"), "scale: no option --hurry; there is --continue-on-error [N]");
    EXPECT_EQ(run("scale //@x 2 --continue-on-error 0"), "scale: 0 is not a count");
    EXPECT_EQ(run("scale //@x 2 --continue-on-error 1x"), "scale: 1x is not a count");
    EXPECT_FALSE(editor.isUnderWay());
}

TEST_F(EditorRun, NumbersKeepTheirTypesUpToTheirLimits)
{
    EXPECT_THAT(runToEnd("scale //@u 2"),
                StartsWith("scale: 8589934590.0 is not a value of type unsigned int"));
    EXPECT_THAT(runToEnd("scale //@u -1"), StartsWith("scale: "));
    EXPECT_THAT(runToEnd("scale //@y -1073741824"), HasSubstr("/r/a/@y: 2 -> -2147483648\n"));
    EXPECT_THAT(runToEnd("scale //b/@x 1e300"), HasSubstr("1.5e+300"));
    EXPECT_THAT(runToEnd("scale //b/@x 1e300"), StartsWith("scale: "));
    EXPECT_THAT(runToEnd("scale //d/@x +2"), HasSubstr("/r/d/@x: 7 -> 14\n"));
}

TEST_F(EditorRun, WhileARunIsUnderWayOnlyItIsTalkedAbout)
{
    const std::string refusal =
        ": not while Scale //@x (4 values) by 2 is under way; abort it, or wait (status tells how far it is)";
    run("scale //@x 2 --continue-on-error");
    ASSERT_TRUE(editor.isUnderWay());
    for (const std::string verb :
         {"tree", "undo", "redo", "save", "quit", "history", "modified", "limit", "record", "check"})
    {
        EXPECT_EQ(run(verb), verb + refusal);
    }
    EXPECT_EQ(run("set //@y 3"), "set" + refusal);
    EXPECT_EQ(run("group g"), "group" + refusal);
    // The first of the four may be done.
    EXPECT_THAT(run("status"), testing::MatchesRegex("Scale //@x .4 values. by 2, (0|25) %.*\n"));
    EXPECT_THAT(run("help abort"), StartsWith("abort: "));
    goOnToEnd();
    EXPECT_THAT(conclude(), HasSubstr("/r/d/@x: 7 -> 14\n"));
    EXPECT_EQ(run("status"), "Nothing is under way\n");
    EXPECT_EQ(run("abort"), "abort: nothing is under way");
}

TEST_F(EditorRun, ARefusedLineLeavesAloneWhatIsToldOfTheRun)
{
    run("scale '//a/@*|//b/@x' 3");
    ASSERT_FALSE(goOnTo(50));
    EXPECT_THAT(run("undo"), StartsWith("undo: not while "));
    EXPECT_THAT(run("set 'x"), HasSubstr("'"));
    goOnToEnd();
    EXPECT_EQ(conclude(), "Scale //a/@*|//b/@x (3 values) by 3\n"
                          "  /r/a/@x: 1 -> 3\n"
                          "  /r/a/@y: 2 -> 6\n"
                          "  /r/b/@x: 1.5 -> 4.5\n");
}

TEST_F(EditorRun, StatusTellsTheShareAndTheStepThatIsDone)
{
    run("scale '//a/@*|//b/@x|//d/@x' 2");
    goOnTo(50);
    // The third of the four is being worked at.
    EXPECT_THAT(run("status"), testing::MatchesRegex("Scale .* by 2, (50|75) %: Scale /r/(a/@y|b/@x)\n"));
    goOnToEnd();
    conclude();
}

TEST_F(EditorRun, CheckTellsWhatDoesNotFitTogether)
{
    XmlModel broken(
        "<r xmlns:n='u'><link name='A'/><link name='A'/><joint name='A' link='B' n:k='1' m:k='2'/>"
        "<joint link='A'><p:q/></joint></r>",
        "m");
    Editor checker{broken, [](const Output&) {}, out};
    checker.run("check");
    checker.getWakeUp().wait();
    while (!checker.goOn())
    {
        checker.getWakeUp().wait();
    }
    EXPECT_EQ(printedBy([&] { checker.conclude(); }), "Check the model\n"
                                                      "  /r/link[2]: a second link A\n"
                                                      "  /r/joint[1]/@link: there is no link B\n"
                                                      "  /r/joint[1]/@m:k: prefix m is not declared\n"
                                                      "  /r/joint[2]/p:q: prefix p is not declared\n"
                                                      "4 findings\n");
    EXPECT_THAT(printedBy([&] { checker.run("history"); }), HasSubstr("=> 0 to undo, 0 to redo"));
}

TEST_F(EditorRun, AnAbortedCheckTellsNothing)
{
    run("check");
    run("abort");
    run("abort");
    goOnToEnd();
    EXPECT_EQ(conclude(), "check: aborted; nothing has changed");
}

TEST_F(EditorRun, ARecordedScaleIsReplayed)
{
    run("record");
    runToEnd("scale //@y 2");
    EXPECT_THAT(run("stop"), HasSubstr("scale //@y 2\n"));
}

TEST_F(EditorRun, WorkIsRefusedInAGroup)
{
    run("group g");
    EXPECT_THAT(run("scale //@y 2"), HasSubstr("scale: not in a group"));
    EXPECT_FALSE(editor.isUnderWay());
}

TEST_F(EditorRun, ImportAppendsTheModulesOfAnotherFile)
{
    const TestDirectory directory;
    const std::string file = directory.write("other.xml", "<o><p name='P'/><a x='9'/></o>");
    const std::string before = model.toBytes();
    EXPECT_EQ(runToEnd("import " + file), "Import 2 modules of other.xml\n"
                                          "  /r/p: added p P\n"
                                          "  /r/a[2]: added a\n");
    EXPECT_EQ(run("modified"), "/r (itself)\n/r/p P\n/r/a[2]\n3 modules\n");
    runToEnd("scale '//a[2]/@x' 2");
    const std::string edited = model.toBytes();
    EXPECT_THAT(edited, HasSubstr("<p name='P'/><a x='18'/></r>"));
    run("undo 2");
    EXPECT_EQ(model.toBytes(), before);
    EXPECT_EQ(run("modified"), "0 modules\n");
    run("redo 2");
    EXPECT_EQ(model.toBytes(), edited);
    EXPECT_THAT(run("modified"), HasSubstr("3 modules\n"));
}

TEST_F(EditorRun, AnImportThatFailsChangesNothing)
{
    const TestDirectory directory;
    const std::string file = directory.write("other.xml", "<o><p>");
    const std::string before = model.toBytes();
    EXPECT_THAT(runToEnd("import " + file), StartsWith("import: " + file + ":1:"));
    EXPECT_THAT(runToEnd("import /nowhere/x.xml"), StartsWith("import: /nowhere/x.xml: "));
    EXPECT_EQ(model.toBytes(), before);
    EXPECT_FALSE(editor.isUnderWay());
    EXPECT_THAT(run("history"), HasSubstr("=> 0 to undo, 0 to redo"));
}

class FiftySteps : public EditorRun
{
protected:
    FiftySteps() : EditorRun(makeFile()) {}

    static std::string makeFile()
    {
        std::string file = "<r>";
        for (int i = 0; i < 50; ++i)
        {
            file += "<v x='" + std::to_string(i + 1) + "'/>";
        }
        return file + "</r>";
    }
};

TEST_F(FiftySteps, AnAbortAtAnyOfThemLeavesTheModelAsItWas)
{
    const std::string before = model.toBytes();
    for (int position = 0; position < 50; ++position)
    {
        run("scale //@x 2");
        ASSERT_FALSE(goOnTo(2 * position)) << position;
        run("abort");
        run("abort");
        goOnToEnd();
        ASSERT_EQ(conclude(), "scale: aborted; nothing has changed") << position;
        ASSERT_EQ(model.toBytes(), before) << position;
        ASSERT_EQ(run("modified"), "0 modules\n");
    }
    EXPECT_THAT(run("history"), HasSubstr("=> 0 to undo, 0 to redo"));
    runToEnd("scale //@x 2");
    EXPECT_THAT(model.toBytes(), HasSubstr("<v x='100'/>"));
}

// More than a run has steps: each of them scales some.
class ManyValues : public EditorRun
{
protected:
    ManyValues() : EditorRun(makeFile()) {}

    static std::string makeFile()
    {
        std::string file = "<r>";
        for (int i = 1; i <= 1003; ++i)
        {
            file += "<v x='" + (i % 300 == 7 ? "word" : std::to_string(i)) + "'/>";
        }
        return file + "</r>";
    }
};

TEST_F(ManyValues, AreScaledLeftAloneAndComeBack)
{
    const std::string before = model.toBytes();
    EXPECT_EQ(runToEnd("scale //@x 2"), "scale: /r/v[7]/@x: word is not a number");
    EXPECT_EQ(model.toBytes(), before);
    EXPECT_THAT(runToEnd("scale //@x 2 --continue-on-error 5"),
                testing::AllOf(HasSubstr("/r/v[10]/@x: 10 -> 20\n"), HasSubstr("  and 989 more changes\n"),
                               HasSubstr("  4 values left alone:\n    /r/v[7]/@x: word is not a number\n"
                                         "    /r/v[307]/@x: word")));
    EXPECT_EQ(run("find 'sum(//@x[. != \"word\"])'"), "1003356\n")
        << "(1003 * 1004 / 2 - 7 - 307 - 607 - 907) * 2";
    EXPECT_THAT(run("history"), HasSubstr("=> 1 to undo, 0 to redo"));
    const std::string scaled = model.toBytes();
    run("undo");
    EXPECT_EQ(model.toBytes(), before);
    run("redo");
    EXPECT_EQ(model.toBytes(), scaled);
    EXPECT_EQ(runToEnd("scale //@x 2 --continue-on-error 4"), "scale: too many values cannot be changed");
    EXPECT_EQ(model.toBytes(), scaled);
}

TEST_F(ManyValues, AreAsTheyWereAfterAnAbort)
{
    const std::string before = model.toBytes();
    run("scale //@x 2 --continue-on-error");
    ASSERT_FALSE(goOnTo(50));
    EXPECT_THAT(run("status"),
                testing::MatchesRegex("Scale .* by 2, [0-9]+ %: Scale /r/v\\[[0-9]+\\]/@x and 10 more\n"));
    run("abort");
    goOnToEnd();
    EXPECT_EQ(conclude(), "scale: aborted; nothing has changed");
    EXPECT_EQ(model.toBytes(), before);
}

TEST_F(FiftySteps, TheEditorMayGoWhileARunIsUnderWay)
{
    run("scale //@x 2");
    goOnTo(14);
}

} // namespace
