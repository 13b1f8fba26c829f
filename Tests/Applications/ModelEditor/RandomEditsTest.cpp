#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Tests/Applications/ModelEditor/ProgramRun.h"
#include "Tests/Applications/ModelEditor/ScriptWriter.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using ModelEditor::XmlModel;

struct RandomScript
{
    std::string model;
    unsigned int seed;
};

void PrintTo(const RandomScript& tested, std::ostream* out)
{
    *out << tested.model << " with seed " << tested.seed;
}

class RandomEdits : public testing::TestWithParam<RandomScript>
{
};

TEST_P(RandomEdits, UndoneGiveTheFileAndRedoneTheEditedFile)
{
    const std::string original = readTestFile(besideTests("Data/Models/" + GetParam().model));
    ScriptWriter writer(original, GetParam().seed);
    const std::string edits = writer.writeEdits(500);
    const TestDirectory directory;
    directory.write("model", original);
    directory.write("script",
                    "save fresh\n" + edits + "save edited\nundo 9999\nsave undone\nredo 9999\nsave redone\n");
    const auto result = execute({.directory = directory, .arguments = {"model", "--script", "script"}});
    ASSERT_EQ(result.err, "");
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(directory.read("fresh"), original);
    EXPECT_EQ(directory.read("undone"), original);
    EXPECT_EQ(directory.read("model"), original);
    EXPECT_EQ(directory.read("edited"), writer.getResult().toBytes());
    EXPECT_EQ(directory.read("redone"), directory.read("edited"));
    EXPECT_NE(directory.read("edited"), original);
    const XmlModel again(directory.read("edited"), "edited");
    EXPECT_EQ(again.findWarnings().count, 0);
    for (const auto* const xpath : {"string(/*)", "count(//*)", "count(//@*)"})
    {
        EXPECT_EQ(again.select(xpath).value, writer.getResult().select(xpath).value) << xpath;
    }
}

INSTANTIATE_TEST_SUITE_P(Models, RandomEdits,
                         testing::Values(RandomScript{"ur5_robot.urdf", 1}, RandomScript{"ur5_robot.urdf", 2},
                                         RandomScript{"ur5_robot.urdf", 3},
                                         RandomScript{"Feedthrough.xml", 1},
                                         RandomScript{"Feedthrough.xml", 2},
                                         RandomScript{"Feedthrough.xml", 3}));

} // namespace
