#include "Tests/Applications/ModelEditor/SessionFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class SessionFilesTest : public SessionFixture
{
protected:
    const std::string second = directory.write("n.xml", "<b y='1'/>\n");
    const std::string third = directory.write("k.xml", "<c z='1'/>\n");
};

TEST_F(SessionFilesTest, EachHasItsOwnHistory)
{
    type({"set /a/@x 2", "open " + second, "undo", "set /b/@y 2", "set /b/@y 3", "use 1", "undo", "undo",
          "use n.xml", "undo", "find /b/@y", "redo", "undo 9", "use 1", "redo", "find /a/@x"});
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(out.str(), "Set x of a to 2\n  /a/@x: 1 -> 2\n"
                         "File 2: " +
                             second +
                             "\nNothing to undo\n"
                             "Set y of b to 2\n  /b/@y: 1 -> 2\n"
                             "Set y of b to 3\n  /b/@y: 2 -> 3\n"
                             "File 1: " +
                             path +
                             "\nUndone: Set x of a to 2\n  /a/@x: 2 -> 1\n"
                             "Nothing to undo\n"
                             "File 2: " +
                             second +
                             "\nUndone: Set y of b to 3\n  /b/@y: 3 -> 2\n"
                             "/b/@y = 2\n1 node\n"
                             "Redone: Set y of b to 3\n  /b/@y: 2 -> 3\n"
                             "Undone: Set y of b to 3\n  /b/@y: 3 -> 2\n"
                             "Undone: Set y of b to 2\n  /b/@y: 2 -> 1\n"
                             "Nothing more to undo\n"
                             "File 1: " +
                             path +
                             "\nRedone: Set x of a to 2\n  /a/@x: 1 -> 2\n"
                             "/a/@x = 2\n1 node\n"
                             "Not saved: " +
                             path + ": /a\n");
}

TEST_F(SessionFilesTest, UndoConcernsTheFileAfterItsGroupAndItsRecording)
{
    files = {path, second};
    type({"set /a/@x 2", "group g", "set /a/@x 3", "undo", "abandon", "undo", "record", "set /a/@x 4", "stop",
          "undo", "use 2", "undo"});
    EXPECT_EQ(err.str(), "");
    EXPECT_THAT(out.str(), HasSubstr("Group g abandoned, 0 steps undone\nUndone: Set x of a to 2\n"));
    EXPECT_THAT(out.str(), HasSubstr("Undone: Recording of 1 step\n"));
    EXPECT_THAT(out.str(), EndsWith("File 2: " + second + "\nNothing to undo\n"));
}

TEST_F(SessionFilesTest, AreListedWithNumberAndWhatIsNotSaved)
{
    files = {path, second};
    type({"files", "use 2", "set /b/@y 2", "open " + third, "files", "use 2", "save", "files"});
    const std::string one = " 1 " + path + "\n";
    const std::string two = " 2 " + second;
    EXPECT_THAT(out.str(), StartsWith("> 1 " + path + "\n " + two + "\n2 files\n"));
    EXPECT_THAT(out.str(), HasSubstr("\n " + one + " " + two + " *\n> 3 " + third + "\n3 files\n"));
    EXPECT_THAT(out.str(), EndsWith("\n " + one + ">" + two + "\n  3 " + third + "\n3 files\n"));
}

TEST_F(SessionFilesTest, AFileIsOpenOnceWhateverItIsCalled)
{
    const auto hard = (directory.getPath() / "hard.xml").string();
    const auto symbolic = (directory.getPath() / "symbolic.xml").string();
    std::filesystem::create_hard_link(path, hard);
    std::filesystem::create_symlink("m.xml", symbolic);
    files = {path, hard, second};
    type({"files", "use 2", "open " + symbolic, "use " + second, "open " + hard});
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(out.str(), "> 1 " + path + "\n  2 " + second + "\n2 files\nFile 2: " + second +
                             "\nFile 1: " + path + "\nFile 2: " + second + "\nFile 1: " + path + "\n");
}

TEST_F(SessionFilesTest, WhatCannotBeOpenedLeavesTheOthersAlone)
{
    const auto absent = (directory.getPath() / "absent.xml").string();
    const auto broken = directory.write("broken.xml", "<a>");
    type({"set /a/@x 2", "open " + absent, "open " + broken, "open ''",
          "open " + directory.getPath().string(), "undo", "files"});
    EXPECT_THAT(err.str(), StartsWith("open: " + absent + ": No such file or directory\nopen: " + broken));
    EXPECT_THAT(err.str(), HasSubstr("\nopen: the name of the file is empty\nopen: "));
    EXPECT_THAT(out.str(), EndsWith("Undone: Set x of a to 2\n  /a/@x: 2 -> 1\n> 1 " + path + "\n1 file\n"));
}

TEST_F(SessionFilesTest, AreUsedByNumberPathOrName)
{
    std::filesystem::create_directory(directory.getPath() / "d");
    const auto namesake = directory.write("d/m.xml", original);
    const auto numbered = directory.write("1", original);
    files = {second, namesake, path, numbered};
    type({"use m.xml", "use " + path, "use n.xml", "use 1", "use 9", "use x.xml", "use " + third, "use"});
    EXPECT_EQ(out.str(), "File 3: " + path + "\nFile 1: " + second + "\nFile 1: " + second + "\n");
    EXPECT_EQ(err.str(), "use: m.xml may be 2 or 3; files lists them\n"
                         "use: no file 9 is open; files lists them\n"
                         "use: no file x.xml is open; files lists them\n"
                         "use: no file " +
                             third +
                             " is open; files lists them\n"
                             "use: write it as: use N|FILE\n");
}

TEST_F(SessionFilesTest, CloseLosesNoChangesUnlessItIsToldTo)
{
    files = {path, second};
    type({"set /a/@x 2", "close", "close!", "files", "close", "close!", "open " + path, "find /a/@x"});
    EXPECT_EQ(err.str(), "close: 1 module not saved; close! loses what has changed there\n"
                         "close: it is the only file; quit ends the program\n"
                         "close: it is the only file; quit ends the program\n");
    EXPECT_THAT(out.str(), EndsWith("Closed " + path + "\nFile 2: " + second + "\n> 2 " + second +
                                    "\n1 file\nFile 3: " + path + "\n/a/@x = 1\n1 node\n"));
    EXPECT_EQ(directory.read("m.xml"), original);
}

TEST_F(SessionFilesTest, AfterACloseTheOneBeforeIsCurrent)
{
    files = {path, second, third};
    type({"use 2", "use 1", "set /a/@x 2", "use 3", "close", "undo", "close", "files"});
    EXPECT_THAT(out.str(), EndsWith("Closed " + third + "\nFile 1: " + path +
                                    "\nUndone: Set x of a to 2\n  /a/@x: 2 -> 1\nClosed " + path +
                                    "\nFile 2: " + second + "\n> 2 " + second + "\n1 file\n"));
}

TEST_F(SessionFilesTest, NoOtherIsUsedInAGroupOrARecording)
{
    files = {path, second};
    type({"group g", "use 2", "open " + third, "close!", "save-all", "files", "end", "record", "use 2",
          "open " + third, "close", "stop", "use 2"});
    const std::string inGroup = ": not in a group; end or abandon it first\n";
    const std::string inRecording = ": not in a recording; stop it first\n";
    EXPECT_EQ(err.str(), "use" + inGroup + "open" + inGroup + "close!" + inGroup + "save-all" + inGroup +
                             "use" + inRecording + "open" + inRecording + "close" + inRecording);
    EXPECT_THAT(out.str(), StartsWith("> 1 " + path));
    EXPECT_THAT(out.str(), EndsWith("File 2: " + second + "\n"));
}

TEST_F(SessionFilesTest, ReloadLeavesTheOthersAlone)
{
    files = {path, second};
    type({"set /a/@x 2", "use 2", "set /b/@y 2", writing("n.xml", "<b y='7'/>\n"), "reload!", "find /b/@y",
          "undo", "use 1", "undo"});
    EXPECT_EQ(err.str(), "");
    EXPECT_THAT(out.str(), HasSubstr("Loaded " + second +
                                     "; the history is empty\n/b/@y = 7\n1 node\nNothing to undo\nFile 1"));
    EXPECT_THAT(out.str(), EndsWith("Undone: Set x of a to 2\n  /a/@x: 2 -> 1\n"));
}

TEST_F(SessionFilesTest, AFailedReloadOrOpenLeavesUndoAsItWas)
{
    files = {path, second};
    type({"set /a/@x 2", writing("m.xml", "<a>"), "reload!", "undo"});
    EXPECT_THAT(out.str(), EndsWith("Undone: Set x of a to 2\n  /a/@x: 2 -> 1\n"));
}

TEST_F(SessionFilesTest, EachIsSavedInItsOwnPlaceAndNotInThatOfAnother)
{
    files = {path, second};
    type({"set /a/@x 2", "save " + second, "save! " + second, "export " + second, "record", "stop " + second,
          "save", "use 2", "set /b/@y 2", "save " + third, "open " + second, "use 1", "save " + third});
    const std::string refused = second + " is open as file 2\n";
    EXPECT_EQ(err.str(), "save: " + refused + "save!: " + refused + "export: " + refused +
                             "stop: " + refused + "save: " + third + " is open as file 2\n");
    EXPECT_THAT(out.str(), HasSubstr("File 3: " + second + "\n"));
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>\n");
    EXPECT_EQ(directory.read("n.xml"), "<b y='1'/>\n");
    EXPECT_EQ(directory.read("k.xml"), "<b y='2'/>\n");
}

TEST_F(SessionFilesTest, SaveAllSavesWhatIsNotSavedAndSkipsAFailure)
{
    files = {path, second, third};
    type({"save-all", "set /a/@x 2", "use 3", "set /c/@z 2", writing("m.xml", changed), "save-all", "files"});
    EXPECT_EQ(err.str(), "save-all: save: " + path + " was changed" + refusal);
    EXPECT_THAT(out.str(), StartsWith("Nothing to save\n"));
    EXPECT_THAT(out.str(), HasSubstr("Saved " + third + " (11 bytes)\n  1 " + path + " *\n  2 " + second +
                                     "\n> 3 " + third + "\n3 files\n"));
    EXPECT_EQ(directory.read("k.xml"), "<c z='2'/>\n");
}

TEST_F(SessionFilesTest, WhoQuitsIsToldOfEachFileThatIsNotSaved)
{
    files = {path, second, third};
    play({"set /a/@x 2", "use 3", "set /c/@z 2", "quit", "n", "files", "quit", "y", "nope"},
         {.savePath = path, .sourceName = "s", .isInteractive = true});
    const std::string unsaved = "Not saved: " + path + ": /a\nNot saved: " + third + ": /c\n";
    EXPECT_EQ(err.str(), "");
    EXPECT_THAT(out.str(), HasSubstr(unsaved + "  1 " + path + " *\n"));
    EXPECT_THAT(out.str(), EndsWith("\n3 files\n" + unsaved));
}

TEST_F(SessionFilesTest, AScriptIsWarnedOfEachFileThatIsNotSaved)
{
    files = {path, second, third};
    EXPECT_TRUE(playScript({"set /a/@x 2", "use 2", "set /b/@y 2", "save", "use 3", "set /c/@z 2"}));
    EXPECT_EQ(err.str(),
              "s: warning: not saved: " + path + ": /a\ns: warning: not saved: " + third + ": /c\n");
    EXPECT_EQ(directory.read("n.xml"), "<b y='2'/>\n");
}

TEST_F(SessionFilesTest, AFailureSaysInWhichFileOnlyIfThereAreSeveral)
{
    EXPECT_FALSE(playScript({"set //nothing 1"}));
    EXPECT_EQ(err.str(), "s:1: set: nothing at //nothing\n");
    files = {path, second};
    EXPECT_FALSE(playScript({"use 2", "set //nothing 1"}));
    EXPECT_EQ(err.str(), "s:2: " + second + ": set: nothing at //nothing\n");
    EXPECT_FALSE(playScript({"use 2", "group g"}));
    EXPECT_EQ(err.str(),
              "s:3: " + second + ": the group g has no end; the group g is ended, 0 steps undone\n");
}

TEST_F(SessionFilesTest, AScriptSavesAllAtItsEndAlsoWhatIsClosed)
{
    files = {path, second};
    EXPECT_TRUE(playScript({"set /a/@x 2", "save", "close", "set /b/@y 2", "save"}));
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>\n");
    EXPECT_EQ(directory.read("n.xml"), "<b y='2'/>\n");
    EXPECT_FALSE(playScript({"set /a/@x 3", "save", "use 2", "set /b/@y 3", "save", "nope"}));
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>\n");
    EXPECT_EQ(directory.read("n.xml"), "<b y='2'/>\n");
}

TEST_F(SessionFilesTest, AScriptOpensNothingThatItHasStillToSave)
{
    files = {path, second};
    EXPECT_FALSE(playScript({"set /a/@x 2", "save", "reload"}));
    EXPECT_EQ(err.str(),
              "s:3: " + path + ": reload: " + path + " is still to be saved, at the end of the script\n");
    EXPECT_FALSE(playScript({"set /a/@x 2", "save", "close", "open " + path}));
    EXPECT_EQ(err.str(), "s:4: open: " + path + " is still to be saved, at the end of the script\n");
    EXPECT_TRUE(playScript({"set /a/@x 2", "save", "use 2", "reload"}));
    EXPECT_EQ(err.str(), "");
}

TEST_F(SessionFilesTest, TheFirstIsSavedWhereTheCommandLineSaysAndTheOthersInTheirPlaces)
{
    EXPECT_TRUE(play({"set /a/@x 2", "save", "open " + second, "set /b/@y 2", "save"},
                     {.savePath = other, .sourceName = "s"}));
    EXPECT_EQ(directory.read("m.xml"), original);
    EXPECT_EQ(directory.read("o.xml"), "<a x='2'/>\n");
    EXPECT_EQ(directory.read("n.xml"), "<b y='2'/>\n");
}

TEST_F(SessionFilesTest, WhereTheFirstWillBeSavedNoOtherIsOpened)
{
    directory.write("o.xml", original);
    EXPECT_FALSE(play({"files", "open " + other}, {.savePath = other, .sourceName = "s"}));
    EXPECT_THAT(out.str(), StartsWith("> 1 " + path + " (save writes " + other + ")\n1 file\n"));
    EXPECT_EQ(err.str(), "s:2: open: " + other + " is where save writes file 1\n");
}

TEST_F(SessionFilesTest, WhatOtherProgramsMayRefuseIsToldWhenItIsOpened)
{
    const auto doubtful = directory.write("doubtful.xml", "<a>&undeclared;</a>\n");
    type({"open " + doubtful});
    EXPECT_THAT(err.str(), StartsWith("warning: " + doubtful));
    type({writing("m.xml", "<a>&undeclared;</a>\n"), "reload", "find /a"});
    EXPECT_EQ(err.str(), "warning: " + path + ":1:4: &undeclared; is not declared\n");
}

} // namespace
