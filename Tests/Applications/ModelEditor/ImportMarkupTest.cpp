#include "Applications/ModelEditor/Document/ImportMarkup.h"

#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

using ModelEditor::ImportMarkup;
using ModelEditor::takeModules;
using ModelEditor::XmlDocument;

ImportMarkup taken(const std::string& from, const std::string& into = "<r/>")
{
    XmlDocument source(from, "m.xml");
    const XmlDocument target(into, "target");
    return takeModules(source, target.getRootElement(), target.getEncoding());
}

TEST(ImportMarkup, IsAllBelowTheRootButTheLayoutAtItsEnd)
{
    EXPECT_EQ(taken("<r>\r\n <!-- > --><a  b = '>'/>\n<?p </r> ?></r>").markup,
              "\r\n <!-- > --><a  b = '>'/>\n<?p </r> ?>");
    EXPECT_EQ(taken("<r x='/>' ><a/> <b></b>\n</r >\n<!--</r>--><?q </r>?>\n").markup, "<a/> <b></b>");
    EXPECT_EQ(taken("<r><a/></r><!--</r>-->").markup, "<a/>");
    EXPECT_EQ(taken("<r><a/></r><?q </r>?>").markup, "<a/>");
    EXPECT_EQ(taken("<r><a/></r><!---->\n").markup, "<a/>");
}

TEST(ImportMarkup, CountsTheElements)
{
    EXPECT_EQ(taken("<r>\n<a><b/></a><!-- c --><a/></r>").moduleCount, 2U);
}

TEST(ImportMarkup, WithoutModulesOrWithATextBesideThemItIsRefused)
{
    for (const std::string from : {"<r/>", "<r></r>", "<r>\n</r>", "<r><!-- c --></r>", "<r>text</r>"})
    {
        EXPECT_THAT([&] { taken(from); }, testing::ThrowsMessage<Valdane::VdException>(
                                              "m.xml: the root element has no elements below it"));
    }
    for (const std::string from : {"<r>x<a/></r>", "<r><a/>x</r>", "<r><a/><![CDATA[ ]]></r>"})
    {
        EXPECT_THAT([&] { taken(from); }, testing::ThrowsMessage<Valdane::VdException>(
                                              testing::EndsWith(": text beside the elements to import")));
    }
}

TEST(ImportMarkup, DeclaresThePrefixesThatOnlyTheOldRootDeclares)
{
    EXPECT_EQ(taken("<r xmlns:p='u' xmlns:q=\"v&amp;\">\n<p:a/><b x='1' q:y='2' /><c/></r>").markup,
              "\n<p:a xmlns:p='u'/><b x='1' q:y='2' xmlns:q=\"v&amp;\" /><c/>");
    EXPECT_EQ(taken("<r xmlns:p='u'><a><b t='p:q'/></a><a>p:c</a></r>").markup,
              "<a xmlns:p='u'><b t='p:q'/></a><a xmlns:p='u'>p:c</a>");
}

TEST(ImportMarkup, DeclaresNoPrefixThatTheNewRootOrTheModuleDeclares)
{
    EXPECT_EQ(taken("<r xmlns:p='u&#65;'><p:a/></r>", "<s xmlns:p='uA'/>").markup, "<p:a/>");
    EXPECT_EQ(taken("<r xmlns:p='u'><p:a/></r>", "<s xmlns:p='other'/>").markup, "<p:a xmlns:p='u'/>");
    EXPECT_EQ(taken("<r xmlns:p='u'><p:a xmlns:p='v'/></r>").markup, "<p:a xmlns:p='v'/>");
}

TEST(ImportMarkup, KeepsTheNamespaceOfNamesWithoutPrefix)
{
    EXPECT_EQ(taken("<r xmlns='u'><a/><b xmlns='v'/></r>").markup, "<a xmlns='u'/><b xmlns='v'/>");
    EXPECT_EQ(taken("<r xmlns='u'><a/></r>", "<r xmlns='u'/>").markup, "<a/>");
    EXPECT_EQ(taken("<r xmlns='u'><a/></r>", "<r xmlns='v'/>").markup, "<a xmlns='u'/>");
    EXPECT_EQ(taken("<r><a/></r>", "<r xmlns='v'/>").markup, "<a xmlns=\"\"/>");
    EXPECT_EQ(taken("<r xmlns=''><a/></r>").markup, "<a/>");
}

TEST(ImportMarkup, AnEntityNeedsTheSameDocumentType)
{
    const std::string type = "<!DOCTYPE r [<!ENTITY own 'x'>]>";
    const std::string complaint =
        "m.xml: what &own; stands for is not said in this model, whose document type differs";
    for (const std::string module : {"<a>&lt;&own;</a>", "<a b='&own;'/>", "<!-- c --><a>&own;</a>"})
    {
        EXPECT_THAT([&] { taken(type + "<r>" + module + "</r>"); },
                    testing::ThrowsMessage<Valdane::VdException>(complaint));
        EXPECT_EQ(taken(type + "<r>" + module + "</r>", type + "<r/>").moduleCount, 1U);
    }
    EXPECT_EQ(taken(type + "<r><!-- &own; --><a b='&lt;&#65;&apos;'><![CDATA[&own;]]><?p &own;?></a></r>")
                  .moduleCount,
              1U);
    EXPECT_EQ(taken("<r><a>&undeclared;</a></r>").moduleCount, 1U);
}

const std::string latin1File = "<?xml version='1.0' encoding='ISO-8859-1'?><r/>";

TEST(ImportMarkup, WhatTheEncodingLacksBecomesAReference)
{
    const std::string euro = "\xE2\x82\xAC";
    const std::string markup = "<a b=\"'" + euro + "\" c='\"\xC3\xA9'>" + euro + "&lt;" + euro +
                               "<![CDATA[&" + euro + euro + "]]></a><a d='" + euro + "'/>";
    EXPECT_EQ(
        taken("<r>" + markup + "</r>", latin1File).markup,
        "<a b=\"'&#8364;\" c='\"\xC3\xA9'>&#8364;&lt;&#8364;<![CDATA[&]]>&#8364;<![CDATA[]]>&#8364;<![CDATA["
        "]]></a><a d='&#8364;'/>");
    EXPECT_EQ(taken("<r>" + markup + "</r>").markup, markup);
    EXPECT_EQ(taken("<r xmlns:p='" + euro + "'><p:a/></r>", latin1File).markup, "<p:a xmlns:p='&#8364;'/>");
}

TEST(ImportMarkup, WhatNoReferenceCanStandInIsRefusedWithThePlace)
{
    const std::string alpha = "\xCE\xB1";
    const std::string lacking = ", which the encoding ISO-8859-1 of the model lacks";

    struct Case
    {
        std::string module;
        std::string complaint;
    };

    for (const auto& [module, complaint] :
         {Case{"<a>" + alpha + "</a><!-- " + alpha + " -->", "m.xml:2:15: U+03B1 in a comment" + lacking},
          Case{"<a/><?p " + alpha + "?>", "m.xml:2:9: U+03B1 in a processing instruction" + lacking},
          Case{"<a" + alpha + "/>", "m.xml:2:3: U+03B1 in a name" + lacking},
          Case{"<a b='1' " + alpha + "='1'/>", "m.xml:2:10: U+03B1 in a name" + lacking},
          Case{"<a>&" + alpha + ";</a>", "m.xml:2:5: U+03B1 in a name" + lacking},
          Case{"<a b='&x" + alpha + ";'/>", "m.xml:2:9: U+03B1 in a name" + lacking},
          Case{"<a>\xFF</a>", "m.xml:2:4: a byte that is no UTF-8"}})
    {
        EXPECT_THAT([&] { taken("<r>\n" + module + "</r>", latin1File); },
                    testing::ThrowsMessage<Valdane::VdException>(complaint));
        EXPECT_EQ(taken("<r>\n" + module + "</r>").markup, "\n" + module);
    }
}

} // namespace
