#include "Tests/Applications/ModelEditor/SessionFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;

using SessionTest = SessionFixture;

TEST_F(SessionTest, AFileThatAnotherProcessHasChangedIsNotOverwritten)
{
    type({"set /a/@x 2", writing("m.xml", changed), "save"});
    EXPECT_EQ(err.str(), "save: " + path + " was changed" + refusal);
    EXPECT_THAT(out.str(), EndsWith("Not saved: " + path + ": /a\n"));
    EXPECT_EQ(directory.read("m.xml"), changed);
}

TEST_F(SessionTest, AFileThatAnotherProcessHasRemovedIsNotMadeAgain)
{
    type({"set /a/@x 2", removing("m.xml"), "save"});
    EXPECT_EQ(err.str(), "save: " + path + " was removed" + refusal);
    EXPECT_FALSE(fs::exists(path));
    directory.write("m.xml", original);
    type({"set /a/@x 2", removing("m.xml"), "save!"});
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>\n");
}

TEST_F(SessionTest, WhoInsistsOverwritesItAndItIsKnownAgain)
{
    type({"set /a/@x 2", writing("m.xml", changed), "save!", "set /a/@x 3", "save"});
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(directory.read("m.xml"), "<a x='3'/>\n");
}

TEST_F(SessionTest, ThatIsToldAlsoOfWhatWasSavedAndUnderAnotherName)
{
    const auto link = (directory.getPath() / "link.xml").string();
    fs::create_symlink("o.xml", link);
    type({"save " + other, writing("o.xml", changed), "save " + other, "save " + link, "export " + link,
          "save"});
    EXPECT_EQ(err.str(), "save: " + other + " was changed" + refusal + "save: " + link + " was changed" +
                             refusal + "export: " + link + " was changed" + refusal + "save: " + other +
                             " was changed" + refusal);
    EXPECT_EQ(directory.read("o.xml"), changed);
}

TEST_F(SessionTest, SaveWithAFileMakesThatTheFile)
{
    type({"set /a/@x 2", "save " + other, "files", "diff", "set /a/@x 3", "save", "diff"});
    EXPECT_EQ(err.str(), "");
    EXPECT_THAT(out.str(), HasSubstr("Saved " + other + " (11 bytes)\n> 1 " + other +
                                     "\n1 file\nNo difference from " + other + "\n"));
    EXPECT_THAT(out.str(), EndsWith("Saved " + other + " (11 bytes)\nNo difference from " + other + "\n"));
    EXPECT_EQ(directory.read("o.xml"), "<a x='3'/>\n");
    EXPECT_EQ(directory.read("m.xml"), original);
}

TEST_F(SessionTest, InAScriptItIsTheFileOfWhatIsSavedFromThenOn)
{
    EXPECT_TRUE(playScript({"set /a/@x 2", "save " + other, "files", "set /a/@x 3", "save"}));
    EXPECT_EQ(err.str(), "");
    EXPECT_THAT(out.str(), HasSubstr("> 1 " + path + " (save writes " + other + ")\n1 file\n"));
    EXPECT_EQ(directory.read("o.xml"), "<a x='3'/>\n");
    EXPECT_EQ(directory.read("m.xml"), original);
}

TEST_F(SessionTest, WhatIsNoFileDoesNotBecomeTheFile)
{
    type({"set /a/@x 2", "save /dev/null", "files", "save"});
    EXPECT_THAT(out.str(), HasSubstr("> 1 " + path + "\n1 file\n"));
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>\n");
    EXPECT_TRUE(playScript({"set /a/@x 3", "save /dev/null", "save"}));
    EXPECT_EQ(directory.read("m.xml"), "<a x='3'/>\n");
}

TEST_F(SessionTest, ACopyThatWasExportedMayBeOverwrittenAndMayBeTheFileItself)
{
    type({"export " + other, writing("o.xml", changed), "export " + other, "set /a/@x 2", "export " + path,
          "save"});
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(directory.read("o.xml"), original);
}

TEST_F(SessionTest, TheSameContentIsNoChange)
{
    type({"set /a/@x 2", removing("m.xml"), writing("m.xml", original), "save"});
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>\n");
}

TEST_F(SessionTest, AScriptIsToldAtItsLineAndOnceMoreAtItsEnd)
{
    EXPECT_FALSE(playScript({"set /a/@x 2", writing("m.xml", changed), "save", "set /a/@x 3"}));
    EXPECT_EQ(err.str(), "s:2: save: " + path + " was changed" + refusal);
    EXPECT_THAT(out.str(), testing::Not(HasSubstr("3")));
    directory.write("m.xml", original);
    EXPECT_FALSE(playScript({"set /a/@x 2", "save", writing("m.xml", changed)}));
    EXPECT_EQ(err.str(), "s:2: save: " + path + " was changed" + refusal);
    EXPECT_EQ(directory.read("m.xml"), changed);
}

TEST_F(SessionTest, ReloadReadsTheFileAgainAndClearsTheHistory)
{
    type({"set /a/@x 2", "save", "limit 7", writing("m.xml", changed), "reload", "undo", "find /a/@*",
          "limit", "modified", "set /a/@x 200", "save"});
    EXPECT_EQ(err.str(), "");
    EXPECT_THAT(out.str(), HasSubstr("Loaded " + path +
                                     "; the history is empty\n"
                                     "Nothing to undo\n"
                                     "/a/@x = 100\n/a/@y = \"\"\n2 nodes\n"
                                     "Limit 7\n"
                                     "0 modules\n"));
    EXPECT_EQ(directory.read("m.xml"), "<a x='200' y=''/>\n");
}

TEST_F(SessionTest, ReloadLosesNoChangesUnlessItIsToldTo)
{
    type({"set /a/@x 2", writing("m.xml", changed), "reload", "find /a/@x", "reload!", "find /a/@x"});
    EXPECT_EQ(err.str(), "reload: 1 module not saved; reload! loses what has changed there\n");
    EXPECT_THAT(out.str(), HasSubstr("\n/a/@x = 2\n"));
    EXPECT_THAT(out.str(), EndsWith("\n/a/@x = 100\n1 node\n"));
}

TEST_F(SessionTest, WhatCannotBeReloadedLeavesAllAsItWas)
{
    type({"set /a/@x 2", writing("m.xml", "<a>"), "reload!", removing("m.xml"), "reload!", "undo", "redo",
          "save!"});
    EXPECT_THAT(err.str(), HasSubstr("reload: " + path + ":1:"));
    EXPECT_THAT(err.str(), HasSubstr("reload: " + path + ": No such file or directory\n"));
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'/>\n");
}

TEST_F(SessionTest, ReloadReadsWhatWasSavedLast)
{
    type({"set /a/@x 2", "save " + other, "set /a/@x 3", "reload!", "find /a/@x"});
    EXPECT_THAT(out.str(), EndsWith("Loaded " + other + "; the history is empty\n/a/@x = 2\n1 node\n"));
}

TEST_F(SessionTest, AScriptCannotReloadWhatItHasNotYetWritten)
{
    EXPECT_FALSE(playScript({"set /a/@x 2", "save", "reload"}));
    EXPECT_EQ(err.str(), "s:3: reload: " + path + " is still to be saved, at the end of the script\n");
    EXPECT_EQ(directory.read("m.xml"), original);
}

TEST_F(SessionTest, DiffShowsWhatDiffersFromTheFile)
{
    type({"diff", "set /a/@x 2", "diff", writing("m.xml", changed), "diff", "reload!", "diff"});
    const std::string head = "--- " + path + "\n+++ the model\n@@ -1,1 +1,1 @@\n";
    EXPECT_THAT(out.str(), testing::StartsWith("No difference from " + path + "\n"));
    EXPECT_THAT(out.str(), HasSubstr(head + "-<a x='1'/>\n+<a x='2'/>\n"));
    EXPECT_THAT(out.str(), HasSubstr(head + "-<a x='100' y=''/>\n+<a x='2'/>\n"));
    EXPECT_THAT(out.str(), EndsWith("No difference from " + path + "\n"));
}

TEST_F(SessionTest, DiffShowsSomeHundredLinesAndHowManyMoreThereAre)
{
    std::string lines;
    for (int i = 0; i < 400; ++i)
    {
        lines += "<b/>\n";
    }
    type({writing("m.xml", "<a x='1'>\n" + lines + "</a>\n"), "diff"});
    EXPECT_THAT(out.str(), EndsWith("-<b/>\nand 103 more\n"));
    directory.write("m.xml", original);
    type({removing("m.xml"), "diff"});
    EXPECT_EQ(err.str(), "diff: " + path + ": No such file or directory\n");
}

TEST_F(SessionTest, DiffShowsCharactersWhateverTheEncoding)
{
    const std::string declaration = "<?xml version='1.0' encoding='ISO-8859-1'?>";
    directory.write("m.xml", declaration + "<a x='\xFC'/>\n");
    type({"set /a/@x \xC3\xA4", "diff"});
    EXPECT_THAT(out.str(),
                HasSubstr("-" + declaration + "<a x='\xC3\xBC'/>\n+" + declaration + "<a x='&#228;'/>\n"));
}

} // namespace
