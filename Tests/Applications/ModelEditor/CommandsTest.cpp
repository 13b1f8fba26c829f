// Each command of the editor is proved by the testing kit: undo and redo, each failure, modified modules.

#include "Applications/ModelEditor/Edits/Edits.h"
#include "Applications/ModelEditor/Edits/ImportCmd.h"
#include "Applications/ModelEditor/Edits/Replace.h"
#include "Applications/ModelEditor/Edits/Structure.h"
#include "Service/CommandTesting/RandomHistories.h"
#include "Tests/Applications/ModelEditor/EditorKit.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace EditorCommands;
using namespace ModelEditor;
using Valdane::Choices;
using Valdane::CommandBase;
using Valdane::CommandKit;
using Valdane::Report;

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
    {"SetAllNamespaced", edit(makeSet, {"//@note:* | //joint/@note:at", "'them'"})},
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
    {"DeleteScattered", structure(makeDelete, {"//link[1] | //joint | //visual/text()"})},
    {"InsertScattered",
     structure(makeInsert, {"//link[1] | //joint | //visual/text()", "<pin/>x", "--after"})},
    {"MoveScattered", structure(makeMove, {"//link[1] | //visual/text()", "//joint"})},
    {"WrapScattered", structure(makeWrap, {"//link[1] | //joint | //visual/text()", "part"})},
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
