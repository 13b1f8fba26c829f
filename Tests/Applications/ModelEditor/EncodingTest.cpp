#include "Applications/ModelEditor/Document/Encoding.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using ModelEditor::Encoding;
using namespace std::string_literals;

struct Sample
{
    std::string bytes;
    std::string name;
    std::string text;
};

TEST(Encoding, IsRecognisedAndThereAndBackGivesTheBytes)
{
    const Sample samples[] = {
        {"<\xC3\xA9/>", "UTF-8", "<\xC3\xA9/>"},
        {"\xEF\xBB\xBF<a/>", "UTF-8", "<a/>"},
        {"\xFF\xFE<\0\xE9\0"s, "UTF-16LE", "<\xC3\xA9"},
        {"\xFE\xFF\0<\0\xE9"s, "UTF-16BE", "<\xC3\xA9"},
        {"<\0a\0"s, "UTF-16LE", "<a"},
        {"\0<\0a"s, "UTF-16BE", "<a"},
        {"\xFF\xFE\0\0<\0\0\0"s, "UTF-32LE", "<"},
        {"\0\0\xFE\xFF\0\0\0<"s, "UTF-32BE", "<"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?>\xE9", "ISO-8859-1",
         "<?xml version='1.0' encoding='ISO-8859-1'?>\xC3\xA9"},
        {"<?xml version=\"1.0\" encoding = \"windows-1252\"?>\x80", "windows-1252",
         "<?xml version=\"1.0\" encoding = \"windows-1252\"?>\xE2\x82\xAC"},
        {"<?xml version=\"1.0\" encoding=\"utf-8\"?>\xFF", "UTF-8",
         "<?xml version=\"1.0\" encoding=\"utf-8\"?>\xFF"},
    };
    for (const auto& sample : samples)
    {
        const Encoding encoding = Encoding::of(sample.bytes);
        EXPECT_EQ(encoding.getName(), sample.name);
        EXPECT_EQ(encoding.decode(sample.bytes), sample.text) << sample.name;
        EXPECT_EQ(encoding.encode(sample.text), sample.bytes) << sample.name;
        EXPECT_EQ(encoding.isUnicode(), sample.name.starts_with("UTF")) << sample.name;
    }
}

TEST(Encoding, BigTextsAreConvertedWhole)
{
    const std::string head = "<?xml version='1.0' encoding='ISO-8859-1'?>";
    const std::string bytes = head + std::string(300'000, '\xE9');
    const Encoding encoding = Encoding::of(bytes);
    const std::string text = encoding.decode(bytes);
    EXPECT_EQ(text.size(), head.size() + 600'000);
    EXPECT_EQ(encoding.encode(text), bytes);
}

TEST(Encoding, WhatCannotBeConvertedIsRefused)
{
    const std::string head = "<?xml version='1.0' encoding='";
    EXPECT_THROW(Encoding::of(head + "klingon'?>").decode(head), Valdane::VdException);
    EXPECT_THROW(Encoding::of(head + "ISO-8859-1'?>").encode("\xE2\x82\xAC"), Valdane::VdException);
    EXPECT_THROW(Encoding::of("\xFF\xFE").decode("\xFF\xFE<"), Valdane::VdException);
}

TEST(Encoding, WhatWouldBeSavedDifferentlyIsRefused)
{
    // The converter takes it for UTF-7, which can write '<' as it is, but writes "+ADw-".
    const std::string bytes = "<?xml version='1.0' encoding=']UTF-7'?>";
    EXPECT_THROW(Encoding::of(bytes).decode(bytes), Valdane::VdException);
}

} // namespace
