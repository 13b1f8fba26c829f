#include "Applications/ModelEditor/Document/WellFormedCheck.h"

#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using ModelEditor::WellFormedCheck;
using ModelEditor::XmlDocument;

// Parsed as a document is, but checked alone. The document that complains only says where a place is: it has
// one line, as the texts have.
std::string complaintOfCheck(const std::string& text)
{
    const XmlDocument lines("<a>" + std::string(text.size(), ' ') + "</a>", "m");
    std::string parsed = text;
    pugi::xml_document nodes;
    const auto flags = pugi::parse_full | pugi::parse_ws_pcdata | pugi::parse_fragment;
    const auto result = nodes.load_buffer_inplace(parsed.data(), parsed.size(), flags, pugi::encoding_utf8);
    EXPECT_TRUE(result) << result.description();
    try
    {
        WellFormedCheck check(lines, text, parsed.data());
        for (auto node = ModelEditor::nextNode(nodes); node; node = ModelEditor::nextNode(node))
        {
            check.require(node);
        }
    }
    catch (const Valdane::VdException& exception)
    {
        return exception.what();
    }
    return "nothing";
}

std::string attributes(int count)
{
    std::string markup;
    for (int i = 0; i < count; ++i)
    {
        markup += " a" + std::to_string(i) + "='1'";
    }
    return markup;
}

TEST(WellFormedCheck, WhatIsSuspiciousElsewhereIsNothingInComments)
{
    EXPECT_EQ(complaintOfCheck("<a><!-- & < a:b:c --><?p & < :?><![CDATA[ & < ]]>x<b c='d'/></a>"),
              "nothing");
    EXPECT_EQ(complaintOfCheck("<!DOCTYPE a [<!ENTITY e '& <'>]><a b='http://c:d'>x:y:z</a>"), "nothing");
}

TEST(WellFormedCheck, ComplainsOfTheFirstWhateverStandsBeforeIt)
{
    EXPECT_EQ(complaintOfCheck("<a><!-- & --><b c='1'/>&amp; &</a>"), "m:1:30: & that starts no reference");
    EXPECT_EQ(complaintOfCheck("<a><![CDATA[<&]]><b c='&amp;' d='e&'/></a>"),
              "m:1:35: & that starts no reference");
    EXPECT_EQ(complaintOfCheck("<a x='&lt;'><!-- < --><b c='1' d='e<' f='2'/></a>"),
              "m:1:35: < in the value of d");
    EXPECT_EQ(complaintOfCheck("<a x='y:z'>:<b/><c:d:e/><f g='&'/></a>"),
              "m:1:18: c:d:e is no name of the form name or prefix:name");
    EXPECT_EQ(complaintOfCheck("<a>x</a><b y='1' z='1' y='2'/>"), "m:1:10: b has two attributes y");
}

TEST(WellFormedCheck, WhatIsWrongIsFoundAtBothEndsOfATag)
{
    EXPECT_EQ(complaintOfCheck("<a:/>"), "m:1:2: a: is no name of the form name or prefix:name");
    EXPECT_EQ(complaintOfCheck("<a b='&'/>"), "m:1:7: & that starts no reference");
    EXPECT_EQ(complaintOfCheck("<a b='1' c=\"2'&\" ></a>"), "m:1:15: & that starts no reference");
    EXPECT_EQ(complaintOfCheck("<a b='1' c=\"2'<\"/>"), "m:1:13: < in the value of c");
    EXPECT_EQ(complaintOfCheck("<a b='1' c:='2'/>"), "m:1:10: c: is no name of the form name or prefix:name");
}

TEST(WellFormedCheck, ATagIsReadFromItsStart)
{
    EXPECT_EQ(complaintOfCheck("<a b='1' b='<' c:d:e='2'/>"), "m:1:13: < in the value of b");
    EXPECT_EQ(complaintOfCheck("<a c:d:e='&' f='<' f='2'/>"),
              "m:1:4: c:d:e is no name of the form name or prefix:name");
    EXPECT_EQ(complaintOfCheck("<a b='<&'/>"), "m:1:8: & that starts no reference");
}

TEST(WellFormedCheck, TheDeclarationIsATag)
{
    EXPECT_EQ(complaintOfCheck("<?xml version='1.0' version='1.0'?><a/>"),
              "m:1:3: xml has two attributes version");
    EXPECT_EQ(complaintOfCheck("<?xml version='&'?><a/>"), "m:1:16: & that starts no reference");
}

TEST(WellFormedCheck, OfAttributesThatAreThereTwiceTheFirstByTheAlphabetIsNamed)
{
    EXPECT_EQ(complaintOfCheck("<a c='1' b='2' c='3' b='4'/>"), "m:1:2: a has two attributes b");
    EXPECT_EQ(complaintOfCheck("<a ab='1' aa='2' a='3' ac='4' A='5'/>"), "nothing");
}

TEST(WellFormedCheck, AnAttributeThatIsThereTwiceIsFoundAmongAnyNumber)
{
    for (const int count : {1, 2, 15, 16, 17, 1000})
    {
        const std::string markup = "<a" + attributes(count);
        EXPECT_EQ(complaintOfCheck(markup + "/>"), "nothing") << count;
        EXPECT_EQ(complaintOfCheck(markup + " a0='2'/>"), "m:1:2: a has two attributes a0") << count;
        EXPECT_EQ(complaintOfCheck(markup + " z='1' z='2'/>"), "m:1:2: a has two attributes z") << count;
    }
}

} // namespace
