#include "Applications/ModelEditor/Document/MarkupPiece.h"

#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace
{

using ModelEditor::MarkupPiece;
using ValdaneTests::ElementsAre;

// Each with the letter of its kind before it.
std::vector<std::string> piecesOf(std::string_view markup)
{
    constexpr std::string_view letters = "xtdciy";
    std::vector<std::string> pieces;
    for (std::size_t offset = 0; offset < markup.size();)
    {
        const auto piece = MarkupPiece::at(markup, offset);
        pieces.push_back(letters[static_cast<std::size_t>(piece.kind)] + std::string(piece.text));
        offset += piece.text.size();
    }
    return pieces;
}

TEST(MarkupPiece, AreAllThatADocumentHas)
{
    EXPECT_THAT(piecesOf("<?xml version='1.0'?>\n<!-- a --><a b='1'>x<![CDATA[y]]></a><?p q?>"),
                ElementsAre("i<?xml version='1.0'?>", "x\n", "c<!-- a -->", "t<a b='1'>", "xx",
                            "d<![CDATA[y]]>", "t</a>", "i<?p q?>"));
}

TEST(MarkupPiece, EndWhereTheParserEndsThem)
{
    EXPECT_THAT(piecesOf("<a b='>' c=\"'>\"  >>"), ElementsAre("t<a b='>' c=\"'>\"  >", "x>"));
    EXPECT_THAT(piecesOf("<!----><!-- - > --->x"), ElementsAre("c<!---->", "c<!-- - > --->", "xx"));
    EXPECT_THAT(piecesOf("<?p > ?><![CDATA[ ]] > ]]]>"), ElementsAre("i<?p > ?>", "d<![CDATA[ ]] > ]]]>"));
}

TEST(MarkupPiece, ADocumentTypeHasDeclarationsOfItsOwn)
{
    for (const std::string type :
         {"<!DOCTYPE a>", "<!DOCTYPE a SYSTEM '>'>", "<!DOCTYPE a [<!ENTITY e \"x>\"><!ELEMENT a ANY> ]>",
          "<!DOCTYPE a [<!-- ' > --><?p ' > ?>]>", "<!DOCTYPE a [<![IGNORE[ > <![ ' ]]> > ]]>]>"})
    {
        EXPECT_THAT(piecesOf(type + "<a/>"), ElementsAre("y" + type, "t<a/>"));
    }
}

TEST(MarkupPiece, AReferenceIsReadWithoutItsEnds)
{
    EXPECT_EQ(ModelEditor::referenceAt("&amp;&lt;"), "amp");
    EXPECT_EQ(ModelEditor::referenceAt("&#xE9;"), "#xE9");
    EXPECT_EQ(ModelEditor::referenceAt("& a;"), "");
    EXPECT_EQ(ModelEditor::referenceAt("a"), "");
}

} // namespace
