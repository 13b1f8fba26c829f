#include "Applications/ModelEditor/Document/XmlDocument.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using ModelEditor::XmlDocument;
using namespace std::string_literals;

std::string complaintAbout(const std::string& bytes)
{
    try
    {
        const XmlDocument document(bytes, "m.xml");
    }
    catch (const Valdane::VdException& exception)
    {
        return exception.what();
    }
    return "nothing";
}

TEST(XmlDocument, UnchangedItIsTheBytesThatWereRead)
{
    for (const std::string& bytes :
         {"<a/>"s,
          "\xEF\xBB\xBF<?xml version='1.0' ?>\r\n<!DOCTYPE a [<!ENTITY e \"x>\">]>\r\n<?p  q ?><!-- - -->"
          "<a  b = 'c\"&#10;&lt;' >\r\n&e; &gt; > <![CDATA[ <&]] ]]><b></b><c /></a >\r\n<!-- end -->\n"s,
          "\xFF\xFE<\0a\0/\0>\0"s, "<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xE9'/>"s,
          "<a>\xFF</a>"s})
    {
        EXPECT_EQ(XmlDocument(bytes, "m").toBytes(), bytes);
    }
}

TEST(XmlDocument, MalformedOnesAreRefusedWithThePlace)
{
    EXPECT_EQ(complaintAbout(""), "m.xml: the file is empty");
    EXPECT_EQ(complaintAbout("\xEF\xBB\xBF"), "m.xml: the file is empty");
    EXPECT_EQ(complaintAbout(" \n"), "m.xml: the file has no element");
    EXPECT_EQ(complaintAbout("<!-- x -->"), "m.xml: the file has no element");
    EXPECT_EQ(complaintAbout("hello"), "m.xml:1:1: text outside the root element");
    EXPECT_EQ(complaintAbout("<a/>\n x"), "m.xml:2:2: text outside the root element");
    EXPECT_EQ(complaintAbout("<!-- -->\n\n x <a/>"), "m.xml:3:2: text outside the root element");
    EXPECT_EQ(complaintAbout("<a/><![CDATA[]]>"), "m.xml:1:14: text outside the root element");
    EXPECT_EQ(complaintAbout("<a/>\n<b/>"), "m.xml:2:2: a second root element, b");
    EXPECT_EQ(complaintAbout("<a>\n<b></a>"), "m.xml:2:6: Start-end tags mismatch");
    EXPECT_EQ(complaintAbout("<a b=c/>"), "m.xml:1:6: Error parsing element attribute");
    EXPECT_EQ(complaintAbout("<a>\r\n <b x='1' y='2' x='1'/></a>"), "m.xml:2:3: b has two attributes x");
    EXPECT_EQ(complaintAbout("<a>x & y</a>"), "m.xml:1:6: & that starts no reference");
    EXPECT_EQ(complaintAbout("<a>&amp; &bad</a>"), "m.xml:1:10: & that starts no reference");
    EXPECT_EQ(complaintAbout("<a b='&'/>"), "m.xml:1:7: & that starts no reference");
    EXPECT_EQ(complaintAbout("<a b='<'/>"), "m.xml:1:7: < in the value of b");
    EXPECT_EQ(complaintAbout("<a>\n<b:c:d/></a>"),
              "m.xml:2:2: b:c:d is no name of the form name or prefix:name");
    EXPECT_EQ(complaintAbout("<a :b='x'/>"), "m.xml:1:4: :b is no name of the form name or prefix:name");
    EXPECT_EQ(complaintAbout("<a b:='x'/>"), "m.xml:1:4: b: is no name of the form name or prefix:name");
    EXPECT_EQ(complaintAbout("<a>\0</a>"s), "m.xml:1:4: a NUL character");
    EXPECT_EQ(complaintAbout("<?xml version='1.0' encoding='klingon'?><a/>"),
              "m.xml: the encoding klingon is not known");
}

TEST(XmlDocument, WhatOnlyLooksMalformedIsTaken)
{
    EXPECT_EQ(complaintAbout("<a b='&lt;&amp;' c='&own;'>&#65;<![CDATA[&]]><!-- & < --></a>"), "nothing");
    EXPECT_EQ(complaintAbout("<x:a x:b='1' y:b='2' b='3'/>"), "nothing");
}

TEST(XmlDocument, AnAttributeWithoutValueIsRefused)
{
    EXPECT_NE(complaintAbout("<a b/>"), "nothing");
    EXPECT_NE(complaintAbout("<a"), "nothing");
    EXPECT_NE(complaintAbout("<a>"), "nothing");
    EXPECT_NE(complaintAbout("</a>"), "nothing");
}

TEST(XmlDocument, KnowsWhereANodeStandsInTheSource)
{
    const std::string bytes = "<a b='1'>text</a>";
    XmlDocument document(bytes, "m");
    const auto root = document.getRootElement();
    EXPECT_EQ(document.locate(root.name()).offset, 1U);
    EXPECT_EQ(document.locate(root.attribute("b").value()).offset, 6U);
    EXPECT_EQ(document.locate(root.first_child().value()).offset, 9U);
    EXPECT_THROW((void)document.locate("elsewhere"), Valdane::VdException);
}

std::string withAppended(const std::string& bytes, const std::vector<std::string>& markups)
{
    XmlDocument document(bytes, "m");
    for (const auto& markup : markups)
    {
        document.append(markup);
    }
    const std::string result = document.toBytes();
    EXPECT_EQ(complaintAbout(result), "nothing");
    for (auto markup = markups.rbegin(); markup != markups.rend(); ++markup)
    {
        document.removeLast();
    }
    EXPECT_EQ(document.toBytes(), bytes);
    return result;
}

TEST(XmlDocument, AppendedMarkupStandsBehindTheLastChildThatIsNoLayout)
{
    EXPECT_EQ(withAppended("<r>\n <a/>\n</r>\n", {"\n <b/>", "\n <c/>\n <d/>"}),
              "<r>\n <a/>\n <b/>\n <c/>\n <d/>\n</r>\n");
    EXPECT_EQ(withAppended("<r><a/><!-- x -->\n</r >\n<!--</r>-->\n", {"<b/>"}),
              "<r><a/><!-- x --><b/>\n</r >\n<!--</r>-->\n");
    EXPECT_EQ(withAppended("<r><a/></r>", {"<!--x--><b/>", "<?p q?><c/>"}),
              "<r><a/><!--x--><b/><?p q?><c/></r>");
    EXPECT_EQ(withAppended("<r><![CDATA[x]]></r>", {"\n <b/>"}), "<r><![CDATA[x]]>\n <b/>\n</r>");
}

TEST(XmlDocument, TheNodesHaveTheOrderOfTheSavedFile)
{
    XmlDocument document("<r>\n <a/>\n</r>", "m");
    document.append("<b/>");
    document.append("<c/>");
    EXPECT_STREQ(document.getRootElement().child("a").next_sibling().name(), "b");
    EXPECT_STREQ(document.getRootElement().child("c").next_sibling().value(), "\n");
    document.removeLast();
    EXPECT_STREQ(document.getRootElement().child("b").next_sibling().value(), "\n");
}

TEST(XmlDocument, ARootWithoutChildrenCanBeAppendedTo)
{
    EXPECT_EQ(withAppended("<r/>", {"<b/>"}), "<r><b/></r>");
    EXPECT_EQ(withAppended("<?xml version='1.0'?><r  x='/>' />\n", {"\r\n\t<b/>", "\r\n\t<c/>"}),
              "<?xml version='1.0'?><r  x='/>' >\r\n\t<b/>\r\n\t<c/>\r\n</r>\n");
    EXPECT_EQ(withAppended("<r></r>", {"\n <b/>"}), "<r>\n <b/>\n</r>");
}

TEST(XmlDocument, AppendedLayoutBecomesNoPartOfAText)
{
    EXPECT_EQ(withAppended("<r>text</r>", {"\n <b/>"}), "<r>text<b/></r>");
    EXPECT_EQ(withAppended("<r>\n</r>", {"\n <b/>"}), "<r>\n<b/></r>");
}

TEST(XmlDocument, AppendedMarkupIsSavedInTheEncodingOfTheFile)
{
    EXPECT_EQ(withAppended("\xFF\xFE<\0a\0/\0>\0"s, {"<b/>"}), "\xFF\xFE<\0a\0>\0<\0b\0/\0>\0<\0/\0a\0>\0"s);
    const std::string latin1 = "<?xml version='1.0' encoding='ISO-8859-1'?><a/>";
    XmlDocument document(latin1, "m");
    document.append("<b>\xE2\x82\xAC</b>");
    EXPECT_THROW((void)document.toBytes(), Valdane::VdException);
    document.removeLast();
    EXPECT_EQ(document.toBytes(), latin1);
}

TEST(XmlDocument, KnowsWhereAnAppendedNodeStands)
{
    XmlDocument document("<r>\n</r>", "m");
    for (const std::string start : {"", " ", "<!-- c -->", "<!---->", "<?p q?>", "<?p?>"})
    {
        const std::string markup = start + "<a b='1'>text</a>";
        document.append(markup);
        const auto place = document.locate(document.getRootElement().child("a").attribute("b").value());
        const auto text = document.locate(document.getRootElement().child("a").text().get());
        EXPECT_EQ(place.source.getOriginal().substr(place.offset), "1'>text</a>") << start;
        EXPECT_EQ(text.source.getOriginal().substr(text.offset), "text</a>") << start;
        document.removeLast();
        EXPECT_EQ(document.getLastAppended(), pugi::xml_node()) << start;
    }
}

TEST(XmlDocument, WhatCannotBeParsedIsNotAppended)
{
    XmlDocument document("<r><a/>\n</r>", "m");
    document.append("<b/>");
    for (const std::string markup : {"<c/><d>", "<c></d>", "<c/></r>", "<c x=1/>"})
    {
        EXPECT_THROW(document.append(markup), Valdane::VdException) << markup;
        EXPECT_EQ(document.toBytes(), "<r><a/><b/>\n</r>");
        EXPECT_TRUE(document.getRootElement().child("c").empty());
        EXPECT_STREQ(document.getLastAppended().name(), "b");
    }
}

TEST(XmlDocument, ManyLevelsCanBeAppendedAndTakenOut)
{
    std::string deep;
    for (int i = 0; i < 300'000; ++i)
    {
        deep += "<a>";
    }
    for (int i = 0; i < 300'000; ++i)
    {
        deep += "</a>";
    }
    XmlDocument document("<r/>", "m");
    document.append(deep);
    EXPECT_EQ(document.removeLast(), deep);
    EXPECT_TRUE(document.getRootElement().first_child().empty());
}

} // namespace
