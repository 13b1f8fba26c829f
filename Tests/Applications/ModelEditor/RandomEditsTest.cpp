#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Tests/Applications/ModelEditor/ProgramRun.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace
{

using ModelEditor::Part;
using ModelEditor::Selected;
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

// Writes scripts of edits that all succeed, whatever the edits before them were.
class ScriptWriter
{
public:
    ScriptWriter(const XmlModel& model, unsigned int seed)
        : random(seed), values(model.select("//@*|//text()").nodes), elements(model.select("//*").nodes)
    {
    }

    std::string writeEdits(int count)
    {
        std::string script;
        while (count > 0)
        {
            script += writeLine(count);
        }
        return script;
    }

private:
    std::string writeLine(int& count)
    {
        const unsigned int kind = pick(20);
        const std::string element = pickFrom(elements).getAddress();
        if (kind == 0)
        {
            const std::string steps = std::to_string(pick(5));
            return "undo " + steps + "\nredo " + std::to_string(pick(5)) + "\n";
        }
        --count;
        if (kind <= 3)
        {
            return "annotate " + element + " note:n" + std::to_string(pick(4)) + " " + pickText() + "\n";
        }
        if (kind == 4)
        {
            // Annotated first, so that there is something to clear.
            --count;
            return "annotate " + element + " note:x y\nclear-annotations " + element + "\n";
        }
        if (kind == 5)
        {
            return "set " + element + "/@added" + std::to_string(pick(4)) + " " + pickText() + "\n";
        }
        return writeSet(pickFrom(values));
    }

    std::string writeSet(const Selected& value)
    {
        if (value.part == Part::Annotation)
        {
            return "annotate " + value.object->getAddress() + " " + value.name + " " + pickText() + "\n";
        }
        const std::string verb =
            value.part == Part::Name ? "rename " + value.object->getAddress() : "set " + value.getAddress();
        const std::string same = "'" + value.text + "'";
        return verb + " " + (value.part == Part::Value && pick(5) == 0 ? same : pickText()) + "\n";
    }

    std::string pickText()
    {
        static const std::vector<std::string> texts{
            "''",         "plain",    "007",          "-1.50", "true",          "'a < b & c > d'",
            "'\"q\"'",    "\"it's\"", "'  blanks  '", "'4.0'", "']]> &amp; x'", "'fl\xC3\xA4\xC3\x9Fig'",
            "'tab\there'"};
        return texts[pick(static_cast<unsigned int>(texts.size()))];
    }

    const Selected& pickFrom(const std::vector<Selected>& all)
    {
        return all[pick(static_cast<unsigned int>(all.size()))];
    }

    unsigned int pick(unsigned int count)
    {
        return static_cast<unsigned int>(random()) % count;
    }

    std::mt19937 random;
    std::vector<Selected> values;
    std::vector<Selected> elements;
};

class RandomEdits : public testing::TestWithParam<RandomScript>
{
};

TEST_P(RandomEdits, UndoneGiveTheFileAndRedoneTheEditedFile)
{
    const std::string original = readTestFile(besideTests("Data/Models/" + GetParam().model));
    const XmlModel model(original, GetParam().model);
    const std::string edits = ScriptWriter(model, GetParam().seed).writeEdits(1000);
    const TestDirectory directory;
    directory.write("model", original);
    directory.write("script", "save fresh\n" + edits +
                                  "redo 99\nsave edited\nundo 9999\nsave undone\nredo 9999\nsave redone\n");
    const auto result = execute({.directory = directory, .arguments = {"model", "--script", "script"}});
    ASSERT_EQ(result.err, "");
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(directory.read("fresh"), original);
    EXPECT_EQ(directory.read("undone"), original);
    EXPECT_EQ(directory.read("model"), original);
    EXPECT_EQ(directory.read("redone"), directory.read("edited"));
    EXPECT_NE(directory.read("edited"), original);
    EXPECT_NO_THROW(XmlModel(directory.read("edited"), "edited"));
}

INSTANTIATE_TEST_SUITE_P(Models, RandomEdits,
                         testing::Values(RandomScript{"ur5_robot.urdf", 1}, RandomScript{"ur5_robot.urdf", 2},
                                         RandomScript{"ur5_robot.urdf", 3},
                                         RandomScript{"Feedthrough.xml", 1},
                                         RandomScript{"Feedthrough.xml", 2},
                                         RandomScript{"Feedthrough.xml", 3}));

} // namespace
