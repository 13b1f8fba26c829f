#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using Valdane::DynamicAttributeCollection;
using Valdane::FailingAllocation;
using ValdaneTests::ElementsAre;
using namespace std::string_view_literals;

using Entry = DynamicAttributeCollection::Entry;

const std::string longText = "a text that does not fit into a string without memory of its own";

DynamicAttributeCollection threeColours()
{
    DynamicAttributeCollection collection;
    collection.set("wall", "red");
    collection.set("floor", "green");
    collection.set("roof", "blue");
    return collection;
}

std::vector<Entry> entriesOf(const DynamicAttributeCollection& collection)
{
    return {collection.begin(), collection.end()};
}

TEST(DynamicAttributeCollection, IsEmptyAtFirst)
{
    const DynamicAttributeCollection collection;
    EXPECT_EQ(collection.size(), 0U);
    EXPECT_EQ(collection.begin(), collection.end());
    EXPECT_EQ(collection.get(""), std::nullopt);
}

TEST(DynamicAttributeCollection, KeepsTheOrderOfAddition)
{
    EXPECT_THAT(entriesOf(threeColours()),
                ElementsAre(Entry{.name = "wall", .text = "red"}, Entry{.name = "floor", .text = "green"},
                            Entry{.name = "roof", .text = "blue"}));
    EXPECT_EQ(threeColours().size(), 3U);
}

TEST(DynamicAttributeCollection, FindsATextByItsName)
{
    EXPECT_EQ(threeColours().get("floor"), "green");
    EXPECT_EQ(threeColours().get("green"), std::nullopt);
    EXPECT_EQ(threeColours().get(""), std::nullopt);
}

TEST(DynamicAttributeCollection, SettingAgainReplacesTheTextInItsPlace)
{
    auto collection = threeColours();
    collection.set("floor", "");
    EXPECT_THAT(entriesOf(collection),
                ElementsAre(Entry{.name = "wall", .text = "red"}, Entry{.name = "floor", .text = ""},
                            Entry{.name = "roof", .text = "blue"}));
}

TEST(DynamicAttributeCollection, RemovingKeepsTheOrderOfTheOthers)
{
    auto collection = threeColours();
    EXPECT_TRUE(collection.remove("wall"));
    EXPECT_FALSE(collection.remove("wall"));
    EXPECT_EQ(collection.get("wall"), std::nullopt);
    EXPECT_THAT(entriesOf(collection),
                ElementsAre(Entry{.name = "floor", .text = "green"}, Entry{.name = "roof", .text = "blue"}));
}

TEST(DynamicAttributeCollection, AnAttributeThatIsAddedAgainComesLast)
{
    auto collection = threeColours();
    collection.remove("wall");
    collection.set("wall", "white");
    EXPECT_EQ((collection.end() - 1)->name, "wall");
    EXPECT_EQ(collection.get("wall"), "white");
    EXPECT_EQ(collection.size(), 3U);
}

TEST(DynamicAttributeCollection, AnyTextIsANameAndAText)
{
    const std::vector<std::string_view> texts = {"", "a/b", "\"", "\\", "\n", "nul\0end"sv, "nul", "ä€😀"};
    DynamicAttributeCollection collection;
    for (const auto text : texts)
    {
        collection.set(text, text);
    }
    EXPECT_EQ(collection.size(), texts.size());
    for (const auto text : texts)
    {
        EXPECT_EQ(collection.get(text), text);
    }
}

TEST(DynamicAttributeCollection, IsUnchangedWhenMemoryRunsOut)
{
    for (const auto& name : {std::string("floor"), "new, and " + longText})
    {
        auto collection = threeColours();
        const auto before = entriesOf(collection);
        std::size_t failures = 0;
        for (bool isSet = false; !isSet; failures += isSet ? 0 : 1)
        {
            try
            {
                const FailingAllocation failing(failures);
                collection.set(name, longText);
                isSet = true;
            }
            catch (const std::bad_alloc&)
            {
                ASSERT_EQ(entriesOf(collection), before);
            }
        }
        EXPECT_GT(failures, 0U);
        EXPECT_EQ(collection.get(name), longText);
    }
}

} // namespace
