// The man page tells of every verb, with an example that works.

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/Options.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

using ModelEditor::Editor;
using ModelEditor::Input;
using ModelEditor::Output;
using ModelEditor::XmlModel;

const std::string manPageRobot = R"(<robot name="arm" xmlns:note="urn:note">
  <!-- two links -->
  <link name="base_link" note:by="me"><mass value="4.0"/><mesh filename="meshes/Base.dae"/></link>
  <link name="tool0"><mass value="0.5"/></link>
  <joint name="wrist" type="fixed"><parent link="base_link"/><child link="tool0"/><limit velocity="3.0"/></joint>
  <note>light</note>
</robot>
)";

// What a reader of the page sees of @p line.
std::string readRoff(std::string line)
{
    const std::pair<std::string, std::string> escapes[] = {{"\\-", "-"},   {"\\(aq", "'"}, {"\\(dq", "\""},
                                                           {"\\(ga", "`"}, {"\\&", ""},    {"\\e", "\\"}};
    for (const auto& [escape, text] : escapes)
    {
        for (auto at = line.find(escape); at != std::string::npos; at = line.find(escape, at + text.size()))
        {
            line.replace(at, escape.size(), text);
        }
    }
    return line;
}

// By the usage of the verb: the lines of its example.
std::map<std::string, std::vector<std::string>> readExamples()
{
    std::map<std::string, std::vector<std::string>> examples;
    std::istringstream page(readTestFile(besideTests("Data/model-editor.1")));
    bool isInCommands = false;
    bool isInExample = false;
    std::string usage;
    for (std::string line; std::getline(page, line);)
    {
        isInCommands = line.starts_with(".SH ") ? line == ".SH COMMANDS" : isInCommands;
        isInExample = line == ".EX" || (isInExample && line != ".EE");
        if (isInCommands && line.starts_with(".B "))
        {
            usage = readRoff(line.substr(3));
            examples[usage];
        }
        else if (isInCommands && isInExample && line != ".EX")
        {
            examples[usage].push_back(readRoff(line));
        }
    }
    return examples;
}

// The lines of `help` with a verb, which start with two blanks.
std::vector<std::string> readVerbs()
{
    std::vector<std::string> verbs;
    std::istringstream help(Editor::getHelp());
    for (std::string line; std::getline(help, line);)
    {
        if (line.starts_with("  ") && line[2] != ' ')
        {
            verbs.push_back(line.substr(2, line.find("  ", 2) - 2));
        }
    }
    return verbs;
}

class ManPage : public testing::Test
{
protected:
    ManPage()
    {
        directory.write("gripper.urdf", "<robot><link name='finger'/></robot>");
        std::filesystem::current_path(directory.getPath());
    }

    ~ManPage() override
    {
        std::filesystem::current_path(before);
    }

    // What goes wrong; nothing is meant to.
    static std::string play(const std::vector<std::string>& lines)
    {
        XmlModel model(manPageRobot, "robot.urdf");
        std::ostringstream out;
        Editor editor(
            model, [](const Output&) {}, out,
            [] { return Input{.path = "robot.urdf", .bytes = manPageRobot}; });
        std::string wrong;
        const auto run = [&](const auto& act)
        {
            try
            {
                act();
            }
            catch (const std::exception& exception)
            {
                wrong += std::string(exception.what()) + "\n";
            }
        };
        for (const auto& line : lines)
        {
            run([&] { editor.run(line); });
            const bool isFollowed = line != lines.back();
            while (!isFollowed && editor.isUnderWay())
            {
                editor.getWakeUp().wait();
                if (editor.goOn())
                {
                    run([&] { editor.conclude(); });
                }
            }
        }
        run([&] { editor.finish(); });
        return wrong;
    }

    TestDirectory directory;
    std::filesystem::path before = std::filesystem::current_path();
};

TEST_F(ManPage, HasEveryVerbAsHelpHasIt)
{
    const auto examples = readExamples();
    const auto verbs = readVerbs();
    EXPECT_GT(verbs.size(), 35U);
    for (const auto& usage : verbs)
    {
        EXPECT_TRUE(examples.contains(usage)) << usage;
    }
    EXPECT_EQ(examples.size(), verbs.size());
}

TEST_F(ManPage, HasExamplesThatWork)
{
    for (const auto& [usage, lines] : readExamples())
    {
        const auto verb = usage.substr(0, usage.find(' '));
        ASSERT_FALSE(lines.empty()) << verb << " has no example";
        EXPECT_THAT(lines, testing::Contains(testing::AnyOf(verb, testing::StartsWith(verb + " "))))
            << "an example of another verb";
        const bool isAbort = verb == "abort";
        const auto wrong = play(lines);
        // Who aborts has to be quicker than the other thread.
        EXPECT_TRUE(wrong.empty() || (isAbort && wrong == "scale: aborted; nothing has changed\n"))
            << testing::PrintToString(lines) << '\n'
            << wrong;
    }
}

TEST_F(ManPage, AndHelpKeepToTheWidthOfATerminal)
{
    const std::string helps = std::string(ModelEditor::Options::help) + Editor::getHelp();
    XmlModel model(manPageRobot, "robot.urdf");
    std::ostringstream out;
    Editor editor(
        model, [](const Output&) {}, out);
    for (const auto& usage : readVerbs())
    {
        editor.run("help " + usage.substr(0, usage.find(' ')));
    }
    std::istringstream lines(helps + out.str());
    for (std::string line; std::getline(lines, line);)
    {
        EXPECT_LE(line.size(), 80U) << line;
    }
}

} // namespace
