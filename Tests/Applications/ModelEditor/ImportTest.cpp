#include "Applications/ModelEditor/Edits/Import.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/AnnotateCmd.h"
#include "Applications/ModelEditor/Edits/SetValue.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace
{

using ModelEditor::makeImport;
using ModelEditor::Part;
using ModelEditor::Selected;
using ModelEditor::XmlModel;
using testing::ElementsAre;
using Valdane::CommandManager;

// What a reader finds instead of files.
struct Files
{
    std::map<std::string, std::string> contents;
    int reads = 0;

    ModelEditor::FileReader getReader()
    {
        return [this](const std::string& path)
        {
            ++reads;
            if (!contents.contains(path))
            {
                throw Valdane::VdException(path + ": No such file or directory");
            }
            return contents.at(path);
        };
    }
};

std::string testModel(const std::string& name)
{
    return readTestFile(besideTests("Data/Models/" + name));
}

// What an XPath sees of a model, in document order: all but white space that is only layout.
std::string contentOf(const XmlModel& model)
{
    std::string content;
    for (const auto& node : model.select("//node() | //@*").nodes)
    {
        content += node.getAddress() + " = " + node.text + "\n";
    }
    return content;
}

std::string complaintOfImport(const std::string& target, const std::string& file)
{
    Files files{.contents = {{"m.xml", file}}};
    XmlModel model(target, "target");
    try
    {
        makeImport(model, "m.xml", files.getReader())->execute();
    }
    catch (const Valdane::VdException& exception)
    {
        EXPECT_EQ(model.toBytes(), target);
        return exception.what();
    }
    return "nothing";
}

TEST(Import, AppendsTheModulesOfTheFileAsTheyStandThere)
{
    Files files{
        .contents = {{"lib/gripper.urdf", "<?xml version='1.0'?>\n<robot name='g'>\n  <!-- two -->\n"
                                          "  <link  name = 'a'/>\n  <joint><![CDATA[<]]>&#65;</joint>\n"
                                          "</robot>\n<!-- end -->\n"}}};
    XmlModel model("<robot>\n  <link name='b'/>\n</robot>\n", "m");
    const auto command = makeImport(model, "lib/gripper.urdf", files.getReader());
    command->execute();
    EXPECT_EQ(model.toBytes(), "<robot>\n  <link name='b'/>\n  <!-- two -->\n"
                               "  <link  name = 'a'/>\n  <joint><![CDATA[<]]>&#65;</joint>\n</robot>\n");
    EXPECT_EQ(command->getDescription(), "Import 2 modules of gripper.urdf");
}

TEST(Import, ReadsTheFileWhenItStartsAndOnlyOnce)
{
    Files files{.contents = {{"m.xml", "<r><b/></r>"}}};
    XmlModel model("<r><a/></r>", "m");
    CommandManager manager;
    const auto command = makeImport(model, "m.xml", files.getReader());
    EXPECT_EQ(files.reads, 0);
    manager.addThreadedCommand(command);
    files.contents.clear();
    EXPECT_TRUE(manager.undo(1));
    EXPECT_EQ(model.toBytes(), "<r><a/></r>");
    EXPECT_TRUE(manager.redo(1));
    EXPECT_EQ(model.toBytes(), "<r><a/><b/></r>");
    EXPECT_EQ(files.reads, 1);
    EXPECT_EQ(command->getDescription(), "Import 1 module of m.xml");
}

TEST(Import, AFileThatCannotBeImportedChangesNothingAndIsNoStep)
{
    Files files{.contents = {{"bad.xml", "<r>\n<b></r>"}}};
    XmlModel model("<r><a/></r>", "m");
    CommandManager manager;
    manager.addThreadedCommand(makeImport(model, "bad.xml", files.getReader()));
    manager.addThreadedCommand(makeImport(model, "missing.xml", files.getReader()));
    EXPECT_EQ(model.toBytes(), "<r><a/></r>");
    EXPECT_FALSE(manager.canUndo());
}

TEST(Import, SaysWhatIsWrongWithTheFile)
{
    EXPECT_EQ(complaintOfImport("<r/>", "<r>\n<b></r>"), "m.xml:2:6: Start-end tags mismatch");
    EXPECT_EQ(complaintOfImport("<r/>", ""), "m.xml: the file is empty");
    EXPECT_EQ(complaintOfImport("<r/>", "<r/>"), "m.xml: the root element has no elements below it");
    EXPECT_EQ(complaintOfImport("<r/>", "<r>\n<b/>\n text</r>"),
              "m.xml:2:5: text beside the elements to import");
    Files files;
    XmlModel model("<r/>", "m");
    EXPECT_THAT([&] { makeImport(model, "no.xml", files.getReader())->execute(); },
                testing::ThrowsMessage<Valdane::VdException>("no.xml: No such file or directory"));
}

struct Pair
{
    std::string target;
    std::string imported;
};

void PrintTo(const Pair& tested, std::ostream* out)
{
    *out << tested.imported << " into " << tested.target;
}

class ImportOfModels : public testing::TestWithParam<Pair>
{
protected:
    std::string original = testModel(GetParam().target);
    Files files{.contents = {{GetParam().imported, testModel(GetParam().imported)}}};
    XmlModel model{original, GetParam().target};
    CommandManager manager;

    void import()
    {
        manager.addThreadedCommand(makeImport(model, GetParam().imported, files.getReader()));
    }
};

TEST_P(ImportOfModels, UndoneGivesTheVeryBytesAndRedoneTheSameModel)
{
    const std::string before = contentOf(model);
    import();
    import();
    const std::string imported = model.toBytes();
    const std::string content = contentOf(model);
    ASSERT_NE(imported, original);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_TRUE(manager.undo(2));
        EXPECT_EQ(model.toBytes(), original);
        EXPECT_EQ(contentOf(model), before);
        EXPECT_TRUE(manager.redo(2));
        EXPECT_EQ(model.toBytes(), imported);
        EXPECT_EQ(contentOf(model), content);
    }
}

TEST_P(ImportOfModels, TheSavedFileIsTheModel)
{
    import();
    import();
    const XmlModel saved(model.toBytes(), "saved");
    EXPECT_EQ(saved.getSize(), model.getSize());
    EXPECT_EQ(contentOf(saved), contentOf(model));
}

TEST_P(ImportOfModels, EveryAddressSelectsWhatItIsTheAddressOf)
{
    import();
    import();
    for (const auto& selected : model.select("//* | //@* | //text()").nodes)
    {
        const auto again = model.select(selected.getAddress()).nodes;
        ASSERT_EQ(again.size(), 1U) << selected.getAddress();
        EXPECT_EQ(again[0].object, selected.object) << selected.getAddress();
        EXPECT_EQ(again[0].name, selected.name) << selected.getAddress();
    }
}

// Imports and edits that succeed, undo and redo, all at random.
class RandomWalk
{
public:
    RandomWalk(XmlModel& walked, Files& source, unsigned int seed)
        : model(walked), files(source), random(seed)
    {
    }

    void go(CommandManager& manager)
    {
        const unsigned int kind = pick(20);
        if (kind < 2)
        {
            manager.undo(1 + pick(6));
        }
        else if (kind < 4)
        {
            manager.redo(1 + pick(6));
        }
        else if (kind == 4 && imports < 8)
        {
            ++imports;
            auto file = std::next(files.contents.begin(), pick(files.contents.size()));
            manager.addThreadedCommand(makeImport(model, file->first, files.getReader()));
        }
        else
        {
            edit(manager);
        }
    }

private:
    void edit(CommandManager& manager)
    {
        const auto all = model.select("//* | //@* | //text()").nodes;
        const auto& chosen = all[pick(all.size())];
        const std::string text = pick(3) == 0 ? "<&\"' \xC3\xA4" : "v" + std::to_string(pick(100));
        if (chosen.part == Part::Name)
        {
            EXPECT_TRUE(
                manager.addCommand(std::make_shared<Valdane::SetNameCmd>(chosen.object, text, "name")));
        }
        else if (chosen.part == Part::Value)
        {
            EXPECT_TRUE(manager.addCommand(ModelEditor::makeSetCommand(chosen, text, {})));
        }
        else
        {
            EXPECT_TRUE(manager.addCommand(std::make_shared<ModelEditor::AnnotateCmd>(
                chosen.object,
                std::vector<ModelEditor::AnnotateCmd::Change>{
                    {.name = chosen.part == Part::Annotation ? chosen.name : "n:a", .text = text}},
                "annotate")));
        }
    }

    unsigned int pick(std::size_t count)
    {
        return static_cast<unsigned int>(random()) % static_cast<unsigned int>(count);
    }

    XmlModel& model;
    Files& files;
    std::mt19937 random;
    int imports = 0;
};

TEST_P(ImportOfModels, EditedAtRandomItGivesTheSameBytesWheneverItIsUndoneAndRedone)
{
    files.contents["small.xml"] =
        "<r xmlns:q='u'>\n\t<link name='l'><a>t</a><a q:x='1'/></link><!-- c --></r>";
    for (unsigned int seed = 0; seed < 2; ++seed)
    {
        XmlModel walked(original, "walked");
        CommandManager history;
        RandomWalk walk(walked, files, seed);
        for (int i = 0; i < 100; ++i)
        {
            walk.go(history);
        }
        history.redo(1000);
        const std::string edited = walked.toBytes();
        EXPECT_NO_THROW(XmlModel(edited, "edited"));
        history.undo(1000);
        EXPECT_EQ(walked.toBytes(), original);
        history.redo(1000);
        EXPECT_EQ(walked.toBytes(), edited);
    }
}

INSTANTIATE_TEST_SUITE_P(Models, ImportOfModels,
                         testing::Values(Pair{"ur5_robot.urdf", "Feedthrough.xml"},
                                         Pair{"Feedthrough.xml", "ur5_robot.urdf"},
                                         Pair{"ur5_robot.urdf", "ur5_robot.urdf"}));

} // namespace
