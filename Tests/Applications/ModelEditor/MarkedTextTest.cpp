#include "Applications/ModelEditor/Document/MarkedText.h"

#include "Applications/ModelEditor/Document/Encoding.h"
#include "Applications/ModelEditor/Document/Markup.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using ModelEditor::Encoding;
using ModelEditor::hasReferences;
using ModelEditor::markReferences;
using ModelEditor::MarkupPlace;
using ModelEditor::toEntered;
using ModelEditor::toMarkedMarkup;
using ModelEditor::withoutMarks;

const auto unicode = Encoding::of("");
const auto german = Encoding::of("<?xml version='1.0' encoding='ISO-8859-1'?>");

struct MarkedCase
{
    std::string entered;
    std::string seen; // by an XPath
    std::string shown;
    std::string written;
};

TEST(MarkedText, ReferencesStayAndAllElseIsText)
{
    for (const auto& [entered, seen, shown, written] :
         {MarkedCase{"a&nbsp;b", "a&nbsp;b", "a&nbsp;b", "a&nbsp;b"},
          MarkedCase{"&#65;&#x20AC;&#x1F600;&#xe9;&#x7f;", "A\xE2\x82\xAC\xF0\x9F\x98\x80\xC3\xA9\x7F",
                     "&#65;&#x20AC;&#x1F600;&#xe9;&#x7f;", "&#65;&#x20AC;&#x1F600;&#xe9;&#x7f;"},
          MarkedCase{"&x;&amp;y;&lt;<&gt;&quot;&apos;", "&x;&y;<<>\"'", "&x;&amp;y;<<>\"'",
                     "&x;&amp;y;&lt;&lt;&gt;&quot;'"},
          MarkedCase{"&x; & &y z; &", "&x; & &y z; &", "&x; &amp; &amp;y z; &amp;",
                     "&x; &amp; &amp;y z; &amp;"},
          MarkedCase{"&x;&#9;&#10;", "&x;\t\n", "&x;\t\n", "&x;&#9;&#10;"}})
    {
        const auto text = markReferences(entered, unicode);
        EXPECT_TRUE(hasReferences(text)) << entered;
        EXPECT_EQ(withoutMarks(text), seen);
        EXPECT_EQ(toEntered(text), shown);
        EXPECT_EQ(toMarkedMarkup(text, MarkupPlace::DoubleQuoted, unicode), written);
        EXPECT_EQ(markReferences(shown, unicode), text);
    }
}

TEST(MarkedText, WithoutReferencesThereIsNothingToMark)
{
    for (const std::string text : {"", "a & b", "&", "&amp;&lt;", "a&#10;b"})
    {
        EXPECT_FALSE(hasReferences(markReferences(text, unicode))) << text;
    }
    EXPECT_EQ(markReferences("&amp;nbsp;", unicode), "&nbsp;");
}

TEST(MarkedText, WhatTheEncodingLacksIsACharacterInAnyForm)
{
    const auto text = markReferences("&#xE4;&#65;", german);
    EXPECT_EQ(toEntered(text), "\xC3\xA4&#65;");
    EXPECT_EQ(toMarkedMarkup(text, MarkupPlace::Text, german), "&#228;&#65;");
    EXPECT_THROW(toMarkedMarkup(markReferences("&\xCE\xB1;", german), MarkupPlace::Text, german),
                 Valdane::VdException);
}

TEST(MarkedText, WhatXmlCannotHoldIsRefused)
{
    for (const std::string entered : {"&#1;", "&#xFFFF;", "&#0;", "&#99999999999;"})
    {
        EXPECT_THROW(withoutMarks(markReferences(entered, unicode)), Valdane::VdException) << entered;
    }
    EXPECT_THROW(toMarkedMarkup(markReferences("&x;\xEF\xBF\xBFy", unicode), MarkupPlace::Text, unicode),
                 Valdane::VdException);
}

} // namespace
