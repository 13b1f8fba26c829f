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

TEST(Encoding, SaysWhichCharacterItLacks)
{
    const auto declared = [](const std::string& name)
    {
        return Encoding::of("<?xml version='1.0' encoding='" + name + "'?>");
    };
    const std::string text = "a\xC3\xA9\xE2\x82\xACz\xCE\xB1"; // an e with an accent, a euro, an alpha
    constexpr auto none = std::string::npos;

    struct Case
    {
        std::string encoding;
        std::size_t first;
        std::size_t second;
    };

    for (const auto& [encoding, first, second] :
         {Case{"UTF-8", none, none}, Case{"US-ASCII", 1, 3}, Case{"ascii", 1, 3}, Case{"ISO-8859-1", 3, 7},
          Case{"windows-1252", 7, none}, Case{"ISO-8859-7", 1, none}})
    {
        EXPECT_EQ(declared(encoding).findMissing(text), first) << encoding;
        EXPECT_EQ(first == none
                      ? none
                      : declared(encoding).findMissing(text, first + (text[first] == '\xE2' ? 3 : 2)),
                  second)
            << encoding;
    }
    EXPECT_EQ(Encoding::of("\xFF\xFE<\0").findMissing(text), none);
    EXPECT_NO_THROW(declared("windows-1252").requireAll("\xE2\x82\xAC", ""));
    try
    {
        declared("ISO-8859-1").requireAll(text, "which is here");
        FAIL() << "nothing was thrown";
    }
    catch (const Valdane::VdException& exception)
    {
        EXPECT_STREQ(exception.what(), "the encoding ISO-8859-1 lacks U+20AC, which is here");
    }
}

TEST(Encoding, WhatIsDeclaredAsAsciiIsHandedOn)
{
    const std::string bytes = "<?xml version='1.0' encoding='US-ASCII'?><a>\xC3\xA9\xFF</a>";
    const Encoding encoding = Encoding::of(bytes);
    EXPECT_EQ(encoding.decode(bytes), bytes);
    EXPECT_EQ(encoding.encode(bytes), bytes);
    EXPECT_FALSE(encoding.isUnicode());
}

TEST(Encoding, ANameCannotTellTheConverterToReplaceCharacters)
{
    const std::string bytes = "<?xml version='1.0' encoding='ISO-8859-1//TRANSLIT'?>";
    EXPECT_THROW(Encoding::of(bytes).decode(bytes), Valdane::VdException);
}

TEST(Encoding, WhatWouldBeSavedDifferentlyIsRefused)
{
    // The converter takes it for UTF-7, which can write '<' as it is, but writes "+ADw-".
    const std::string bytes = "<?xml version='1.0' encoding=']UTF-7'?>";
    EXPECT_THROW(Encoding::of(bytes).decode(bytes), Valdane::VdException);
}

} // namespace
