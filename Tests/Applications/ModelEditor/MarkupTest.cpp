#include "Applications/ModelEditor/Document/Markup.h"

#include "Applications/ModelEditor/Document/Encoding.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

using ModelEditor::Encoding;
using ModelEditor::isAnnotationName;
using ModelEditor::isAttributeName;
using ModelEditor::MarkupPlace;
using ModelEditor::requireXmlText;
using ModelEditor::startsWithReference;
using ModelEditor::toMarkup;

const auto utf8 = Encoding::of("");
const auto latin1 = Encoding::of("<?xml version='1.0' encoding='ISO-8859-1'?>");
const std::string everything = "&<>\"'\t\r\n\xC3\xA9";

TEST(Markup, EscapesWhatWouldReadAsSomethingElse)
{
    EXPECT_EQ(toMarkup(everything, MarkupPlace::DoubleQuoted, utf8),
              "&amp;&lt;&gt;&quot;'&#9;&#13;&#10;\xC3\xA9");
    EXPECT_EQ(toMarkup(everything, MarkupPlace::SingleQuoted, utf8),
              "&amp;&lt;&gt;\"&apos;&#9;&#13;&#10;\xC3\xA9");
    EXPECT_EQ(toMarkup(everything, MarkupPlace::Text, utf8), "&amp;&lt;&gt;\"'\t&#13;\n\xC3\xA9");
}

TEST(Markup, CDataIsSplitWhereItCannotHoldTheText)
{
    EXPECT_EQ(toMarkup("a<&]]>b", MarkupPlace::CData, utf8), "a<&]]]]><![CDATA[>b");
    EXPECT_EQ(toMarkup("a\rb", MarkupPlace::CData, utf8), "a]]>&#13;<![CDATA[b");
}

TEST(Markup, CanDoWithoutAnythingButAscii)
{
    EXPECT_EQ(toMarkup("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"
                       "e",
                       MarkupPlace::Text, latin1),
              "&#233;&#8364;&#128512;e");
}

TEST(Markup, CDataIsSplitAroundWhatTheEncodingLacks)
{
    EXPECT_EQ(toMarkup("\xC3\xA9\xE2\x82\xAC<\xE2\x82\xAC", MarkupPlace::CData, latin1),
              "\xC3\xA9]]>&#8364;<![CDATA[<]]>&#8364;<![CDATA[");
    const auto ascii = Encoding::of("<?xml version='1.0' encoding='US-ASCII'?>");
    EXPECT_EQ(toMarkup("a\xC3\xA9", MarkupPlace::CData, ascii), "a]]>&#233;<![CDATA[");
    EXPECT_EQ(toMarkup("\xC3\xA9", MarkupPlace::DoubleQuoted, ascii), "&#233;");
    EXPECT_EQ(toMarkup("\xE2\x82\xAC", MarkupPlace::CData, utf8), "\xE2\x82\xAC");
}

// A German one has letters in the place of brackets.
TEST(Markup, WhatCannotBeWrittenWithoutACharacterThatTheEncodingLacksIsRefused)
{
    const auto din = Encoding::of("<?xml version='1.0' encoding='DIN_66003'?>");
    EXPECT_EQ(toMarkup("\xC3\xA4(", MarkupPlace::Text, din), "&#228;(");
    EXPECT_THROW(toMarkup("[", MarkupPlace::Text, din), Valdane::VdException);
    EXPECT_THROW(toMarkup("\r", MarkupPlace::CData, din), Valdane::VdException);
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

std::string complaintOfText(const std::string& value)
{
    try
    {
        requireXmlText(value);
    }
    catch (const Valdane::VdException& exception)
    {
        return exception.what();
    }
    return "";
}

TEST(Markup, SaysWhichCharacterXmlCannotHold)
{
    EXPECT_EQ(complaintOfText("a\x0B"), "XML cannot hold the character U+000B, character 2 of the value");
    EXPECT_EQ(complaintOfText("\xC3\xA9\xE2\x82\xAC\xEF\xBF\xBFx"),
              "XML cannot hold the character U+FFFF, character 3 of the value");
    EXPECT_EQ(complaintOfText("\xE2\x82\xAC\xFF"), "the value is not UTF-8 at character 2 of the value");
}

TEST(Markup, AnAttributeNameMayHaveAPrefixAndDeclaresNothing)
{
    for (const std::string name : {"a", "name", "a:b", "_", "gr\xC3\xBCn", "xmlnsx"})
    {
        EXPECT_TRUE(isAttributeName(name)) << name;
    }
    for (const std::string name :
         {"", "*", "1a", "a b", "a]", "a:", ":b", "a:b:c", "xmlns", "xmlns:a", "text()"})
    {
        EXPECT_FALSE(isAttributeName(name)) << name;
    }
}

// The first and the last of each range, and what is beside them.
TEST(Markup, ANameHasTheCharactersThatXmlAllows)
{
    for (const std::string start :
         {"\xC3\x80",     "\xC3\x96",     "\xC3\x98",         "\xC3\xB6",        "\xC3\xB8",
          "\xCB\xBF",     "\xCD\xB0",     "\xCD\xBD",         "\xCD\xBF",        "\xE1\xBF\xBF",
          "\xE2\x80\x8C", "\xE2\x80\x8D", "\xE2\x81\xB0",     "\xE2\x86\x8F",    "\xE2\xB0\x80",
          "\xE2\xBF\xAF", "\xE3\x80\x81", "\xED\x9F\xBF",     "\xEF\xA4\x80",    "\xEF\xB7\x8F",
          "\xEF\xB7\xB0", "\xEF\xBF\xBD", "\xF0\x90\x80\x80", "\xF3\xAF\xBF\xBF"})
    {
        EXPECT_TRUE(isAttributeName(start)) << testing::PrintToString(start);
        EXPECT_TRUE(isAnnotationName(start + ":a" + start)) << testing::PrintToString(start);
    }
    for (const std::string further : {"\xC2\xB7", "\xCC\x80", "\xCD\xAF", "\xE2\x80\xBF", "\xE2\x81\x80"})
    {
        EXPECT_TRUE(isAttributeName("a" + further)) << testing::PrintToString(further);
        EXPECT_FALSE(isAttributeName(further)) << testing::PrintToString(further);
        EXPECT_FALSE(isAnnotationName("a:" + further)) << testing::PrintToString(further);
    }
    for (const std::string none :
         {"\xC2\xA0", "\xC3\x97", "\xC3\xB7", "\xCD\xBE", "\xE2\x80\x8B", "\xE2\x80\x8E", "\xE2\x81\x81",
          "\xE2\x81\xAF", "\xE2\x86\x90", "\xE2\xBF\xB0", "\xE3\x80\x80", "\xEE\x80\x80", "\xEF\xA3\xBF",
          "\xEF\xB7\x90", "\xEF\xBF\xBE", "\xF3\xB0\x80\x80", "\xED\xA0\x80", "\xFF", "\xC3"})
    {
        EXPECT_FALSE(isAttributeName("a" + none)) << testing::PrintToString(none);
        EXPECT_FALSE(isAnnotationName("a:b" + none)) << testing::PrintToString(none);
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
    for (const std::string text : {"&amp;", "&own;", "&#10;", "&#xeF;", "&a.b-c; x", "&\xC3\x97;"})
    {
        EXPECT_TRUE(startsWithReference(text)) << text;
    }
    for (const std::string text : {"&", "&amp", "&;", "& amp;", "&#;", "&#x;", "&#1a;", "&#xg;", "a&b;"})
    {
        EXPECT_FALSE(startsWithReference(text)) << text;
    }
}

} // namespace
