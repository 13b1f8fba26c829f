#include "Tests/Examples/ModelEditor/ProgramRun.h"
#include "Tests/Examples/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

namespace
{

TEST(Demo, PrintsAndSavesWhatIsExpected)
{
    const TestDirectory directory;
    const auto result =
        execute({.directory = directory,
                 .arguments = {besideTests("Data/Models/ur5_robot.urdf").string(), "--script",
                               besideTests("Data/Demos/ur5.script").string(), "--output", "ur5_robot.urdf"}});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, readTestFile(besideTests("Data/Expected/ur5.txt")));
    EXPECT_EQ(directory.read("ur5_robot.urdf"), readTestFile(besideTests("Data/Expected/ur5_robot.urdf")));
}

} // namespace
