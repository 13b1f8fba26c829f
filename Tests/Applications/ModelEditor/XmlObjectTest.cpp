#include "Applications/ModelEditor/Document/XmlObject.h"

#include "Applications/ModelEditor/Document/NamedXmlObject.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace
{

using ModelEditor::NamedXmlObject;
using ModelEditor::XmlChange;
using ModelEditor::XmlModel;
using ModelEditor::XmlObject;
using Valdane::AttributeDescription;
using Valdane::DynamicAttributeCollection;
using ValdaneTests::ElementsAre;

AttributeDescription<std::string>& attribute(const XmlModel& model, const std::string& name)
{
    const auto description = model.getRoot()->getAttributeDescription(name);
    return dynamic_cast<AttributeDescription<std::string>&>(*description);
}

std::string after(XmlModel& model, const std::string& name, const std::string& value)
{
    attribute(model, name).getSetter()(value);
    return model.toBytes();
}

TEST(XmlObject, DescribesAttributesAndTextsByTheirText)
{
    const XmlModel model("<a i='-1' s='x &amp; y'>7</a>", "m");
    EXPECT_EQ(attribute(model, "i").getGetter()(), "-1");
    EXPECT_EQ(attribute(model, "s").getGetter()(), "x & y");
    EXPECT_EQ(attribute(model, "text()").getGetter()(), "7");
}

TEST(XmlObject, NamesNamespacesAndWhatIsNotThereAreNotDescribed)
{
    const XmlModel model("<a name='n' n:x='1' xmlns='u' xmlns:n='v'> <b/> </a>", "m");
    for (const std::string name : {"name", "n:x", "xmlns", "xmlns:n", "no", "", "text()", "text()[1]"})
    {
        EXPECT_EQ(model.getRoot()->getAttributeDescription(name), nullptr) << name;
    }
    EXPECT_THAT(model.getRoot()->getAttributeNames(), ElementsAre());
}

TEST(XmlObject, ADescriptionIsMadeOnce)
{
    XmlModel model("<a d='1'/>", "m");
    const auto first = model.getRoot()->getAttributeDescription("d");
    after(model, "d", "five");
    EXPECT_EQ(model.getRoot()->getAttributeDescription("d"), first);
}

TEST(XmlObject, SettingChangesOnlyTheValueInTheFile)
{
    XmlModel model("<?xml version='1.0' ?><a  x = '1.50'\n y=\"2\" ><!-- x --></a >", "m");
    EXPECT_EQ(after(model, "x", "4.0"), "<?xml version='1.0' ?><a  x = '4.0'\n y=\"2\" ><!-- x --></a >");
    EXPECT_EQ(after(model, "y", "3"), "<?xml version='1.0' ?><a  x = '4.0'\n y=\"3\" ><!-- x --></a >");
    EXPECT_EQ(after(model, "x", "1.50"), "<?xml version='1.0' ?><a  x = '1.50'\n y=\"3\" ><!-- x --></a >");
}

TEST(XmlObject, EntitiesComeBackWithTheValue)
{
    XmlModel model("<a x='&#65; &own; &lt;'>a&#10;b\r\nc</a>", "m");
    EXPECT_EQ(attribute(model, "x").getGetter()(), "A &own; <");
    EXPECT_EQ(attribute(model, "text()").getGetter()(), "a\nb\nc");
    EXPECT_EQ(after(model, "x", "'<\""), "<a x='&apos;&lt;\"'>a&#10;b\r\nc</a>");
    EXPECT_EQ(after(model, "text()", ""), "<a x='&apos;&lt;\"'></a>");
    EXPECT_EQ(after(model, "text()", "a\nb\nc"), "<a x='&apos;&lt;\"'>a&#10;b\r\nc</a>");
    EXPECT_EQ(after(model, "x", "A &own; <"), "<a x='&#65; &own; &lt;'>a&#10;b\r\nc</a>");
}

TEST(XmlObject, EveryTextThatIsNotLayoutIsAnAttribute)
{
    XmlModel model("<a>\n <b/>one<c/> <![CDATA[ ]]>three</a>", "m");
    EXPECT_THAT(model.getRoot()->getAttributeNames(), ElementsAre("text()", "text()[4]", "text()[5]"));
    EXPECT_EQ(after(model, "text()", "1"), "<a>\n <b/>1<c/> <![CDATA[ ]]>three</a>");
    EXPECT_EQ(after(model, "text()[4]", "]]>"), "<a>\n <b/>1<c/> <![CDATA[]]]]><![CDATA[>]]>three</a>");
    EXPECT_EQ(after(model, "text()[5]", " "), "<a>\n <b/>1<c/> <![CDATA[]]]]><![CDATA[>]]> </a>");
    EXPECT_EQ(after(model, "text()[5]", "3"), "<a>\n <b/>1<c/> <![CDATA[]]]]><![CDATA[>]]>3</a>");
}

// So many that finding each by a walk would take minutes.
TEST(XmlObject, EachOfVeryManyTextsIsFoundByItsName)
{
    std::string file = "<a>";
    std::vector<std::string> expected;
    for (int number = 1; number <= 50000; ++number)
    {
        file += std::to_string(number) + "<b/>";
        expected.push_back(number == 1 ? "text()" : "text()[" + std::to_string(number) + "]");
    }
    const XmlModel model(file + "</a>", "m");
    XmlObject& root = *model.getRoot();
    ASSERT_EQ(root.getAttributeNames(), expected);
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        ASSERT_EQ(root.getText(expected[i]), std::to_string(i + 1));
    }
}

TEST(XmlObject, LayoutBetweenTextsIsCountedAndHasNoName)
{
    const XmlModel model("<a> <b/>x<b/> <b/>y</a>", "m");
    XmlObject& root = *model.getRoot();
    EXPECT_THAT(root.getAttributeNames(), ElementsAre("text()", "text()[4]"));
    EXPECT_EQ(root.getText("text()"), "x");
    EXPECT_EQ(root.getText("text()[4]"), "y");
    EXPECT_EQ(root.getStep("text()"), "text()[2]");
    for (const std::string name : {"text()[0]", "text()[1]", "text()[2]", "text()[3]", "text()[5]",
                                   "text()[4", "text()[4]x", "text()[99999999999999999999999]"})
    {
        EXPECT_EQ(root.getText(name), "") << name;
    }
}

TEST(XmlObject, WhiteSpaceAloneIsTheTextOfItsElement)
{
    XmlModel model("<a>  </a>", "m");
    EXPECT_EQ(after(model, "text()", "x"), "<a>x</a>");
}

TEST(XmlObject, WhatXmlCannotHoldChangesNothing)
{
    const XmlModel model("<a name='n' s='x' n:y='z'/>", "m");
    EXPECT_THROW(attribute(model, "s").getSetter()("\x01"), Valdane::VdException);
    EXPECT_THROW(dynamic_cast<NamedXmlObject&>(*model.getRoot()).setName("\xFF", true), Valdane::VdException);
    for (const auto& entry : {DynamicAttributeCollection::Entry{"no name", "x"}, {"n:y", "\x02"}})
    {
        const auto collection = std::make_shared<DynamicAttributeCollection>();
        collection->set(entry.name, entry.text);
        EXPECT_THROW(model.getRoot()->setDynamicAttributeCollection(collection), Valdane::VdException);
    }
    EXPECT_EQ(model.toBytes(), "<a name='n' s='x' n:y='z'/>");
    EXPECT_EQ(model.getRoot()->getText("s"), "x");
}

TEST(XmlObject, InOtherEncodingsWhatIsWrittenIsAscii)
{
    const std::string head = "<?xml version='1.0' encoding='ISO-8859-1'?>";
    XmlModel model(head + "<a s='\xE9'/>", "m");
    EXPECT_EQ(attribute(model, "s").getGetter()(), "\xC3\xA9");
    EXPECT_EQ(after(model, "s", "\xC3\xA9\xE2\x82\xAC"), head + "<a s='&#233;&#8364;'/>");
}

// Read by the parser's own conversion, as other programs would.
TEST(XmlObject, WhatIsWrittenInAnotherEncodingIsReadAsItWasSet)
{
    const std::string value = "\xC3\xA9 ]]> \xE2\x82\xAC\xF0\x9F\x98\x80<&'\"";
    for (const std::string encoding : {"ISO-8859-1", "US-ASCII", "UTF-8"})
    {
        XmlModel model("<?xml version='1.0' encoding='" + encoding +
                           "'?><a s='x' t=\"x\" name='n' p:q='x'><b>x</b><c><![CDATA[x]]></c></a>",
                       "m");
        after(model, "s", value);
        after(model, "t", value);
        dynamic_cast<NamedXmlObject&>(*model.getRoot()).setName(value, false);
        const auto collection = std::make_shared<DynamicAttributeCollection>();
        collection->set("p:q", value);
        collection->set("p:r", value);
        model.getRoot()->setDynamicAttributeCollection(collection);
        for (const std::string child : {"//b", "//c"})
        {
            const auto description =
                model.select(child).nodes.at(0).object->getAttributeDescription("text()");
            dynamic_cast<AttributeDescription<std::string>&>(*description).getSetter()(value);
        }
        const std::string bytes = model.toBytes();
        pugi::xml_document read;
        ASSERT_TRUE(read.load_buffer(bytes.data(), bytes.size(), pugi::parse_full | pugi::parse_ws_pcdata));
        const auto root = read.document_element();
        for (const std::string name : {"s", "t", "name", "p:q", "p:r"})
        {
            EXPECT_EQ(root.attribute(name.c_str()).value(), value) << encoding << ' ' << name;
        }
        EXPECT_EQ(root.child("b").text().get(), value) << encoding;
        std::string data;
        for (const auto node : root.child("c").children())
        {
            data += node.value();
        }
        EXPECT_EQ(data, value) << encoding;
    }
}

TEST(XmlObject, ANameThatTheEncodingLacksIsRefused)
{
    const std::string file = "<?xml version='1.0' encoding='ISO-8859-1'?><a/>";
    const XmlModel model(file, "m");
    const auto collection = std::make_shared<DynamicAttributeCollection>();
    collection->set("n:\xC3\xA9", "1");
    model.getRoot()->setDynamicAttributeCollection(collection);
    const auto saved = model.toBytes();
    EXPECT_EQ(saved, file.substr(0, file.size() - 2) + " n:\xE9=\"1\"/>");
    const auto other = std::make_shared<DynamicAttributeCollection>();
    other->set("n:\xCE\xB1", "1");
    EXPECT_THAT([&] { model.getRoot()->setDynamicAttributeCollection(other); },
                testing::ThrowsMessage<Valdane::VdException>(
                    "the encoding ISO-8859-1 lacks U+03B1, which is in the name n:\xCE\xB1"));
    EXPECT_EQ(model.toBytes(), saved);
}

TEST(XmlObject, RenamingTellsListenersIfAskedTo)
{
    const XmlModel model("<a name='old'/>", "m");
    auto& named = dynamic_cast<NamedXmlObject&>(*model.getRoot());
    int calls = 0;
    const auto connection = named.connectToSigChanged([&] { ++calls; });
    named.setName("quiet", false);
    EXPECT_EQ(calls, 0);
    named.setName("new & loud", true);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(named.getName(), "new & loud");
    EXPECT_EQ(model.toBytes(), "<a name='new &amp; loud'/>");
}

TEST(XmlObject, NamespacedAttributesAreItsDynamicAttributes)
{
    const XmlModel model("<a x='1' n:b='2' xmlns:n='u' n:a='&lt;'><b/></a>", "m");
    const auto collection = model.getRoot()->getDynamicAttributeCollection();
    ASSERT_NE(collection, nullptr);
    EXPECT_EQ(collection->size(), 2U);
    EXPECT_EQ(collection->get("n:b"), "2");
    EXPECT_EQ(collection->get("n:a"), "<");
    const auto child = model.select("//b").nodes.at(0).object;
    EXPECT_EQ(child->getDynamicAttributeCollection(), nullptr);
}

TEST(XmlObject, ClearedDynamicAttributesComeBackWhereTheyStood)
{
    const std::string file = "<a n:a='1'\n x='1'  n:b=\"&#65;\" y='2' n:c='3'/>";
    const XmlModel model(file, "m");
    const auto collection = model.getRoot()->getDynamicAttributeCollection();
    model.getRoot()->setDynamicAttributeCollection({});
    EXPECT_EQ(model.getRoot()->getDynamicAttributeCollection(), nullptr);
    EXPECT_EQ(model.toBytes(), "<a\n x='1' y='2'/>");
    EXPECT_TRUE(model.select("//@n:a | //@n:b").nodes.empty());
    model.getRoot()->setDynamicAttributeCollection(collection);
    EXPECT_EQ(model.getRoot()->getDynamicAttributeCollection(), collection);
    EXPECT_EQ(model.toBytes(), file);
    std::vector<std::string> order;
    for (const auto& selected : model.select("/a/@*").nodes)
    {
        order.push_back(selected.name + selected.text);
    }
    EXPECT_THAT(order, ElementsAre("n:a1", "x1", "n:bA", "y2", "n:c3"));
}

TEST(XmlObject, ClearedDynamicAttributesComeBackEvenIfTheyAreNoUtf8)
{
    const std::string file = "<a n:a='\xF1\xBB\xBFu' n:b='1'/>";
    const XmlModel model(file, "m");
    const auto collection = model.getRoot()->getDynamicAttributeCollection();
    model.getRoot()->setDynamicAttributeCollection({});
    EXPECT_EQ(model.toBytes(), "<a/>");
    model.getRoot()->setDynamicAttributeCollection(collection);
    EXPECT_EQ(model.toBytes(), file);

    // At another place they are new, and refused.
    for (const std::string name : {"n:b", "n:c"})
    {
        const auto others = std::make_shared<DynamicAttributeCollection>(*collection);
        others->set(name, *collection->get("n:a"));
        EXPECT_THROW(model.getRoot()->setDynamicAttributeCollection(others), Valdane::VdException);
        EXPECT_EQ(model.toBytes(), file);
    }
}

TEST(XmlObject, NewDynamicAttributesStandAtTheEndOfTheTag)
{
    const XmlModel model("<a x='1' n:a='1'\n/>", "m");
    const auto collection =
        std::make_shared<DynamicAttributeCollection>(*model.getRoot()->getDynamicAttributeCollection());
    collection->set("n:a", "'2'");
    collection->set("n:b", "\"<");
    collection->set("n:c", "");
    model.getRoot()->setDynamicAttributeCollection(collection);
    EXPECT_EQ(model.toBytes(), "<a x='1' n:a='&apos;2&apos;' n:b=\"&quot;&lt;\" n:c=\"\"\n/>");
    EXPECT_EQ(model.select("/a/@n:b").nodes.at(0).text, "\"<");
    model.getRoot()->setDynamicAttributeCollection({});
    EXPECT_EQ(model.toBytes(), "<a x='1'\n/>");
}

TEST(XmlObject, AnAttributeThatIsAddedIsDynamicAndDescribed)
{
    const std::string file = "<a x='1'\n/>";
    XmlModel model(file, "m");
    const auto root = model.getRoot();
    const auto added = std::make_shared<DynamicAttributeCollection>();
    added->set("y", "2 < 3");
    added->set("name", "n");
    added->set("p:y", "3");
    root->setDynamicAttributeCollection(added);
    EXPECT_EQ(model.toBytes(), "<a x='1' y=\"2 &lt; 3\" name=\"n\" p:y=\"3\"\n/>");
    EXPECT_THAT(root->getAttributeNames(), ElementsAre("x", "y"));
    EXPECT_THAT(root->getNewAnnotations(), ElementsAre("p:y"));
    EXPECT_EQ(attribute(model, "y").getGetter()(), "2 < 3");
    EXPECT_EQ(root->getOriginalText("y"), std::nullopt);
    EXPECT_EQ(root->getOriginalText("x"), "1");
    EXPECT_EQ(after(model, "y", "&amp;"), "<a x='1' y=\"&amp;amp;\" name=\"n\" p:y=\"3\"\n/>");
    EXPECT_EQ(added->get("y"), "2 < 3");
    root->setDynamicAttributeCollection(nullptr);
    EXPECT_EQ(model.toBytes(), file);
    EXPECT_THROW(attribute(model, "y").getSetter()("4"), Valdane::VdException);
    EXPECT_EQ(model.toBytes(), file);
}

TEST(XmlObject, WhatCannotBeAddedChangesNothing)
{
    const std::string file = "<a x='1' xmlns:n='u'/>";
    const XmlModel model(file, "m");
    for (const std::string name : {"x", "xmlns", "xmlns:n", "xmlns:q", "", "1", "a b", "text()"})
    {
        const auto added = std::make_shared<DynamicAttributeCollection>();
        added->set(name, "2");
        EXPECT_THROW(model.getRoot()->setDynamicAttributeCollection(added), Valdane::VdException) << name;
        EXPECT_EQ(model.toBytes(), file) << name;
    }
}

TEST(XmlObject, TellsWhatHasChanged)
{
    XmlModel model("<a x='1' n:a='1' n:b='2'/>", "m");
    std::vector<std::string> changes;
    model.setChangeListener(
        [&](const XmlChange& change)
        {
            changes.push_back(change.object.getAddress() + "/" + change.value + " " +
                              change.before.value_or("-") + " " + change.after.value_or("-"));
        });
    after(model, "x", "1");
    after(model, "x", "2");
    const auto collection = std::make_shared<DynamicAttributeCollection>();
    collection->set("n:b", "3");
    collection->set("n:c", "4");
    model.getRoot()->setDynamicAttributeCollection(collection);
    EXPECT_THAT(changes, ElementsAre("/a/@x 1 2", "/a/@n:a 1 -", "/a/@n:b 2 3", "/a/@n:c - 4"));
}

TEST(XmlObject, IsCalledByItsNameOrTheNameAroundIt)
{
    const XmlModel model("<r name='top'><l name='a b'><m><v/></m></l><q/></r>", "m");
    const auto titleOf = [&](const std::string& xpath)
    {
        return model.select(xpath).nodes.at(0).object->getTitle();
    };
    EXPECT_EQ(titleOf("//l"), "l a b");
    EXPECT_EQ(titleOf("//v"), "v of l a b");
    EXPECT_EQ(titleOf("//q"), "q");
    EXPECT_EQ(titleOf("/r"), "r top");
}

} // namespace
