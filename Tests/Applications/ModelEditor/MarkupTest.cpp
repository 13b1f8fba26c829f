#include "Applications/ModelEditor/Document/Markup.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

using ModelEditor::isAnnotationName;
using ModelEditor::MarkupPlace;
using ModelEditor::requireXmlText;
using ModelEditor::startsWithReference;
using ModelEditor::toMarkup;

const std::string everything = "&<>\"'\t\r\n\xC3\xA9";

TEST(Markup, EscapesWhatWouldReadAsSomethingElse)
{
    EXPECT_EQ(toMarkup(everything, MarkupPlace::DoubleQuoted, false),
              "&amp;&lt;&gt;&quot;'&#9;&#13;&#10;\xC3\xA9");
    EXPECT_EQ(toMarkup(everything, MarkupPlace::SingleQuoted, false),
              "&amp;&lt;&gt;\"&apos;&#9;&#13;&#10;\xC3\xA9");
    EXPECT_EQ(toMarkup(everything, MarkupPlace::Text, false), "&amp;&lt;&gt;\"'\t&#13;\n\xC3\xA9");
}

TEST(Markup, CDataIsSplitWhereItCannotHoldTheText)
{
    EXPECT_EQ(toMarkup("a<&]]>b", MarkupPlace::CData, false), "a<&]]]]><![CDATA[>b");
    EXPECT_EQ(toMarkup("a\rb", MarkupPlace::CData, false), "a]]>&#13;<![CDATA[b");
}

TEST(Markup, CanDoWithoutAnythingButAscii)
{
    EXPECT_EQ(toMarkup("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"
                       "e",
                       MarkupPlace::Text, true),
              "&#233;&#8364;&#128512;e");
}

TEST(Markup, XmlHoldsUnicodeTextButNotEveryCharacter)
{
    EXPECT_NO_THROW(requireXmlText(everything + "\xE2\x82\xAC\xF0\x9F\x98\x80"));
    for (const std::string text : {"\x01", "\x1F", "\xEF\xBF\xBF", "\xED\xA0\x80", "\xFF", "\xC3", "\xC0\xAF",
                                   "\xE0\x80\xAF", "\xF4\x90\x80\x80", "\xE2\x82"})
    {
        EXPECT_THROW(requireXmlText("a" + text), Valdane::VdException) << testing::PrintToString(text);
    }
}

TEST(Markup, SaysWhichCharacterXmlCannotHold)
{
    try
    {
        requireXmlText("a\x0B");
        FAIL() << "nothing was thrown";
    }
    catch (const Valdane::VdException& exception)
    {
        EXPECT_STREQ(exception.what(), "XML cannot hold the character U+000B");
    }
}

TEST(Markup, AnAnnotationNameHasAPrefixThatDeclaresNothing)
{
    for (const std::string name : {"a:b", "xml:lang", "n-1.x:_y",
                                   "gr\xC3\xBC"
                                   "n:x"})
    {
        EXPECT_TRUE(isAnnotationName(name)) << name;
    }
    for (const std::string name :
         {"", "a", ":b", "a:", "a:b:c", "1a:b", "a:-b", "a b:c", "a:b=", "xmlns:a", "xmlns"})
    {
        EXPECT_FALSE(isAnnotationName(name)) << name;
    }
}

TEST(Markup, KnowsAReferenceWhenItSeesOne)
{
    for (const std::string text : {"&amp;", "&own;", "&#10;", "&#xeF;", "&a.b-c; x"})
    {
        EXPECT_TRUE(startsWithReference(text)) << text;
    }
    for (const std::string text : {"&", "&amp", "&;", "& amp;", "&#;", "&#x;", "&#1a;", "&#xg;", "a&b;"})
    {
        EXPECT_FALSE(startsWithReference(text)) << text;
    }
}

} // namespace
