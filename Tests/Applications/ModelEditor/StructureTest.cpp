#include "Applications/ModelEditor/Edits/Structure.h"

#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"

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
    for (const std::string where : {"--before", "--after"})
    {
        EXPECT_EQ(edited(makeMove, {"//b", "//b", where}, "<r><a/><b/><c/></r>"), "<r><a/><b/><c/></r>");
    }
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
    EXPECT_EQ(complaintOf(makeInsert, {"/cart", "<a/>\nx]]>y"}), "markup:2:2: ]]> in a text");
    EXPECT_EQ(complaintOf(makeInsert, {"/cart", "<!-- a -- b -->"}), "markup:1:8: -- in a comment");
    EXPECT_EQ(complaintOf(makeInsert, {"/cart", "<a b='&#0;'/>"}),
              "markup:1:7: &#0;, a character that XML cannot hold");
    EXPECT_EQ(complaintOf(makeInsert, {"/cart", "a &b;"}), "markup:1:3: &b; is not declared");
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
    EXPECT_EQ(complaintOf(makeWrap, {"//axle", "a/><b"}), "a/><b is not the name of an element");
    EXPECT_EQ(complaintOf(makeWrap, {"//axle", "xmlns:a"}), "xmlns:a is not the name of an element");
    EXPECT_EQ(complaintOf(makeWrap, {"//axle", "\xC3\x97"}), "\xC3\x97 is not the name of an element");
    EXPECT_EQ(complaintOf(makeWrap, {"//axle", "\xC2\xB7x"}), "\xC2\xB7x is not the name of an element");
    EXPECT_EQ(complaintOf(makeInsert, {"/cart", "<a b\xC3\x97='1'/>"}),
              "markup:1:5: U+00D7, which no name has");
    EXPECT_EQ(complaintOf(makeWrap, {"//hub | //b", "g"}),
              "//hub | //b selects nodes that are in others of them");
}

TEST(Structure, AnEntityThatTheFileDeclaresCanBeInserted)
{
    const std::string file = "<!DOCTYPE r [<!ENTITY e 'f'>]>\n<r><a>&e;</a></r>";
    EXPECT_EQ(edited(makeInsert, {"/r", "&e;"}, file),
              "<!DOCTYPE r [<!ENTITY e 'f'>]>\n<r><a>&e;</a>&e;</r>");
}

TEST(Structure, ATextThatWasInsertedCanBeSet)
{
    for (const std::string text : {"new", "\xEF\xBB\xBFnew"})
    {
        XmlModel model("<r><a/></r>", "m");
        makeInsert(model, {"//a", text}).command->execute();
        const auto set = makeSet(model, {"//a/text()", "other"}).command;
        set->execute();
        EXPECT_EQ(model.toBytes(), "<r><a>other</a></r>");
        set->undo();
        EXPECT_EQ(model.toBytes(), "<r><a>" + text + "</a></r>");
        EXPECT_EQ(model.select("string(//a)").value, text);
    }
}

TEST(Structure, WhatFollowsAByteOrderMarkCanBeSet)
{
    XmlModel model("<r/>", "m");
    makeInsert(model, {"/r", "\xEF\xBB\xBFt<a b='1'/>"}).command->execute();
    makeSet(model, {"//@b", "2"}).command->execute();
    EXPECT_EQ(model.toBytes(), "<r>\xEF\xBB\xBFt<a b='2'/></r>");
}

TEST(Structure, TextsThatMeetDoNotBecomeTheEndOfACDataSection)
{
    EXPECT_EQ(edited(makeDelete, {"//comment()"}, "<r>a]]<!-- b -->>c</r>"), "<r>a]]&gt;c</r>");
    EXPECT_EQ(edited(makeInsert, {"/r", "]>b"}, "<r>a]</r>"), "<r>a]]&gt;b</r>");
    EXPECT_EQ(edited(makeCopy, {"//a/text()", "//c"}, "<r><a>]]<b/>></a><c/></r>"),
              "<r><a>]]<b/>></a><c>]]&gt;</c></r>");
}

TEST(Structure, LineEndsThatMeetStayTwo)
{
    EXPECT_EQ(edited(makeDelete, {"//comment()"}, "<r>a\r<!-- b -->\nc</r>"), "<r>a\r&#10;c</r>");
    EXPECT_EQ(edited(makeDelete, {"//comment()"}, "<r>a\r\n<!-- b -->\r\nc</r>"), "<r>a\r\n\r\nc</r>");
    EXPECT_EQ(edited(makeDelete, {"//b"}, "<r>a\r<b/>\n</r>"), "<r>a\r&#10;</r>");
    EXPECT_EQ(edited(makeDelete, {"//comment()"}, "<r>a\r<!-- b -->\n<b/></r>"), "<r>a\r&#10;<b/></r>");
}

TEST(Structure, ManyThatFollowEachOtherGoAtOnceAndComeBack)
{
    const std::string file = "<r>\n <a/>\n <a/>x<b/>\n <!-- c -->\n <a><d/></a>\n</r>";
    EXPECT_EQ(edited(makeDelete, {"//a | //comment() | /r/text()"}, file), "<r><b/>\n</r>");
    EXPECT_EQ(edited(makeMove, {"//a", "/r/b"}, file), "<r>x<b><a/><a/><a><d/></a></b>\n <!-- c -->\n</r>");
}

// A command for each would look at all siblings each time.
TEST(Structure, ScatteredSiblingsChangeInOneStep)
{
    const std::string file = "<r>\n  <a/>\n  <b/>\n  <a/>\n  <c><a/><b/><a/></c>\n  <a/>\n</r>\n";
    XmlModel model(file, "m");
    const auto isMacroOf = [&](std::size_t count, const Edit& edit)
    {
        const auto macro = std::dynamic_pointer_cast<Valdane::MacroCommand>(edit.command);
        return macro == nullptr ? count == 1 : macro->size() == count;
    };
    EXPECT_TRUE(isMacroOf(1, makeDelete(model, {"/r/a"})));
    EXPECT_TRUE(isMacroOf(2, makeDelete(model, {"//a"})));
    EXPECT_TRUE(isMacroOf(1, makeInsert(model, {"/r/a", "<n/>", "--after"})));
    EXPECT_TRUE(isMacroOf(2, makeWrap(model, {"/r/a", "w"})));
    EXPECT_EQ(edited(makeDelete, {"//a"}, file), "<r>\n  <b/>\n  <c><b/></c>\n</r>\n");
    EXPECT_EQ(edited(makeDelete, {"//a | //b | //text()"}, file), "<r>\n  <c></c>\n</r>\n");
    EXPECT_EQ(edited(makeDelete, {"/r/node()"}, file), "<r></r>\n");
    EXPECT_EQ(edited(makeInsert, {"//a", "<n/>", "--after"}, file),
              "<r>\n  <a/>\n  <n/>\n  <b/>\n  <a/>\n  <n/>\n  <c><a/><n/><b/><a/><n/></c>\n  <a/>\n  "
              "<n/>\n</r>\n");
    EXPECT_EQ(edited(makeWrap, {"//a", "w"}, file),
              "<r>\n  <w>\n    <a/>\n  </w>\n  <b/>\n  <w>\n    <a/>\n  </w>\n"
              "  <c><w><a/></w><b/><w><a/></w></c>\n  <w>\n    <a/>\n  </w>\n</r>\n");
    EXPECT_EQ(edited(makeMove, {"/r/a", "/r/c", "--before"}, file),
              "<r>\n  <b/>\n  <a/>\n  <a/>\n  <a/>\n  <c><a/><b/><a/></c>\n</r>\n");
}

TEST(Structure, WhatIsMovedOrCopiedKeepsItsNamespaces)
{
    const std::string file = "<r xmlns:p='u&amp;v'><a xmlns:q='q' xmlns='d'><q:b c='q:t'/><e p:f='1'/></a>"
                             "<g xmlns:p='w'/><h/></r>";
    EXPECT_EQ(edited(makeCopy, {"//q:b", "/r/h"}, file),
              "<r xmlns:p='u&amp;v'><a xmlns:q='q' xmlns='d'><q:b c='q:t'/><e p:f='1'/></a>"
              "<g xmlns:p='w'/><h><q:b xmlns:q=\"q\" c='q:t'/></h></r>");
    EXPECT_EQ(edited(makeMove, {"//e", "/r/g"}, file),
              "<r xmlns:p='u&amp;v'><a xmlns:q='q' xmlns='d'><q:b c='q:t'/></a>"
              "<g xmlns:p='w'><e xmlns=\"d\" xmlns:p=\"u&amp;v\" p:f='1'/></g><h/></r>");
    EXPECT_EQ(edited(makeMove, {"/r/h", "//a", "--first"}, file),
              "<r xmlns:p='u&amp;v'><a xmlns:q='q' xmlns='d'><h xmlns=\"\"/><q:b c='q:t'/><e p:f='1'/></a>"
              "<g xmlns:p='w'/></r>");
    EXPECT_EQ(
        edited(makeCopy, {"//a", "/r/h"},
               "<r xmlns:p='u'><a><b xmlns:p='v' p:c=''/></a><h xmlns:p='w'/></r>"),
        "<r xmlns:p='u'><a><b xmlns:p='v' p:c=''/></a><h xmlns:p='w'><a><b xmlns:p='v' p:c=''/></a></h></r>");
    EXPECT_EQ(edited(makeMove, {"//a", "/r/h"},
                     "<r xmlns:p='u'><a><b xmlns:p='v'><p:c/></b></a><h xmlns:p='w'/></r>"),
              "<r xmlns:p='u'><h xmlns:p='w'><a><b xmlns:p='v'><p:c/></b></a></h></r>");
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

// From so many children on they are found by an index.
TEST(Structure, AddressesAmongManySiblingsFollowEachChange)
{
    std::string file = "<r>";
    for (int i = 1; i <= 50; ++i)
    {
        file += "<a n='" + std::to_string(i) + "'/>";
    }
    XmlModel model(file + "</r>", "m");
    const auto numberAt = [&](const std::string& element)
    {
        const auto nodes = model.select(element + "/@n").nodes;
        return nodes.empty() ? "none" : nodes.at(0).text;
    };
    EXPECT_EQ(numberAt("/r/a[50]"), "50");
    const auto deletion = makeDelete(model, {"/r/a[3]"}).command;
    deletion->execute();
    EXPECT_EQ(numberAt("/r/a[49]"), "50");
    EXPECT_EQ(numberAt("/r/a[3]"), "4");
    EXPECT_EQ(numberAt("/r/a[50]"), "none");
    deletion->undo();
    EXPECT_EQ(numberAt("/r/a[3]"), "3");
    EXPECT_EQ(numberAt("/r/a[50]"), "50");
    const auto insertion = makeInsert(model, {"/r", "<a n='new'/>", "--first"}).command;
    insertion->execute();
    EXPECT_EQ(numberAt("/r/a[51]"), "50");
    EXPECT_EQ(numberAt("/r/a[1]"), "new");
    insertion->undo();
    EXPECT_EQ(numberAt("/r/a[1]"), "1");
    EXPECT_EQ(numberAt("/r/a[51]"), "none");
}

TEST(Structure, TheNumberOfATextFollowsLayoutThatGoes)
{
    XmlModel model("<r>\n <a/>x<b/>y</r>", "m");
    const auto last = model.select("/r/text()[3]").nodes.at(0);
    EXPECT_EQ(last.getAddress(), "/r/text()[3]");
    const auto command = makeDelete(model, {"/r/a"}).command;
    command->execute();
    EXPECT_EQ(last.getAddress(), "/r/text()[2]");
    EXPECT_EQ(model.select("/r/text()[2]").nodes.at(0).text, "y");
    command->undo();
    EXPECT_EQ(last.getAddress(), "/r/text()[3]");
}

TEST(Structure, AnAttributeGoesWithItsElementAndNotBefore)
{
    XmlModel model("<r><a x='1'/><b x='2'/></r>", "m");
    std::vector<std::string> told;
    model.setChangeListener([&](const ModelEditor::XmlChange& change)
                            { told.push_back(change.object.getAddress() + " " + change.value); });
    makeDelete(model, {"//a | //@x"}).command->execute();
    EXPECT_EQ(told, (std::vector<std::string>{"/r/b @x", "/r a"}));
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
