#include "Applications/ModelEditor/Document/StartTag.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string_view>

namespace
{

using ModelEditor::Span;
using ModelEditor::StartTag;

std::string_view cut(std::string_view source, const Span& span)
{
    return source.substr(span.offset, span.length);
}

TEST(StartTag, FindsAttributesHoweverTheyAreWritten)
{
    constexpr std::string_view source = "<a><link\n  a:b='x\"/>' \t c = \"\"d=\"e'\" /></a>";
    const auto tag = StartTag::read(source, 4);
    ASSERT_EQ(tag.attributes.size(), 3U);
    EXPECT_EQ(tag.attributes[0].name, "a:b");
    EXPECT_EQ(cut(source, tag.attributes[0].whole), "\n  a:b='x\"/>'");
    EXPECT_EQ(cut(source, tag.attributes[0].value), "x\"/>");
    EXPECT_EQ(tag.attributes[1].name, "c");
    EXPECT_EQ(cut(source, tag.attributes[1].whole), " \t c = \"\"");
    EXPECT_EQ(cut(source, tag.attributes[1].value), "");
    EXPECT_EQ(cut(source, tag.attributes[2].value), "e'");
    EXPECT_EQ(source.substr(tag.end), " /></a>");
    EXPECT_EQ(tag.find("c"), &tag.attributes[1]);
    EXPECT_EQ(tag.find("e"), nullptr);
}

TEST(StartTag, EndsBehindTheNameWithoutAttributes)
{
    EXPECT_EQ(StartTag::read("<a/>", 1).end, 2U);
    EXPECT_EQ(StartTag::read("<ab >", 1).end, 3U);
    EXPECT_TRUE(StartTag::read("<a>", 1).attributes.empty());
}

TEST(StartTag, ATagWithoutEndIsRefused)
{
    EXPECT_THROW(StartTag::read("<a b='1'", 1), std::out_of_range);
}

} // namespace
