#include "Applications/ModelEditor/Document/MarkupWarnings.h"

#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace
{

using ModelEditor::MarkupWarnings;
using ModelEditor::XmlDocument;
using ValdaneTests::ElementsAre;

// Also that the file can be edited, and saved as it is.
std::vector<std::string> warningsOf(const std::string& bytes)
{
    const XmlDocument document(bytes, "m");
    EXPECT_EQ(document.toBytes(), bytes);
    const auto warnings = document.findWarnings();
    EXPECT_EQ(warnings.count, warnings.texts.size());
    return warnings.texts;
}

TEST(MarkupWarnings, WhatIsWellFormedHasNone)
{
    EXPECT_THAT(
        warningsOf(
            "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<!DOCTYPE a [<!ENTITY e '--]]>'>]>\n<!-- - -->"
            "<a b='&#9;&e;&#x10FFFF;]]>--'>\t\xC3\xA4 \xF0\x9F\x98\x80 &amp;&lt;&gt;&quot;&apos; ]] > --"
            "<![CDATA[ -- &x; ]]]]><?xml-p -- ]]> &x; ?><?p?><\xC3\xA4\xC2\xB7 "
            "\xC3\xB6='\xC3\x97'/></a><!---->"),
        ElementsAre());
}

TEST(MarkupWarnings, BytesThatAreNoUtf8AreTold)
{
    EXPECT_THAT(warningsOf("<a>\n \xFF x\xE9\xE8\xE7 \xE9</a>"),
                ElementsAre("m:2:2: the byte 0xFF is no UTF-8", "m:2:5: the byte 0xE9 is no UTF-8",
                            "m:2:9: the byte 0xE9 is no UTF-8"));
    EXPECT_THAT(warningsOf("<a b='\xC3'/><!-- \xE2\x82 -->"),
                ElementsAre("m:1:7: the byte 0xC3 is no UTF-8", "m:1:16: the byte 0xE2 is no UTF-8"));
}

TEST(MarkupWarnings, WhatIsNotInADeclaredAsciiIsTold)
{
    const std::string start = "<?xml version='1.0' encoding='US-ASCII'?>\n<a>";
    EXPECT_THAT(
        warningsOf(start + "x\xC3\xA9\xFF</a>"),
        ElementsAre("m:2:5: U+00E9 is not in the encoding US-ASCII", "m:2:7: the byte 0xFF is no UTF-8"));
    EXPECT_THAT(warningsOf("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>"), ElementsAre());
}

TEST(MarkupWarnings, CharactersThatXmlCannotHoldAreTold)
{
    EXPECT_THAT(warningsOf("<a b='\x01'>\x1F<!--\xEF\xBF\xBF--><?p \xED\xA0\x80?></a>"),
                ElementsAre("m:1:7: U+0001, a character that XML cannot hold",
                            "m:1:10: U+001F, a character that XML cannot hold",
                            "m:1:15: U+FFFF, a character that XML cannot hold",
                            "m:1:25: U+D800, a character that XML cannot hold"));
    EXPECT_THAT(warningsOf("<a b='&#1;'>&#xFFFE;&#0;&#x110000;&#99999999999999999999;</a>"),
                ElementsAre("m:1:7: &#1;, a character that XML cannot hold",
                            "m:1:13: &#xFFFE;, a character that XML cannot hold",
                            "m:1:21: &#0;, a character that XML cannot hold",
                            "m:1:25: &#x110000;, a character that XML cannot hold",
                            "m:1:35: &#99999999999999999999;, a character that XML cannot hold"));
}

TEST(MarkupWarnings, EntitiesThatNothingDeclaresAreTold)
{
    EXPECT_THAT(warningsOf("<a b='&nbsp;'>\n&lt;&x;</a>"),
                ElementsAre("m:1:7: &nbsp; is not declared", "m:2:5: &x; is not declared"));
    const std::string used = "<a>&x;&y;</a>";
    EXPECT_THAT(warningsOf("<!DOCTYPE a>" + used),
                ElementsAre("m:1:16: &x; is not declared", "m:1:19: &y; is not declared"));
    EXPECT_THAT(warningsOf("<!DOCTYPE a [<!ENTITY x ''><!-- <!ENTITY y ''> -->]>\n" + used),
                ElementsAre("m:2:7: &y; is not declared"));
    EXPECT_THAT(warningsOf("<!DOCTYPE a [<!ENTITY\n x ''><!ENTITY y SYSTEM 'u'>]>\n" + used), ElementsAre());
}

TEST(MarkupWarnings, WhatAnotherFileMayDeclareIsNotTold)
{
    for (const std::string type : {"<!DOCTYPE a SYSTEM 'u'>", "<!DOCTYPE a PUBLIC 'p' 'u' [ ]>",
                                   "<!DOCTYPE a [<!ENTITY % p SYSTEM 'u'>%p;]>"})
    {
        EXPECT_THAT(warningsOf(type + "<a>&x;</a>"), ElementsAre()) << type;
    }
    EXPECT_THAT(warningsOf("<!DOCTYPE a [<!ENTITY % p 'u'>]><a>&x;</a>"),
                ElementsAre("m:1:36: &x; is not declared"));
}

TEST(MarkupWarnings, MarkupThatTheParserReadsAsItLikesIsTold)
{
    EXPECT_THAT(warningsOf("<a>x]]>y<!-- a -- b --><!-- --->\n</a><!--->-->"),
                ElementsAre("m:1:5: ]]> in a text", "m:1:16: -- in a comment", "m:1:29: -- in a comment"));
    EXPECT_THAT(warningsOf("<!DOCTYPE a><!DOCTYPE a><a/>"), ElementsAre("m:1:13: a second document type"));
    EXPECT_THAT(warningsOf("<a/>\n<!DOCTYPE a>"),
                ElementsAre("m:2:1: a document type behind the root element"));
    EXPECT_THAT(warningsOf(" <?xml version='1.0'?><a/><?xml version='1.0'?>"),
                ElementsAre("m:1:2: an XML declaration that is not at the start",
                            "m:1:27: an XML declaration that is not at the start"));
}

TEST(MarkupWarnings, CharactersThatNoNameHasAreTold)
{
    EXPECT_THAT(
        warningsOf(
            "<a\xC3\x97 \xC2\xB7='\xC3\x97' b\xC2\xB7=\"'\xC3\x97\" \xC3\xB7\xC3\xB7='>\xC3\x97'>\xC3\x97"
            "<\xC3\x97/><?\xC2\xB7 \xC3\x97?><?p\xC3\x97?></a\xC3\x97>"),
        ElementsAre("m:1:3: U+00D7, which no name has", "m:1:6: U+00B7, with which no name starts",
                    "m:1:24: U+00F7, with which no name starts", "m:1:26: U+00F7, which no name has",
                    "m:1:38: U+00D7, with which no name starts", "m:1:44: U+00B7, with which no name starts",
                    "m:1:54: U+00D7, which no name has", "m:1:61: U+00D7, which no name has"));
}

TEST(MarkupWarnings, AreInTheOrderOfTheFile)
{
    EXPECT_THAT(warningsOf("<a>&x;\x01&x;\xFF</a>"),
                ElementsAre("m:1:4: &x; is not declared", "m:1:7: U+0001, a character that XML cannot hold",
                            "m:1:8: &x; is not declared", "m:1:11: the byte 0xFF is no UTF-8"));
}

TEST(MarkupWarnings, AreAllCountedAndTheFirstAreTold)
{
    std::string text = "<a>";
    for (int i = 0; i < 3000; ++i)
    {
        text += i % 2 == 0 ? "&x;" : "\x01";
    }
    const auto warnings = ModelEditor::findWarnings(text + "</a>", "m", ModelEditor::Encoding::of(""));
    EXPECT_EQ(warnings.count, 3000U);
    ASSERT_EQ(warnings.texts.size(), MarkupWarnings::most);
    EXPECT_EQ(warnings.texts.back(), "m:1:2003: U+0001, a character that XML cannot hold");
}

TEST(MarkupWarnings, AreThoseOfTheTextAsItIsNow)
{
    XmlDocument document("<a>\n</a>", "m");
    document.append("<b>&x;</b>");
    EXPECT_THAT(document.findWarnings().texts, ElementsAre("m:2:4: &x; is not declared"));
    document.removeLast();
    EXPECT_THAT(document.findWarnings().texts, ElementsAre());
}

} // namespace
