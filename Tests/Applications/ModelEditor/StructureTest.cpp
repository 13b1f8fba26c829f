#include "Applications/ModelEditor/Edits/Structure.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{

using namespace ModelEditor;

const std::string wheels = "<cart>\n"
                           "  <!-- one -->\n"
                           "  <wheel name='l'/>\n"
                           "\n"
                           "  <wheel name='r'><hub>h<b/>i</hub></wheel>\n"
                           "  <axle/>\n"
                           "</cart>\n";

using Make = Edit(XmlModel&, const std::vector<std::string>&);

// The file after the edit, which gives the very bytes again when it is undone, and the same ones when it is redone.
std::string edited(Make* make, const std::vector<std::string>& arguments, const std::string& file = wheels)
{
    XmlModel model(file, "m");
    const auto command = make(model, arguments).command;
    command->execute();
    const auto after = model.toBytes();
    for (int i = 0; i < 2; ++i)
    {
        command->undo();
        EXPECT_EQ(model.toBytes(), file);
        command->redo();
        EXPECT_EQ(model.toBytes(), after);
    }
    EXPECT_NO_THROW(XmlModel(after, "after"));
    return after;
}

std::string complaintOf(Make* make, const std::vector<std::string>& arguments)
{
    XmlModel model(wheels, "m");
    try
    {
        make(model, arguments).command->execute();
    }
    catch (const Valdane::VdException& exception)
    {
        EXPECT_EQ(model.toBytes(), wheels);
        return exception.what();
    }
    return "nothing";
}

TEST(Structure, WhatIsInsertedStandsLikeItsNeighbours)
{
    const std::string file = "<r>\r\n\t<a>\r\n\t\t<b/>\r\n\t</a>\r\n\t<c/>\r\n</r>";
    EXPECT_EQ(edited(makeInsert, {"/r", "<x/> <!-- y -->"}, file),
              "<r>\r\n\t<a>\r\n\t\t<b/>\r\n\t</a>\r\n\t<c/>\r\n\t<x/>\r\n\t<!-- y -->\r\n</r>");
    EXPECT_EQ(edited(makeInsert, {"//a", "<x/>", "--first"}, file),
              "<r>\r\n\t<a>\r\n\t\t<x/>\r\n\t\t<b/>\r\n\t</a>\r\n\t<c/>\r\n</r>");
    EXPECT_EQ(edited(makeInsert, {"//c", "<x/>"}, file),
              "<r>\r\n\t<a>\r\n\t\t<b/>\r\n\t</a>\r\n\t<c>\r\n\t\t<x/>\r\n\t</c>\r\n</r>");
    EXPECT_EQ(edited(makeInsert, {"/r/*", "<x/>", "--before"}, file),
              "<r>\r\n\t<x/>\r\n\t<a>\r\n\t\t<b/>\r\n\t</a>\r\n\t<x/>\r\n\t<c/>\r\n</r>");
    EXPECT_EQ(edited(makeInsert, {"/r", "<x/>"}, "<r/>"), "<r><x/></r>");
    EXPECT_EQ(edited(makeInsert, {"/r", "<x/>"}, "<r/>\n"), "<r>\n  <x/>\n</r>\n");
    EXPECT_EQ(edited(makeInsert, {"//a", "b<x/> c"}, "<r>\n <a/>\n</r>"), "<r>\n <a>b<x/> c</a>\n</r>");
}

TEST(Structure, AnEmptyLineBeforeANeighbourIsNotRepeated)
{
    EXPECT_EQ(edited(makeInsert, {"//wheel[2]", "<x/>", "--after"}),
              "<cart>\n  <!-- one -->\n  <wheel name='l'/>\n\n"
              "  <wheel name='r'><hub>h<b/>i</hub></wheel>\n  <x/>\n  <axle/>\n</cart>\n");
}

TEST(Structure, WhatIsDeletedTakesItsLineWithIt)
{
    EXPECT_EQ(edited(makeDelete, {"//axle"}), "<cart>\n  <!-- one -->\n  <wheel name='l'/>\n\n"
                                              "  <wheel name='r'><hub>h<b/>i</hub></wheel>\n</cart>\n");
    EXPECT_EQ(edited(makeDelete, {"//comment() | //b"}),
              "<cart>\n  <wheel name='l'/>\n\n"
              "  <wheel name='r'><hub>hi</hub></wheel>\n  <axle/>\n</cart>\n");
    EXPECT_EQ(edited(makeDelete, {"//hub/text()"}),
              "<cart>\n  <!-- one -->\n  <wheel name='l'/>\n\n"
              "  <wheel name='r'><hub><b/></hub></wheel>\n  <axle/>\n</cart>\n");
    EXPECT_EQ(edited(makeDelete, {"/cart/node()"}), "<cart></cart>\n");
}

TEST(Structure, AnAttributeThatIsDeletedTakesTheBlanksBeforeIt)
{
    const std::string file = "<r xmlns:p='u'  x = '1'\n y=\"2&#160;\"\tp:z='3' name='n' ><a x='4'/></r>\n";
    EXPECT_EQ(edited(makeDelete, {"/r/@x"}, file),
              "<r xmlns:p='u'\n y=\"2&#160;\"\tp:z='3' name='n' ><a x='4'/></r>\n");
    EXPECT_EQ(edited(makeDelete, {"//@x | //@p:z"}, file),
              "<r xmlns:p='u'\n y=\"2&#160;\" name='n' ><a/></r>\n");
    EXPECT_EQ(edited(makeDelete, {"/r/@name"}, file),
              "<r xmlns:p='u'  x = '1'\n y=\"2&#160;\"\tp:z='3' ><a x='4'/></r>\n");
    EXPECT_EQ(edited(makeDelete, {"//@*"}, file), "<r xmlns:p='u' ><a/></r>\n");
    EXPECT_EQ(edited(makeDelete, {"//a/@x | //a | //@y"}, file),
              "<r xmlns:p='u'  x = '1'\tp:z='3' name='n' ></r>\n");
}

// What was set before is there again, in its place.
TEST(Structure, ADeletedAttributeCanBeAddedAgain)
{
    XmlModel model("<r a='1' p:b='2' c='3'/>", "m");
    std::vector<std::shared_ptr<Valdane::CommandBase>> done;
    std::vector<std::string> states;
    const auto run = [&](const Edit& edit)
    {
        states.push_back(model.toBytes());
        done.push_back(edit.command);
        edit.command->execute();
        return model.toBytes();
    };
    EXPECT_EQ(run(makeSet(model, {"/r/@a", "4"})), "<r a='4' p:b='2' c='3'/>");
    EXPECT_EQ(run(makeDelete(model, {"/r/@c"})), "<r a='4' p:b='2'/>");
    EXPECT_EQ(run(makeDelete(model, {"/r/@a"})), "<r p:b='2'/>");
    EXPECT_EQ(run(makeSet(model, {"/r/@a", "5"})), "<r a='5' p:b='2'/>");
    EXPECT_EQ(run(makeSet(model, {"/r/@d", "6"})), "<r a='5' p:b='2' d=\"6\"/>");
    EXPECT_EQ(run(makeDelete(model, {"/r/@d"})), "<r a='5' p:b='2'/>");
    EXPECT_EQ(run(makeDelete(model, {"/r/@a"})), "<r p:b='2'/>");
    EXPECT_EQ(run(makeSet(model, {"/r/@c", "7"})), "<r p:b='2' c='7'/>");
    EXPECT_EQ(run(makeSet(model, {"/r/@c", "3"})), "<r p:b='2' c='3'/>");
    while (!done.empty())
    {
        done.back()->undo();
        EXPECT_EQ(model.toBytes(), states.back());
        done.pop_back();
        states.pop_back();
    }
}

// It is a picture of what was there before.
TEST(Structure, ACopyOfAnElementCanStandInTheElement)
{
    EXPECT_EQ(edited(makeCopy, {"//hub", "//hub"}),
              "<cart>\n  <!-- one -->\n  <wheel name='l'/>\n\n"
              "  <wheel name='r'><hub>h<b/>i<hub>h<b/>i</hub></hub></wheel>\n  <axle/>\n</cart>\n");
    EXPECT_EQ(edited(makeCopy, {"/r/a", "/r/a", "--first"}, "<r>\n <a>\n  <b/>\n </a>\n</r>"),
              "<r>\n <a>\n  <a>\n  <b/>\n </a>\n  <b/>\n </a>\n</r>");
    EXPECT_EQ(edited(makeCopy, {"/r/a", "/r/a/b/c"}, "<r><a><b><c/></b></a></r>"),
              "<r><a><b><c><a><b><c/></b></a></c></b></a></r>");
}

TEST(Structure, WhatIsMovedGoesAndWhatIsCopiedStays)
{
    EXPECT_EQ(edited(makeMove, {"//axle", "//wheel[1]", "--before"}),
              "<cart>\n  <!-- one -->\n  <axle/>\n  <wheel name='l'/>\n\n"
              "  <wheel name='r'><hub>h<b/>i</hub></wheel>\n</cart>\n");
    EXPECT_EQ(edited(makeMove, {"//wheel[1]", "/cart"}),
              "<cart>\n  <!-- one -->\n\n"
              "  <wheel name='r'><hub>h<b/>i</hub></wheel>\n  <axle/>\n"
              "  <wheel name='l'/>\n</cart>\n");
    EXPECT_EQ(edited(makeMove, {"/r/a", "/r"}, "<r>\n <a/>\n</r>"), "<r>\n <a/>\n</r>");
    EXPECT_EQ(edited(makeCopy, {"//hub/node()", "//axle"}),
              "<cart>\n  <!-- one -->\n  <wheel name='l'/>\n\n"
              "  <wheel name='r'><hub>h<b/>i</hub></wheel>\n  <axle>h<b/>i</axle>\n</cart>\n");
}

TEST(Structure, AWrappedNodeStandsInANewElement)
{
    EXPECT_EQ(edited(makeWrap, {"//axle | //hub", "group"}),
              "<cart>\n  <!-- one -->\n  <wheel name='l'/>\n\n"
              "  <wheel name='r'><group><hub>h<b/>i</hub></group></wheel>\n"
              "  <group>\n    <axle/>\n  </group>\n</cart>\n");
}

TEST(Structure, SaysWhatCannotBeDone)
{
    EXPECT_EQ(complaintOf(makeInsert, {"/cart", "<a>\n <b></a>"}), "markup:2:7: Start-end tags mismatch");
    EXPECT_EQ(complaintOf(makeInsert, {"/cart", " "}), "there is nothing in the markup");
    EXPECT_EQ(complaintOf(makeInsert, {"/cart", "<a/>", "--last"}),
              "--last is none of --first, --before and --after");
    EXPECT_EQ(complaintOf(makeInsert, {"/cart", "<a/>", "--after"}), "/cart is the root element");
    EXPECT_EQ(complaintOf(makeInsert, {"//wheel[1]/@name", "<a/>"}),
              "/cart/wheel[1]/@name is not an element");
    EXPECT_EQ(complaintOf(makeDelete, {"/cart"}), "/cart is the root element");
    EXPECT_EQ(complaintOf(makeMove, {"//@name", "//axle"}), "/cart/wheel[1]/@name is an attribute");
    EXPECT_EQ(complaintOf(makeMove, {"//wheel[2]", "//hub"}),
              "/cart/wheel[2]/hub is in what is to be put there");
    EXPECT_EQ(complaintOf(makeCopy, {"//axle", "//wheel"}), "//wheel selects 2 nodes; name one");
    EXPECT_EQ(complaintOf(makeWrap, {"//axle", "a b='c'"}), "a b='c' is not the name of an element");
    EXPECT_EQ(complaintOf(makeWrap, {"//hub | //b", "g"}),
              "//hub | //b selects nodes that are in others of them");
}

TEST(Structure, AddressesAndObjectsFollowTheNodes)
{
    XmlModel model("<r>\n <a n='1'/>\n <a n='2'/>\n <a n='3'/>\n</r>", "m");
    const auto third = model.select("//a[3]").nodes.at(0).object;
    const auto command = makeDelete(model, {"//a[2]"}).command;
    command->execute();
    EXPECT_EQ(third->getAddress(), "/r/a[2]");
    EXPECT_EQ(model.select("/r/a[2]").nodes.at(0).object, third);
    command->undo();
    EXPECT_EQ(third->getAddress(), "/r/a[3]");
    EXPECT_EQ(model.select("/r/a[3]").nodes.at(0).object, third);
}

TEST(Structure, TheTextThatIsLeftHasAnAddressWithoutANumber)
{
    XmlModel model(wheels, "m");
    const auto second = model.select("//hub/text()[2]").nodes.at(0);
    EXPECT_EQ(second.getAddress(), "/cart/wheel[2]/hub/text()[2]");
    makeDelete(model, {"//hub/text()[1]"}).command->execute();
    EXPECT_EQ(second.getAddress(), "/cart/wheel[2]/hub/text()");
    EXPECT_EQ(model.select(second.getAddress()).nodes.at(0).text, "i");
}

TEST(Structure, APrefixThatIsNotDeclaredIsTold)
{
    XmlModel model("<r xmlns:p='u'/>", "m");
    EXPECT_EQ(makeInsert(model, {"/r", "<p:a/>"}).note, "");
    EXPECT_EQ(makeInsert(model, {"/r", "<a q:b='1' q:c='2'/>"}).note,
              "  note: there is no xmlns:q around it; programs that know namespaces want one\n");
}

} // namespace
