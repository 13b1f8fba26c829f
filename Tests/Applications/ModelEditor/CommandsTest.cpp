// Each command of the editor is proved by the testing kit: undo and redo, each failure, aborts, modified modules.

#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/CheckCmd.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Applications/ModelEditor/Edits/Import.h"
#include "Applications/ModelEditor/Edits/ImportCmd.h"
#include "Applications/ModelEditor/Edits/ModelModules.h"
#include "Applications/ModelEditor/Edits/Replace.h"
#include "Applications/ModelEditor/Edits/ScaleValuesCmd.h"
#include "Applications/ModelEditor/Edits/Structure.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Service/CommandTesting/RandomHistories.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <functional>
#include <memory>
#include <new>
#include <ostream>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace ModelEditor;
using Valdane::Choices;
using Valdane::CommandBase;
using Valdane::CommandKit;
using Valdane::ModuleSnapshot;
using Valdane::Report;
using Valdane::Snapshot;

// The parser's memory is counted, and fails, like all other.
const bool isParserCounted = []
{
    pugi::set_memory_management_functions([](std::size_t size) { return ::operator new(size, std::nothrow); },
                                          [](void* block) { ::operator delete(block); });
    return true;
}();

const std::string arm = R"(<?xml version="1.0"?>
<robot name="arm" version="2" xmlns:note="urn:note">
  <link name='base' mass="4.0" count="7" limit="4294967295" fixed="true" note:by="me"/>
  <link name="tip" note:by='you' mass="0.5" note:at="home"><visual>two &amp; more<![CDATA[ <raw> ]]></visual></link>
  <joint type="fixed" link="hip"/>
</robot>
)";

const std::string gripper = "<robot><link name='finger' mass='1'/><joint>open</joint></robot>";

/// A model beside what notes its changes.
struct EditedModel
{
    explicit EditedModel(const std::function<void()>& tellOfChange)
    {
        model.setChangeListener(
            [this, tellOfChange](const XmlChange& change)
            {
                tellOfChange();
                modules->onChanged(change.object);
                if (change.child != nullptr)
                {
                    modules->onChanged(*change.child);
                }
            });
    }

    XmlModel model{arm, "arm"};
    std::shared_ptr<ModelModules> modules = std::make_shared<ModelModules>(model.getRoot());
    std::vector<std::string> findings;
};

/// What would be saved, what an XPath sees, what the objects have, and what a check has found.
std::string textOf(const EditedModel& edited)
{
    std::string text = edited.model.toBytes();
    for (const auto& finding : edited.findings)
    {
        text += finding + "\n";
    }
    for (const auto& node : edited.model.select("//node() | //@*").nodes)
    {
        text += node.getAddress() + " = " + node.text + "\n";
        const auto annotations = node.object->getDynamicAttributeCollection();
        if (node.part == Part::Element && annotations != nullptr)
        {
            for (const auto& [name, annotation] : *annotations)
            {
                text += "  " + name + ": " + annotation + "\n";
            }
        }
    }
    return text;
}

/// The root as a module has its own attributes and texts, and who its children are.
std::vector<ModuleSnapshot> modulesOf(const EditedModel& edited)
{
    const auto root = edited.model.getRoot();
    std::vector<ModuleSnapshot> modules;
    std::ostringstream own;
    for (const auto& attribute : root->getElement().attributes())
    {
        own << attribute.name() << " = " << attribute.value() << "\n";
    }
    for (const auto& node : root->getElement().children())
    {
        own << (node.type() == pugi::node_element ? "" : node.value());
    }
    for (const auto& child : root->getElements())
    {
        std::ostringstream markup;
        child->getElement().print(markup);
        modules.push_back({child.get(), child->getKey(), Snapshot(markup.str())});
        own << child->getKey() << "\n";
    }
    modules.push_back({root.get(), root->getKey(), Snapshot(own.str())});
    return modules;
}

/// The kit for the editor, whose listener may fail once the model is there.
struct EditorKit : CommandKit<EditedModel>
{
    /// @param added  what attributes to set in the model: address and text.
    explicit EditorKit(const std::vector<std::vector<std::string>>& added = {})
        : CommandKit(
              [this, added]
              {
                  auto isThere = std::make_shared<bool>(false);
                  const auto tell = [this, isThere]
                  {
                      if (*isThere)
                      {
                          failAt("tell of a change");
                      }
                  };
                  auto edited = std::make_unique<EditedModel>(tell);
                  for (const auto& arguments : added)
                  {
                      makeSet(edited->model, arguments).command->execute();
                  }
                  edited->modules->resetTo({});
                  *isThere = true;
                  return edited;
              },
              textOf)
    {
        setModules([](EditedModel& edited) { return edited.modules; }, modulesOf);
    }

    EditorKit(const EditorKit&) = delete;
    EditorKit& operator=(const EditorKit&) = delete;
    ~EditorKit() = default;
};

using Maker = CommandKit<EditedModel>::Maker;
using MakeEdit = Edit(const XmlModel&, const std::vector<std::string>&);

using MakeStructureEdit = Edit(XmlModel&, const std::vector<std::string>&);

Maker structure(MakeStructureEdit* make, const std::vector<std::string>& arguments)
{
    return Maker([=](EditedModel& edited) { return make(edited.model, arguments).command; });
}

Maker edit(MakeEdit* make, const std::vector<std::string>& arguments)
{
    return Maker([=](EditedModel& edited) { return make(edited.model, arguments).command; });
}

Maker scale(const std::string& xpath)
{
    return Maker(
        [=](EditedModel& edited)
        {
            const auto selected = edited.model.select(xpath).nodes.at(0);
            return std::make_shared<ScaleValuesCmd>(std::span(&selected, 1), 3.0,
                                                    std::make_shared<ScaleFailures>());
        });
}

std::shared_ptr<Valdane::ThreadedMacroCommand> makeScaleOfAll(EditedModel& edited,
                                                              const std::shared_ptr<ScaleFailures>& failures)
{
    auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Scale");
    for (const auto& selected : edited.model.select("//@mass | //@type").nodes)
    {
        macro->addCommand(std::make_shared<ScaleValuesCmd>(std::span(&selected, 1), 3.0, failures));
    }
    return macro;
}

// What is no number is left alone.
std::shared_ptr<CommandBase> makeScaleOfNumbers(EditedModel& edited)
{
    const auto failures = std::make_shared<ScaleFailures>();
    failures->areLeftAlone = true;
    return makeScaleOfAll(edited, failures);
}

// The same in one command.
std::shared_ptr<CommandBase> makeScaleAtOnce(EditedModel& edited)
{
    const auto failures = std::make_shared<ScaleFailures>();
    failures->areLeftAlone = true;
    const auto values = edited.model.select("//@mass | //@type").nodes;
    return std::make_shared<ScaleValuesCmd>(values, 3.0, failures);
}

std::shared_ptr<CommandBase> makeScaleOfTwo(EditedModel& edited)
{
    auto macro = makeScaleOfAll(edited, std::make_shared<ScaleFailures>());
    macro->removeLastCommand();
    return macro;
}

std::shared_ptr<CommandBase> makeAppend(EditedModel& edited)
{
    return std::make_shared<ImportCmd>(edited.model, "\n  <link name='hand'/>\n  <tool>drill</tool>",
                                       "Append");
}

std::shared_ptr<CheckCmd> makeCheck(EditedModel& edited)
{
    return std::make_shared<CheckCmd>(edited.model);
}

std::shared_ptr<CheckCmd> makeCheckThatTells(EditedModel& edited)
{
    auto check = makeCheck(edited);
    check->connectToRunFinishedSignal(
        [&edited](bool ok, const CommandBase* command)
        {
            if (ok)
            {
                edited.findings = dynamic_cast<const CheckCmd&>(*command).getFindings();
            }
        });
    return check;
}

// More than fits into a page of the parser's memory.
const std::string longText(33000, 'x');

struct ProvedRow
{
    std::string name;
    Maker make;
};

std::ostream& operator<<(std::ostream& out, const ProvedRow& row)
{
    return out << row.name;
}

const ProvedRow edits[] = {
    {"SetInt", edit(makeSet, {"//@count", "8"})},
    {"SetUnsignedInt", edit(makeSet, {"//@limit", "3000000000"})},
    {"SetDouble", edit(makeSet, {"//@mass[. = '4.0']", "1.25"})},
    {"SetBool", edit(makeSet, {"//@fixed", "false"})},
    {"SetAttributeText", edit(makeSet, {"//@type", "a < b & \"c\""})},
    {"SetLongText", edit(makeSet, {"//@type", longText})},
    {"SetReference", edit(makeSetMarkup, {"//@type", "a&nbsp;&#8364; & b"})},
    {"SetReferencesOfSeveral", edit(makeSetMarkup, {"//@type|//visual/text()[1]", "&own;"})},
    {"SetText", edit(makeSet, {"//visual/text()[1]", "<one>"})},
    {"SetCData", edit(makeSet, {"//visual/text()[2]", "still ]]> raw"})},
    {"SetName", edit(makeSet, {"//link[1]/@name", "foot"})},
    {"SetNamespaced", edit(makeSet, {"//link[2]/@note:by", "'them'"})},
    {"AddAttribute", edit(makeSet, {"//link[1]/@colour", "'red' & <blue>"})},
    {"AddLongAttribute", edit(makeSet, {"//joint/@colour", longText})},
    {"AddName", edit(makeSet, {"//joint/@name", "elbow"})},
    {"AddNamespaced", edit(makeSet, {"//joint/@note:by", "them"})},
    {"SetOfTheRoot", edit(makeSet, {"/*/@version", "3"})},
    {"SetSeveral", edit(makeSet, {"//@mass", "2.5"})},
    {"Replace", edit(makeReplace, {"//@*", "[ao](\\w)", "$1!"})},
    {"ReplaceOne", edit(makeReplace, {"//visual/text()[1]", "two & (.*)", "$1"})},
    {"Rename", edit(makeRename, {"//link[1]", "foot"})},
    {"RenameSeveral", edit(makeRename, {"//link", "part"})},
    {"Annotate", edit(makeAnnotate, {"//joint", "note:by", "them"})},
    {"AnnotateOver", edit(makeAnnotate, {"//link[1]", "note:by", "them"})},
    {"AnnotateBetween", edit(makeAnnotate, {"//link[2]", "note:by", "'them'"})},
    {"AnnotateLong", edit(makeAnnotate, {"//link[2]", "note:by", longText})},
    {"AnnotateSeveral", edit(makeAnnotate, {"//link", "note:at", "work"})},
    {"ClearAnnotations", edit(makeClearAnnotations, {"//link[2]", "note"})},
    {"ClearSeveral", edit(makeClearAnnotations, {"//link", "note"})},
    {"Scale", scale("//@count")},
    {"ScaleSeveral", makeScaleOfTwo},
    {"ScaleAtOnce", makeScaleAtOnce},
    {"Append", makeAppend},
    {"Insert", structure(makeInsert, {"/robot", "<link name='hand'><mass v='1'/></link><!-- c -->"})},
    {"InsertBelow", structure(makeInsert, {"//joint", "<axis note:by='me'/>"})},
    {"InsertTexts", structure(makeInsert, {"//visual", "three <b/> four"})},
    {"InsertFirst", structure(makeInsert, {"//visual", "zero", "--first"})},
    {"InsertSeveral", structure(makeInsert, {"//link", "<link/>", "--before"})},
    {"DeleteModule", structure(makeDelete, {"//link[2]"})},
    {"DeleteBelow", structure(makeDelete, {"//visual"})},
    {"DeleteText", structure(makeDelete, {"//visual/text()[1]"})},
    {"DeleteSeveral", structure(makeDelete, {"//link | //visual | //text()"})},
    {"DeleteAttribute", structure(makeDelete, {"//@count"})},
    {"DeleteName", structure(makeDelete, {"//link[1]/@name"})},
    {"DeleteAnnotation", structure(makeDelete, {"//link[2]/@note:by"})},
    {"DeleteAttributes", structure(makeDelete, {"//@* | //visual"})},
    {"Copy", structure(makeCopy, {"//visual", "//joint"})},
    {"CopyIntoItself", structure(makeCopy, {"//visual", "//visual"})},
    {"CopyText", structure(makeCopy, {"//visual/text()[2]", "//visual/text()[1]", "--before"})},
    {"Move", structure(makeMove, {"//visual", "//joint"})},
    {"MoveModule", structure(makeMove, {"//joint", "//link[1]", "--before"})},
    {"Wrap", structure(makeWrap, {"//link", "part"})},
};

class ModelEditorEdits : public testing::TestWithParam<ProvedRow>
{
};

TEST_P(ModelEditorEdits, AreProved)
{
    const Report report = EditorKit().all(GetParam().make);
    EXPECT_TRUE(report) << report;
}

INSTANTIATE_TEST_SUITE_P(, ModelEditorEdits, testing::ValuesIn(edits),
                         [](const auto& row) { return row.param.name; });

TEST(ModelEditorCommands, ImportIsProvedAndMayFailToRead)
{
    const EditorKit kit;
    const auto read = [&kit](const std::string&)
    {
        kit.failAt("read the file");
        return gripper;
    };
    const Report report =
        kit.all([&](EditedModel& edited) { return makeImport(edited.model, "gripper.urdf", read); });
    EXPECT_TRUE(report) << report;
}

// Not all(), because aborts() wants to see what a whole run does.
TEST(ModelEditorCommands, CheckChangesNothingAndTellsNothingIfAborted)
{
    const EditorKit kit;
    Report report = kit.misuse(makeCheck);
    report.add(kit.roundTrip(makeCheck, {.changesNothing = true}));
    report.add(kit.failures(makeCheck));
    report.add(kit.progress(makeCheck, 0.11));
    report.add(kit.tracking(makeCheck));
    report.add(kit.aborts(makeCheckThatTells));
    EXPECT_TRUE(report) << report;
}

// Not all(): it does less of its work if it fails, as it is meant to.
TEST(ModelEditorCommands, ScaleThatSkipsFailuresIsProved)
{
    const EditorKit kit;
    Report report = kit.roundTrip(makeScaleOfNumbers);
    report.add(kit.aborts(makeScaleOfNumbers));
    report.add(kit.tracking(makeScaleOfNumbers));
    EXPECT_TRUE(report) << report;
}

// What is deleted comes back as the objects that it was, and what is put in under the same paths.
TEST(ModelEditorCommands, FindTheirObjectsAfterStructureCameAndWent)
{
    const EditorKit kit;
    const auto remove = structure(makeDelete, {"//link[2]"});
    Report report = kit.staleObjects(edit(makeSet, {"//link[2]/@mass", "2.5"}), remove);
    report.add(kit.staleObjects(edit(makeSet, {"//visual/text()[2]", "2.5"}), remove));
    report.add(kit.staleObjects(edit(makeAnnotate, {"//visual", "note:by", "me"}), remove));
    report.add(kit.staleObjects(edit(makeClearAnnotations, {"//link[2]", "note"}), remove));
    report.add(kit.staleObjects(edit(makeSet, {"//visual/@colour", "red"}), remove));
    report.add(kit.staleObjects(structure(makeDelete, {"//link[2]/@*"}), remove));
    report.add(kit.staleObjects(structure(makeInsert, {"//visual", "<b/>"}), remove));
    report.add(kit.staleObjects(structure(makeDelete, {"//visual"}), remove));
    report.add(kit.staleObjects(structure(makeWrap, {"//visual", "group"}), remove));
    report.add(kit.staleObjects(scale("//link[2]/@mass"), remove));
    EXPECT_TRUE(report) << report;
}

// Such an attribute is set, scaled and renamed like those of the file.
TEST(ModelEditorCommands, AreProvedOnAttributesThatWereAdded)
{
    const EditorKit kit({{"//joint/@size", "2.5"}, {"//joint/@name", "elbow"}});
    const std::vector<Maker> makers{edit(makeSet, {"//@size", "<wide>"}),
                                    scale("//@size"),
                                    edit(makeRename, {"//joint", "knee"}),
                                    edit(makeSet, {"//joint/@colour", "red"}),
                                    edit(makeAnnotate, {"//joint", "note:at", "home"}),
                                    structure(makeDelete, {"//@size | //joint/@name"})};
    for (const auto& make : makers)
    {
        const Report report = kit.all(make);
        EXPECT_TRUE(report) << report;
    }
}

TEST(ModelEditorCommands, AreProvedInAMacro)
{
    const Report report = EditorKit().inMacro({makeAppend, edit(makeSet, {"//@mass", "2.5"}),
                                               edit(makeRename, {"//link", "part"}), scale("//@count"),
                                               edit(makeAnnotate, {"//link", "note:by", "them"}),
                                               edit(makeClearAnnotations, {"//link[1]", "note"})});
    EXPECT_TRUE(report) << report;
}

/// A maker of an edit of any node that @p xpath selects now.
CommandKit<EditedModel>::Generator
anyEdit(const std::string& xpath,
        const std::function<Edit(const XmlModel&, const Selected&, Choices&)>& makeAny)
{
    return [=](EditedModel& edited, Choices& choices) -> std::shared_ptr<CommandBase>
    {
        const auto nodes = edited.model.select(xpath).nodes;
        return nodes.empty() ? nullptr
                             : makeAny(edited.model, nodes[choices.below(nodes.size())], choices).command;
    };
}

std::string anyOf(const std::vector<std::string>& texts, Choices& choices)
{
    return texts[choices.below(texts.size())];
}

// Comments have no address of their own: the first one goes then.
std::shared_ptr<CommandBase> makeDeleteOf(XmlModel& model, const Selected& node)
{
    const bool isComment = node.part == Part::Unsupported;
    return makeDelete(model, {isComment ? "(/robot//comment())[1]" : node.getAddress()}).command;
}

TEST(ModelEditorCommands, AreRightInRandomHistories)
{
    const auto setNumber = [](const XmlModel& model, const Selected& node, Choices& choices)
    {
        return makeSet(model, {node.getAddress(), anyOf({"4.0", "1.5", "0.25", "100"}, choices)});
    };
    const auto setText = [](const XmlModel& model, const Selected& node, Choices& choices)
    {
        return makeSet(model, {node.getAddress(), anyOf({"", " ", "open", "]]>", "<a & 'b'>"}, choices)});
    };
    const auto rename = [](const XmlModel& model, const Selected& node, Choices& choices)
    {
        return makeRename(model, {node.getAddress(), anyOf({"base", "tip", "\"hand\""}, choices)});
    };
    const auto annotate = [](const XmlModel& model, const Selected& node, Choices& choices)
    {
        return makeAnnotate(model, {node.getAddress(), anyOf({"note:by", "note:at", "note:x"}, choices),
                                    anyOf({"me", "you", "it's <\"me\">"}, choices)});
    };
    const auto add = [](const XmlModel& model, const Selected& node, Choices& choices)
    {
        return makeSet(model, {node.getAddress() + anyOf({"/@added", "/@name", "/@more"}, choices),
                               anyOf({"", "1.5", "it's <\"me\">"}, choices)});
    };
    const auto clear = [](const XmlModel& model, const Selected& node, Choices&)
    {
        return makeClearAnnotations(model, {node.getAddress(), "note"});
    };
    const auto append = [](EditedModel& edited, Choices& choices)
    {
        return std::make_shared<ImportCmd>(
            edited.model,
            anyOf({"\n  <link name='hand' mass='1.5'/>", "<tool>drill</tool><!-- end -->"}, choices),
            "Append");
    };
    const auto insert = [](EditedModel& edited, Choices& choices)
    {
        const auto nodes = edited.model.select("//*").nodes;
        const auto& node = nodes[choices.below(nodes.size())];
        const std::string markup =
            anyOf({"<link name='a' mass='1.5'/>", "<b/><!-- c -->", "text <b>x</b>"}, choices);
        return makeInsert(edited.model, {node.getAddress(), markup}).command;
    };
    const auto remove = [](EditedModel& edited, Choices& choices) -> std::shared_ptr<CommandBase>
    {
        const auto nodes = edited.model.select("/robot//node()").nodes;
        return nodes.empty() || choices.below(2) == 0
                   ? nullptr
                   : makeDeleteOf(edited.model, nodes[choices.below(nodes.size())]);
    };
    const auto removeAttribute = [](EditedModel& edited, Choices& choices) -> std::shared_ptr<CommandBase>
    {
        const auto nodes = edited.model.select("//@*").nodes;
        return nodes.empty() || choices.below(2) == 0
                   ? nullptr
                   : makeDelete(edited.model, {nodes[choices.below(nodes.size())].getAddress()}).command;
    };
    const auto copy = [](EditedModel& edited, Choices& choices) -> std::shared_ptr<CommandBase>
    {
        const auto nodes = edited.model.select("/robot//*").nodes;
        return nodes.empty() ? nullptr
                             : makeCopy(edited.model, {nodes[choices.below(nodes.size())].getAddress(),
                                                       "/robot", "--first"})
                                   .command;
    };
    const Report report = atRandom(
        EditorKit(), {insert, remove, removeAttribute, copy, anyEdit("//@mass", setNumber),
                      anyEdit("//joint/@* | //text()", setText), anyEdit("//*[@name]", rename),
                      anyEdit("//*", annotate), anyEdit("//*", add), anyEdit("//*[@note:*]", clear), append});
    EXPECT_TRUE(report) << report;
}

} // namespace
