#include "Platform/Parameterization/Path.h"

#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using testing::ElementsAreArray;
using testing::IsEmpty;
using Valdane::allocationCount;
using Valdane::Path;
using ValdaneTests::ElementsAre;
using namespace std::string_view_literals;

// Texts that look like each other's notation.
const std::vector<std::string_view> oddTexts = {
    "",     "/",  "//",  ".",     "\"",   "\"\"", "\\",      "a",     "a/b",      "a.b",     "a\"b",
    "a\\b", "\n", "\\n", "\\x0a", "\0"sv, "\x7f", "\t",      "ä€😀",   "\xff\xfe", "link[2]", " ",
    " a",   "a ", "'",   "a'b",   "..",   "/.a",  "\"a\"/b", "\037f", "\xc2\x80"};

template <typename P>
concept givesKeys = requires(P&& path)
{
    std::forward<P>(path).getKeys();
};

TEST(Path, HasTheKeysAndTheAttributeNameThatItWasMadeOf)
{
    const Path path({"robot", "link", "robot"}, "mass");
    EXPECT_THAT(path.getKeys(), ElementsAre("robot", "link", "robot"));
    EXPECT_TRUE(path.hasAttributeName());
    EXPECT_EQ(path.getAttributeName(), "mass");
}

TEST(Path, OfAnObjectHasNoAttributeName)
{
    const Path path({"robot", "link"});
    EXPECT_THAT(path.getKeys(), ElementsAre("robot", "link"));
    EXPECT_FALSE(path.hasAttributeName());
    EXPECT_EQ(path.getAttributeName(), "");
}

TEST(Path, IsWithoutKeysAndAttributeNameAtFirst)
{
    const Path path;
    EXPECT_THAT(path.getKeys(), IsEmpty());
    EXPECT_FALSE(path.hasAttributeName());
    EXPECT_EQ(path.getAttributeName(), "");
    EXPECT_EQ(path, Path(std::vector<std::string_view>()));
}

TEST(Path, KeepsAnEmptyAttributeNameApartFromNone)
{
    const Path path({"robot"}, "");
    EXPECT_TRUE(path.hasAttributeName());
    EXPECT_EQ(path.getAttributeName(), "");
    EXPECT_THAT(path.getKeys(), ElementsAre("robot"));
    EXPECT_NE(path, Path({"robot"}));
    EXPECT_NE(Path({}, ""), Path());
}

TEST(Path, KeepsAnyTextAsKeyAndAsAttributeName)
{
    const Path ofAttribute(oddTexts, "\"/.\n\\"sv);
    EXPECT_THAT(ofAttribute.getKeys(), ElementsAreArray(oddTexts));
    EXPECT_EQ(ofAttribute.getAttributeName(), "\"/.\n\\");
    for (const auto text : oddTexts)
    {
        const Path path({text}, text);
        EXPECT_THAT(path.getKeys(), ElementsAre(text));
        EXPECT_EQ(path.getAttributeName(), text);
    }
}

TEST(Path, KeepsTextsOfAnyLength)
{
    for (const std::size_t length : {62U, 63U, 64U, 65U, 127U, 128U, 8191U, 8192U, 100'000U, 3'000'000U})
    {
        const std::string text(length, 'k');
        const Path path({text, "end"}, text);
        EXPECT_THAT(path.getKeys(), ElementsAre(text, "end"));
        EXPECT_EQ(path.getAttributeName(), text);
    }
}

TEST(Path, OwnsItsTexts)
{
    std::string key = "robot";
    std::string attribute = "mass";
    const Path path({key}, attribute);
    key = "xxxxx";
    attribute = "yyyy";
    EXPECT_EQ(path, Path({"robot"}, "mass"));
}

TEST(Path, IsEqualToThosePathsOnlyThatHaveTheSameSteps)
{
    EXPECT_EQ(Path({"a", "b"}, "c"), Path({"a", "b"}, "c"));
    EXPECT_NE(Path({"a", "b"}, "c"), Path({"a", "b"}, "d"));
    EXPECT_NE(Path({"a", "b"}, "c"), Path({"a", "b", "c"}));
    EXPECT_NE(Path({"a", "b"}), Path({"ab"}));
    EXPECT_NE(Path({"a", "b"}), Path({"b", "a"}));
    EXPECT_NE(Path({"a"}), Path({"a", ""}));
    EXPECT_NE(Path({""}), Path());
}

TEST(Path, CopiesShareTheirTextsWithoutAllocating)
{
    static_assert(std::is_nothrow_copy_constructible_v<Path> && std::is_nothrow_copy_assignable_v<Path>);
    static_assert(std::is_nothrow_move_constructible_v<Path> && std::is_nothrow_move_assignable_v<Path>);
    static_assert(sizeof(Path) == 24);
    Path assigned;
    const Path original({"a key that is longer than a short string"}, "mass");
    const auto before = allocationCount();
    const std::array copies = {original};
    assigned = original;
    EXPECT_EQ(allocationCount(), before);
    EXPECT_EQ(copies.front(), original);
    EXPECT_EQ(copies.front().getKeys().front().data(), original.getKeys().front().data());
    EXPECT_EQ(assigned.getKeys().front().data(), original.getKeys().front().data());
}

TEST(Path, TakesOneBlockOfMemoryAndNoneWithoutSteps)
{
    const std::vector<std::string_view> keys = {"a key that is longer than a short string",
                                                "another one like it"};
    const auto before = allocationCount();
    const Path path(keys, "an attribute name that is just as long");
    const auto afterOne = allocationCount();
    const Path none;
    const Path noneOfKeys(std::vector<std::string_view>{});
    EXPECT_EQ(afterOne, before + 1);
    EXPECT_EQ(allocationCount(), afterOne);
}

TEST(Path, ThatWasMovedFromIsWithoutSteps)
{
    std::vector<Path> paths = {Path({"robot"}, "mass")};
    const Path moved = std::move(paths.front());
    EXPECT_EQ(moved, Path({"robot"}, "mass"));
    EXPECT_EQ(paths.front(), Path());
    EXPECT_EQ(paths.front().toString(), "/");
    paths.front() = moved;
    EXPECT_EQ(paths.front(), moved);
}

TEST(Path, GivesNoViewsOfATemporary)
{
    static_assert(givesKeys<Path&> && givesKeys<const Path&>);
    static_assert(!givesKeys<Path> && !givesKeys<const Path>);
    static_assert(!std::is_convertible_v<std::vector<std::string_view>, Path>);
}

TEST(Path, ReadsAsKeysAfterSlashesAndTheAttributeAfterADot)
{
    EXPECT_EQ(Path({"robot", "link[2]", "mass"}, "value").toString(), "/robot/link[2]/mass.value");
    EXPECT_EQ(Path({"robot", "left arm"}).toString(), "/robot/left arm");
    EXPECT_EQ(Path({"größe", "€😀"}, "ä").toString(), "/größe/€😀.ä");
    EXPECT_EQ(Path({}, "value").toString(), "/.value");
    EXPECT_EQ(Path().toString(), "/");
}

TEST(Path, QuotesInMessagesOnlyWhatWouldBeMisread)
{
    EXPECT_EQ(Path({"a/b", "c"}, "d.e").toString(), R"(/"a/b"/c."d.e")");
    EXPECT_EQ(Path({"", "x"}, "").toString(), R"(/""/x."")");
    EXPECT_EQ(Path({R"(say "hi")", R"(back\slash)"}).toString(), R"(/"say \"hi\""/"back\\slash")");
    EXPECT_EQ(Path({"line\nbreak", "\x01\x1f\x7f"}).toString(), R"(/"line\x0abreak"/"\x01\x1f\x7f")");
    EXPECT_EQ(Path({"nul\0end"sv}).toString(), R"(/"nul\x00end")");
}

TEST(Path, DifferentPathsReadDifferently)
{
    std::vector<Path> paths = {Path()};
    for (const auto first : oddTexts)
    {
        paths.emplace_back(std::vector{first});
        paths.emplace_back(std::vector<std::string_view>{}, first);
        for (const auto second : oddTexts)
        {
            paths.emplace_back(std::vector{first, second});
            paths.emplace_back(std::vector{first}, second);
            paths.emplace_back(std::vector{first, std::string_view("m"), second}, first);
        }
    }
    std::set<std::string> texts;
    for (const auto& path : paths)
    {
        EXPECT_TRUE(texts.insert(path.toString()).second) << path.toString();
    }
}

} // namespace
