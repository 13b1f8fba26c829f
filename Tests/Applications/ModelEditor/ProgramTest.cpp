#include "Tests/Applications/ModelEditor/ProgramRun.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Sanitizers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using testing::HasSubstr;
using testing::StartsWith;
using ValdaneTests::ElementsAre;

const std::string twoValues = "<a x='1'>\n<b y='2.0'/></a>\n";

class Program : public testing::Test
{
protected:
    Program()
    {
        directory.write("m.xml", twoValues);
    }

    ProgramResult run(const std::vector<std::string>& arguments, const std::string& input = {}) const
    {
        return execute({.directory = directory, .arguments = arguments, .input = input});
    }

    TestDirectory directory;
};

TEST_F(Program, HelpAndVersionGoToStandardOutput)
{
    const auto help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (const std::string text :
         {"--script FILE", "--output FILE", "--log-level", "--keep-going", "clear-annotations"})
    {
        EXPECT_THAT(help.out, HasSubstr(text));
    }
    const auto version = run({"--version"});
    EXPECT_EQ(version.out, "model-editor " MODEL_EDITOR_VERSION "\n");
    EXPECT_EQ(version.status, 0);
}

TEST_F(Program, AWrongCommandLineEndsWithTwo)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                      {"m.xml", "n.xml", "--output", "o.xml"},
                                                      {"m.xml", "--nope"},
                                                      {"m.xml", "--log-level", "debug"}})
    {
        const auto result = run(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("model-editor: "));
        EXPECT_THAT(result.err, HasSubstr("Try: model-editor --help\n"));
    }
}

TEST_F(Program, AModelThatCannotBeOpenedGetsOneMessage)
{
    directory.write("empty.xml", "");
    directory.write("bad.xml", "<a>\n<b></a>");
    std::filesystem::create_directory(directory.getPath() / "d");
    directory.write("huge.xml", "");
    std::filesystem::resize_file(directory.getPath() / "huge.xml", std::uintmax_t{4} << 40U);
    const std::pair<const char*, const char*> cases[] = {
        {"none.xml", "none.xml: No such file or directory"},
        {"empty.xml", "empty.xml: the file is empty"},
        {"bad.xml", "bad.xml:2:6: Start-end tags mismatch"},
        {"d", "d: is a directory"},
        {"/dev/null", "/dev/null: is not a regular file"},
        {"huge.xml", "huge.xml: is too large for the memory of this machine (4398046511104 bytes)"},
    };
    for (const auto& [model, message] : cases)
    {
        const auto result = run({model});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, std::string("model-editor: ") + message + "\n");
    }
}

TEST_F(Program, AModelThatOthersMayRefuseIsEditedWithAWarning)
{
    const std::string wrong = "<a x='1'>\n&nbsp;\xFF</a>\n";
    directory.write("wrong.xml", wrong);
    const auto result = run({"wrong.xml", "--output", "o.xml"}, "set /a/@x 2\nsave\ncheck\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "warning: wrong.xml:2:1: &nbsp; is not declared\n"
                          "warning: wrong.xml:2:7: the byte 0xFF is no UTF-8\n");
    EXPECT_THAT(result.out, HasSubstr("\n  wrong.xml:2:1: &nbsp; is not declared\n"
                                      "  wrong.xml:2:7: the byte 0xFF is no UTF-8\n2 findings\n"));
    EXPECT_EQ(directory.read("o.xml"), std::string(wrong).replace(wrong.find('1'), 1, "2"));
}

TEST_F(Program, TenWarningsOfAModelAreToldAndTheOthersCounted)
{
    std::string wrong = "<a>";
    for (int i = 0; i < 12; ++i)
    {
        wrong += "&x;\n";
    }
    directory.write("wrong.xml", wrong + "</a>");
    const auto result = run({"wrong.xml"});
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 11);
    EXPECT_THAT(result.err,
                HasSubstr("wrong.xml:10:1: &x; is not declared\nwarning: wrong.xml: and 2 more\n"));
}

TEST_F(Program, AModelThatMemoryDoesNotSufficeForGetsOneMessage)
{
    if (ValdaneTests::sanitizesAddresses)
    {
        GTEST_SKIP() << "the address sanitizer needs all address space";
    }
    std::string big = "<a>";
    for (int i = 0; i < 4'000'000; ++i)
    {
        big += "<b/>";
    }
    directory.write("big.xml", big + "</a>");
    const auto result = execute({.directory = directory, .arguments = {"big.xml"}, .memory = 200'000'000});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "model-editor: big.xml: not enough memory for a model of 16000007 bytes\n");
}

TEST_F(Program, CommandsFromAPipeAreNotShown)
{
    const auto result = run({"m.xml"}, "set /a/@x 2\n# comment\n\nsave\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "Set x of a to 2\n  /a/@x: 1 -> 2\nTo be saved at the end: m.xml\nSaved m.xml (27 bytes)\n");
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'>\n<b y='2.0'/></a>\n");
}

TEST_F(Program, CommandsMayStandOnTheCommandLine)
{
    const auto result = run(
        {"-e", "set //a/@x 3", "m.xml", "-e", "group both", "-e", "set //b/@y 4", "-e", "end", "-e", "save"},
        "quit\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(directory.read("m.xml"), "<a x='3'>\n<b y='4'/></a>\n");
}

TEST_F(Program, ACommandThatFailsIsToldByItsNumber)
{
    const std::vector<std::string> commands{"m.xml",         "-e", "set //a/@x 3", "-e", "set //c 1", "-e",
                                            "save copy.xml", "-e", "nope"};
    const auto stopped = run(commands);
    EXPECT_EQ(stopped.status, 1);
    EXPECT_EQ(stopped.err, "-e:2: set: nothing at //c\n");
    EXPECT_FALSE(std::filesystem::exists(directory.getPath() / "copy.xml"));

    auto all = commands;
    all.emplace_back("--keep-going");
    const auto whole = run(all);
    EXPECT_EQ(whole.err, "-e:2: set: nothing at //c\n-e:4: no verb nope; help lists them\n");
    EXPECT_EQ(directory.read("copy.xml"), "<a x='3'>\n<b y='2.0'/></a>\n");

    EXPECT_EQ(run({"m.xml", "-e", "set //a/@x 3"}).err, "-e: warning: not saved: /a\n");
    EXPECT_EQ(run({"m.xml", "-e", "group g"}).err,
              "-e:2: the group g has no end; the group g is ended, 0 steps undone\n");
}

TEST_F(Program, ABadLineStopsAScriptAndNothingIsWritten)
{
    directory.write("s", "set /a/@x 2\r\nsave\r\nsave other.xml\n\nset /a/@x two --strict\nset /a/@x 3\n");
    const auto result = run({"m.xml", "--script", "s"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "s:5: set: two is not a value of type int, which /a/@x has\n");
    EXPECT_THAT(result.out, testing::Not(HasSubstr("3")));
    EXPECT_EQ(directory.read("m.xml"), twoValues);
    EXPECT_THAT(directory.list(), ElementsAre("m.xml", "s"));
    const auto piped = run({"m.xml"}, "save\nnope\n");
    EXPECT_EQ(piped.status, 1);
    EXPECT_EQ(piped.err, "<stdin>:2: no verb nope; help lists them\n");
}

TEST_F(Program, KeepGoingPlaysTheRestAndStillFails)
{
    const auto result =
        run({"m.xml", "--keep-going", "--output", "o.xml"}, "nope\nset /a/@x 2\nsave\nset //c d\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "<stdin>:1: no verb nope; help lists them\n<stdin>:4: set: nothing at //c\n");
    EXPECT_THAT(result.out, HasSubstr("Saved o.xml"));
    EXPECT_EQ(directory.read("o.xml"), "<a x='2'>\n<b y='2.0'/></a>\n");
    EXPECT_EQ(directory.read("m.xml"), twoValues);
}

TEST_F(Program, AScriptIsShownWithItsComments)
{
    directory.write("s", "# look\n\n  find //b\nquit\nnope\n");
    const auto result = run({"m.xml", "--script=s"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "# look\n\n>   find //b\n/a/b\n1 node\n> quit\n");
}

TEST_F(Program, OddScriptsAreHandled)
{
    EXPECT_EQ(run({"m.xml"}, std::string("find\0//b\n", 9)).err, "<stdin>:1: the line has a NUL character\n");
    EXPECT_EQ(run({"m.xml"}, "set '/a").err, "<stdin>:1: missing closing quote '\n");
    const std::string text(3'000'000, 'x');
    const auto result = run({"m.xml"}, "annotate /a n:t " + text + "\nsave\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(directory.read("m.xml"), HasSubstr(text));
    EXPECT_EQ(run({"m.xml", "--script", "none"}).err, "model-editor: none: No such file or directory\n");
}

TEST_F(Program, ASaveThatFailsLeavesTheOldFile)
{
    const auto noDirectory = run({"m.xml", "--output", "gone/o.xml"}, "find /a\nsave\n");
    EXPECT_EQ(noDirectory.status, 1);
    EXPECT_EQ(noDirectory.err, "<stdin>:2: save: gone/o.xml: No such file or directory\n");
    const auto full = execute(
        {.directory = directory, .arguments = {"m.xml"}, .input = "set /a/@x 2\nsave\n", .largestFile = 5});
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(directory.read("m.xml"), twoValues);
    EXPECT_THAT(directory.list(), ElementsAre("m.xml"));
}

TEST_F(Program, AFullDeviceIsNamedAsTheReason)
{
    directory.write("big.xml", "<a x='1'>" + std::string(100'000, ' ') + "</a>");
    const std::string before = directory.read("big.xml");
    const auto result = execute({.directory = directory,
                                 .arguments = {"big.xml"},
                                 .input = "set /a/@x 2\nsave\n",
                                 .largestFile = 50'000});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "<stdin>:2: save: big.xml: File too large\n");
    EXPECT_EQ(directory.read("big.xml"), before);
    EXPECT_THAT(directory.list(), ElementsAre("big.xml", "m.xml"));
}

TEST_F(Program, AFileThatIsWrittenInPlaceIsTold)
{
    std::filesystem::create_hard_link(directory.getPath() / "m.xml", directory.getPath() / "other.xml");
    const auto result = run({"m.xml"}, "set /a/@x 2\nsave\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("Saved m.xml (27 bytes, in place: it has other names)\n"));
    EXPECT_EQ(directory.read("other.xml"), "<a x='2'>\n<b y='2.0'/></a>\n");
}

TEST_F(Program, AFullDeviceLeavesWhatWasWrittenInPlace)
{
    directory.write("big.xml", "<a x='1'>" + std::string(100'000, ' ') + "</a>");
    const std::string before = directory.read("big.xml");
    std::filesystem::create_hard_link(directory.getPath() / "big.xml", directory.getPath() / "other.xml");
    const auto result = execute({.directory = directory,
                                 .arguments = {"big.xml"},
                                 .input = "set /a/@x 2\nsave\n",
                                 .largestFile = 50'000});
    EXPECT_EQ(result.err, "<stdin>:2: save: big.xml: File too large\n");
    EXPECT_EQ(directory.read("big.xml"), before);
}

TEST_F(Program, AScriptWritesAReadOnlyFileOnlyWhenItInsists)
{
    using std::filesystem::perms;
    const auto path = directory.getPath() / "m.xml";
    std::filesystem::permissions(path, perms::owner_read);
    const auto refused = run({"m.xml"}, "set /a/@x 2\nsave\nset /a/@x 3\n");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "<stdin>:2: save: m.xml is read-only; save! writes it anyway\n");
    EXPECT_THAT(refused.out, testing::Not(HasSubstr("3")));
    EXPECT_EQ(run({"m.xml"}, "export m.xml\n").err, "<stdin>:1: export: m.xml is read-only\n");
    EXPECT_EQ(directory.read("m.xml"), twoValues);
    const auto forced = run({"m.xml"}, "set /a/@x 2\nsave!\n");
    EXPECT_EQ(forced.status, 0);
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'>\n<b y='2.0'/></a>\n");
    EXPECT_EQ(std::filesystem::status(path).permissions(), perms::owner_read);
}

TEST_F(Program, TemporaryFilesOfKilledProcessesAreRemovedAtTheStart)
{
    // No process has so large a number.
    const std::string nobody = ".model-editor-" + std::to_string(std::numeric_limits<int>::max()) + "-1";
    directory.write(".m.xml" + nobody, "");
    directory.write(".o.xml" + nobody, "");
    directory.write(".p.xml" + nobody, "");
    run({"m.xml", "--output", "o.xml"});
    EXPECT_THAT(directory.list(), ElementsAre(".p.xml" + nobody, "m.xml"));
}

TEST_F(Program, OutputThatCannotBeWrittenIsAFailure)
{
    const auto result =
        execute({.directory = directory, .arguments = {"m.xml"}, .input = "tree\n", .fillsOutput = true});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "model-editor: standard output cannot be written\n");
}

TEST_F(Program, AScriptSavesAlsoWhenNobodyReadsItsOutput)
{
    const auto result = execute({.directory = directory,
                                 .arguments = {"m.xml"},
                                 .input = "tree\nset /a/@x 2\nsave\n",
                                 .closesOutput = true});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "model-editor: standard output cannot be written\n");
    EXPECT_EQ(directory.read("m.xml"), "<a x='2'>\n<b y='2.0'/></a>\n");
}

TEST_F(Program, AScriptMayComeFromStandardInput)
{
    for (const std::string name : {"-", "/dev/stdin"})
    {
        const auto result = run({"m.xml", "--script", name}, "find //b\nnope\n");
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "> find //b\n/a/b\n1 node\n> nope\n");
        EXPECT_EQ(result.err, (name == "-" ? "<stdin>" : name) + ":2: no verb nope; help lists them\n");
    }
    EXPECT_EQ(run({"m.xml", "--script", "."}).err, "model-editor: .: is a directory\n");
}

TEST_F(Program, AScriptMayComeFromAPipe)
{
    const auto pipe = (directory.getPath() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const pid_t writer = fork();
    if (writer == 0)
    {
        directory.write("pipe", "find //b\n");
        _exit(0);
    }
    const auto result = run({"m.xml", "--script", "pipe"});
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "> find //b\n/a/b\n1 node\n");
}

TEST_F(Program, ACopyCanBeWrittenToStandardOutput)
{
    const auto result = run({"m.xml", "--keep-going"}, "find //b\nexport /dev/stdout\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "/a/b\n1 node\n" + twoValues +
                              "Saved /dev/stdout (27 bytes, in place: it is an output of this program)\n");
}

TEST_F(Program, ADifferenceIsAppliedByPatch)
{
    if (std::system("patch --version >/dev/null 2>&1") != 0)
    {
        GTEST_SKIP() << "there is no patch";
    }
    std::string lines;
    for (int i = 0; i < 500; ++i)
    {
        lines += "<b y='" + std::to_string(i) + "'/>\r\n";
    }
    const std::string file = "<a x='1'>\r\n" + std::string(600, ' ') + "<c/><d>\n</d>\r\n" + lines + "</a>";
    directory.write("m.xml", file);
    const auto result =
        run({"m.xml", "--output", "changed.xml", "-e", "set /a/@x 2", "-e", "replace //b/@y 5 7", "-e",
             "insert //c <e/>", "-e", "diff m.patch", "-e", "save"});
    EXPECT_EQ(result.err, "");
    const std::string folder = directory.getPath();
    EXPECT_EQ(std::system(("cd '" + folder + "' && patch --binary -s <m.patch").c_str()), 0);
    EXPECT_EQ(directory.read("m.xml"), directory.read("changed.xml"));
    EXPECT_NE(directory.read("m.xml"), file);
}

TEST_F(Program, AddressesMayUseNamespaces)
{
    directory.write("m.xml", "<a xmlns='u'><b y='1'/></a>");
    const auto result =
        run({"m.xml", "--namespace", "n=u", "-e", "set //n:b/@y 2", "-e", "save", "-e", "quit"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(directory.read("m.xml"), "<a xmlns='u'><b y='2'/></a>");
    EXPECT_EQ(run({"m.xml", "--namespace=n=u", "-e", "reload", "-e", "find //n:b/@y"}).out,
              "Loaded m.xml; the history is empty\n/a/b/@y = 2\n1 node\n");
}

TEST_F(Program, WhatATerminalObeysIsPrintedAsEscapes)
{
    const std::string bytes = "<a name='&#x9b;31m' t='\u202E'><b\u061C/></a>";
    directory.write("odd.xml", bytes);
    const auto result = run({"odd.xml", "--script", "-", "--log-level", "trace"},
                            "# \x1B[31m\ntree\nshow /a\nset //@t \u202Ax\nsave\nfind //[\xFF\n");
    EXPECT_EQ(result.out, "# \\x1b[31m\n"
                          "> tree\na \"\\u009b31m\"\n  b\\u061c\n"
                          "> show /a\n/a\n  @name = \"\\u009b31m\" (name)\n  @t = \"\\u202e\" (text)\n"
                          "  elements: 1\n"
                          "> set //@t \\u202ax\nSet t of \"a \\u009b31m\" to \"\\u202ax\"\n"
                          "  /a/@t: \"\\u202e\" -> \"\\u202ax\"\n"
                          "> save\nTo be saved at the end: odd.xml\n"
                          "> find //[\\xff\n");
    EXPECT_THAT(result.err, HasSubstr("<stdin>:6: find: bad XPath at character"));
    EXPECT_THAT(result.err, testing::EndsWith("//[\\xff\n"));
    EXPECT_EQ(run({"odd.xml"}, "save\n").status, 0);
    EXPECT_EQ(directory.read("odd.xml"), bytes);
    directory.write("\x1B.xml", "");
    EXPECT_EQ(run({"\x1B.xml"}).err, "model-editor: \\x1b.xml: the file is empty\n");
}

TEST_F(Program, TheLogGoesToStandardErrorAtTheLevelAskedFor)
{
    const std::string script = "set /a/@x 2\nundo\nset //@y '\x01'\n";
    EXPECT_EQ(run({"m.xml"}, script).err,
              "<stdin>:3: set: XML cannot hold the character U+0001, character 1 of the value\n");
    const auto error = run({"m.xml", "--log-level", "error"}, script);
    EXPECT_THAT(
        error.err,
        StartsWith(
            "error: Execution of command 'Set y of b to \"\\x01\"' failed with exception: XML cannot hold"));
    const auto trace = run({"m.xml", "--log-level", "trace"}, script);
    EXPECT_THAT(trace.err, StartsWith("trace: Execute command 'Set x of a to 2'...\n"
                                      "trace: Command 'Set x of a to 2' executed.\n"
                                      "trace: Execute Undo command 'Set x of a to 2'...\n"
                                      "trace: Undo command 'Set x of a to 2' executed.\n"));
    EXPECT_THAT(trace.err, HasSubstr("error: Execution of command"));
    EXPECT_EQ(trace.out, run({"m.xml"}, script).out);
}

TEST_F(Program, AScriptIsWarnedOfUnsavedModules)
{
    const auto piped = run({"m.xml"}, "set //b/@y 3\nset /a/@x 2\n");
    EXPECT_EQ(piped.status, 0);
    EXPECT_EQ(piped.err, "<stdin>: warning: not saved: /a, /a/b\n");
    const auto quits = run({"m.xml", "--output", "o.xml"}, "set //b/@y 3\nsave\nset /a/@x 2\nquit\nnope\n");
    EXPECT_EQ(quits.status, 0);
    EXPECT_EQ(quits.err, "<stdin>: warning: not saved: /a\n");
    EXPECT_EQ(run({"m.xml"}, "set //b/@y 3\nundo\n").err, "");
    EXPECT_EQ(run({"m.xml"}, "set //b/@y 3\nexport e.xml\n").err, "<stdin>: warning: not saved: /a/b\n");
    EXPECT_EQ(directory.read("e.xml"), "<a x='1'>\n<b y='3'/></a>\n");
}

TEST_F(Program, SeveralModelsAreEditedAndSaved)
{
    directory.write("n.xml", "<c z='1'/>\n");
    directory.write(".m.xml.model-editor-999999999-0", "");
    directory.write(".n.xml.model-editor-999999999-0", "");
    const auto result =
        run({"m.xml", "./m.xml", "n.xml"}, "set /a/@x 2\nuse 2\nset /c/@z 2\nundo\nfiles\nuse 1\nsave\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("Undone: Set z of c to 2\n  /c/@z: 2 -> 1\n"
                                      "  1 m.xml *\n> 2 n.xml\n2 files\nFile 1: m.xml\n"));
    EXPECT_THAT(directory.read("m.xml"), StartsWith("<a x='2'>"));
    EXPECT_THAT(directory.list(), ElementsAre("m.xml", "n.xml"));
}

TEST_F(Program, AScriptRemovesWhatIsLeftBesideAFileThatItOpens)
{
    directory.write("n.xml", "<c z='1'/>\n");
    directory.write(".n.xml.model-editor-999999999-0", "");
    EXPECT_EQ(run({"m.xml"}, "open n.xml\n").status, 0);
    EXPECT_THAT(directory.list(), ElementsAre("m.xml", "n.xml"));
}

TEST_F(Program, PrefixesOfTheCommandLineConcernAllFilesAlsoAfterAReload)
{
    directory.write("n.xml", "<c xmlns='urn:x'/>\n");
    directory.write("o.xml", "<d xmlns='urn:x'/>\n");
    const auto result = run({"m.xml", "n.xml", "--namespace", "p=urn:x"},
                            "use 2\nfind //p:c\nreload\nfind //p:c\nopen o.xml\nfind //p:d\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "File 2: n.xml\n/c\n1 node\nLoaded n.xml; the history is empty\n/c\n1 node\n"
                          "File 3: o.xml\n/d\n1 node\n");
}

TEST_F(Program, WithOneModelThatCannotBeReadNothingIsDone)
{
    const auto result = run({"m.xml", "absent.xml"}, "set /a/@x 2\nsave\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "model-editor: absent.xml: No such file or directory\n");
    EXPECT_EQ(directory.read("m.xml"), twoValues);
}

TEST_F(Program, TheWarningNamesFiveModulesAtMost)
{
    directory.write("many.xml",
                    "<a><b v='1'/><b v='1'/><b v='1'/><b v='1'/><b v='1'/><b v='1'/><b v='1'/></a>");
    EXPECT_EQ(run({"many.xml"}, "set //@v 2\n").err,
              "<stdin>: warning: not saved: /a/b[1], /a/b[2], /a/b[3], /a/b[4], /a/b[5] and 2 more\n");
}

TEST_F(Program, AFailingLineRollsTheGroupBack)
{
    const std::string script = "group g\nset /a/@x 2\nset //b/@y z --strict\nset //b/@y 7\nend\nsave o.xml\n";
    const auto stopped = run({"m.xml"}, script);
    EXPECT_EQ(stopped.status, 1);
    EXPECT_EQ(stopped.err,
              "<stdin>:3: set: z is not a value of type double, which /a/b/@y has; the group g is "
              "ended, 1 step undone\n");
    EXPECT_THAT(directory.list(), ElementsAre("m.xml"));
    const auto goneOn = run({"m.xml", "--keep-going"}, script);
    EXPECT_EQ(goneOn.status, 1);
    EXPECT_THAT(goneOn.err, HasSubstr("<stdin>:5: end: there is no group\n"));
    EXPECT_EQ(directory.read("o.xml"), "<a x='1'>\n<b y='7'/></a>\n");
}

TEST_F(Program, AScriptThatEndsInAGroupOrARecordingFails)
{
    const auto group = run({"m.xml"}, "save\ngroup g\nset /a/@x 2\n");
    EXPECT_EQ(group.status, 1);
    EXPECT_EQ(group.err, "<stdin>:4: the group g has no end; the group g is ended, 1 step undone\n");
    EXPECT_THAT(group.out, testing::Not(HasSubstr("Saved")));
    const auto kept = run({"m.xml", "--keep-going"}, "group g\nset /a/@x 2\n");
    EXPECT_EQ(kept.status, 1);
    EXPECT_THAT(kept.err, testing::Not(HasSubstr("not saved")));
    const auto recording = run({"m.xml"}, "record\nset /a/@x 2\n");
    EXPECT_EQ(recording.status, 1);
    EXPECT_EQ(recording.err, "<stdin>:3: the recording was not stopped; no script is written\n");
}

TEST_F(Program, WhatWasRecordedIsPlayedByItself)
{
    directory.write("s", "set /a/@x 2\nsave one.xml\nrecord\nset //b/@y 3\nundo\nset //b/@y 4\nset /a/@x 5\n"
                         "stop r.script\nsave two.xml\n");
    EXPECT_EQ(run({"m.xml", "--script", "s"}).status, 0);
    const auto played = run({"one.xml", "--script", "r.script"}, "");
    EXPECT_EQ(played.status, 0);
    EXPECT_THAT(played.out, HasSubstr("> set //b/@y 4\n"));
    const auto saved = run({"one.xml", "--output", "again.xml"}, directory.read("r.script") + "save\n");
    EXPECT_EQ(saved.status, 0);
    EXPECT_EQ(directory.read("again.xml"), directory.read("two.xml"));
    EXPECT_EQ(directory.read("two.xml"), "<a x='5'>\n<b y='4'/></a>\n");
}

TEST_F(Program, AnExportThatFailsIsNamed)
{
    const auto result = run({"m.xml"}, "export gone/e.xml\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "<stdin>:1: export: gone/e.xml: No such file or directory\n");
}

TEST_F(Program, AVeryDeepModelIsEdited)
{
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
    {
        deep += "<a>";
    }
    deep += "<b v='1'/>";
    for (int i = 0; i < 100'000; ++i)
    {
        deep += "</a>";
    }
    directory.write("deep.xml", deep);
    const auto result = run({"deep.xml"}, "set //b/@v 2\nundo\nredo\ntree\nsave\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(directory.read("deep.xml"), deep.replace(deep.find('1'), 1, "2"));
}

} // namespace
