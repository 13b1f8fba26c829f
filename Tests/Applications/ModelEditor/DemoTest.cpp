#include "Tests/Applications/ModelEditor/ProgramRun.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
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
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, expected("feedthrough.txt"));
    EXPECT_EQ(directory.read("Feedthrough.xml"), expected("Feedthrough.xml"));
    EXPECT_EQ(directory.read("Feedthrough-copy.xml"), expected("Feedthrough-copy.xml"));
    EXPECT_EQ(directory.read("changes.script"), expected("changes.script"));
}

TEST(Demo, OfWorkOnAnotherThreadPrintsAndSavesWhatIsExpected)
{
    const TestDirectory directory;
    const auto result = play(directory, "fleet-of-26.urdf", "fleet.script");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, expected("fleet.txt"));
    std::istringstream fleet(readTestFile(besideTests("Data/Models/fleet-of-26.urdf")));
    std::istringstream saved(directory.read("fleet-of-26.urdf"));
    std::size_t changed = 0;
    for (std::string before, after; std::getline(fleet, before) && std::getline(saved, after);)
    {
        const bool isScaled =
            before.find("<inertia ") != std::string::npos || before.find("<mass ") != std::string::npos;
        EXPECT_EQ(before != after, isScaled) << before;
        changed += isScaled ? 1 : 0;
    }
    EXPECT_EQ(changed, 26U * 14U);
    EXPECT_EQ(saved.peek(), std::istringstream::traits_type::eof());
}

TEST(Demo, OfLargerStepsWritesAScriptThatDoesTheSameAgain)
{
    const TestDirectory directory;
    directory.write("m.xml", expected("Feedthrough-copy.xml"));
    const auto result = execute(
        {.directory = directory, .arguments = {"m.xml"}, .input = expected("changes.script") + "save\n"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(directory.read("m.xml"), expected("Feedthrough.xml"));
}

} // namespace
