#include "Tests/Applications/ModelEditor/ProgramRun.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

ProgramResult play(const TestDirectory& directory, const std::string& model, const std::string& script)
{
    return execute({.directory = directory,
                    .arguments = {besideTests("Data/Models/" + model).string(), "--script",
                                  besideTests("Data/Demos/" + script).string(), "--output", model}});
}

std::string expected(const std::string& name)
{
    return readTestFile(besideTests("Data/Expected/" + name));
}

TEST(Demo, PrintsAndSavesWhatIsExpected)
{
    const TestDirectory directory;
    const auto result = play(directory, "ur5_robot.urdf", "ur5.script");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, expected("ur5.txt"));
    EXPECT_EQ(directory.read("ur5_robot.urdf"), expected("ur5_robot.urdf"));
}

TEST(Demo, OfLargerStepsPrintsAndWritesWhatIsExpected)
{
    const TestDirectory directory;
    const auto result = play(directory, "Feedthrough.xml", "feedthrough.script");
    EXPECT_EQ(result.err,
              besideTests("Data/Demos/feedthrough.script").string() +
                  ": warning: not saved: /fmiModelDescription/TypeDefinitions, "
                  "/fmiModelDescription/DefaultExperiment, /fmiModelDescription/ModelVariables\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, expected("feedthrough.txt"));
    EXPECT_EQ(directory.read("Feedthrough.xml"), expected("Feedthrough.xml"));
    EXPECT_EQ(directory.read("Feedthrough-copy.xml"), expected("Feedthrough.xml"));
    EXPECT_EQ(directory.read("Feedthrough-changed.xml"), expected("Feedthrough-changed.xml"));
    EXPECT_EQ(directory.read("changes.script"), expected("changes.script"));
}

TEST(Demo, OfWorkOnAnotherThreadPrintsAndSavesWhatIsExpected)
{
    const TestDirectory directory;
    directory.write("ur5_robot.urdf", expected("ur5_robot.urdf"));
    const auto result = play(directory, "fleet-of-26.urdf", "fleet.script");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, expected("fleet.txt"));
    const std::string fleet = readTestFile(besideTests("Data/Models/fleet-of-26.urdf"));
    const std::string saved = directory.read("fleet-of-26.urdf");
    const std::string behindTheFleet = "\n</robot>\n";
    EXPECT_TRUE(saved.starts_with(fleet.substr(0, fleet.rfind(behindTheFleet))));
    EXPECT_NE(saved.find("<link name=\"gripper\"/>"), std::string::npos);
}

TEST(Demo, OfLargerStepsWritesAScriptThatDoesTheSameAgain)
{
    const TestDirectory directory;
    directory.write("m.xml", expected("Feedthrough.xml"));
    const auto result = execute(
        {.directory = directory, .arguments = {"m.xml"}, .input = expected("changes.script") + "save\n"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(directory.read("m.xml"), expected("Feedthrough-changed.xml"));
}

} // namespace
