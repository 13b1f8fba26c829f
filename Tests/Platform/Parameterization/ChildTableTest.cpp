#include "Platform/Parameterization/Private/ChildTable.h"

#include "Platform/Parameterization/Object.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace
{

using Valdane::Object;

std::size_t keysRead = 0;

struct CountedKey
{
    std::string_view operator()(const Object& object) const
    {
        ++keysRead;
        return object.getKey();
    }
};

using Table = Valdane::Private::ChildTable<CountedKey>;

constexpr int childCount = 100'000;

// What hashing leaves to compare: on average one key or two, and never many.
constexpr std::size_t readsOfOneOperation = 16;
constexpr std::size_t readsOnAverage = 2;

class ChildTableOf100000 : public testing::Test
{
protected:
    ChildTableOf100000()
    {
        for (int i = 0; i < childCount; ++i)
        {
            table.append(std::make_shared<Object>(keyOf(i)));
        }
    }

    static std::string keyOf(int i)
    {
        return "child " + std::to_string(i);
    }

    Table table;
};

TEST_F(ChildTableOf100000, FindsEveryChildWithoutAWalk)
{
    std::size_t most = 0;
    std::size_t sum = 0;
    for (int i = 0; i < childCount; ++i)
    {
        const auto key = keyOf(i);
        keysRead = 0;
        const auto* found = table.find(key);
        most = std::max(most, keysRead);
        sum += keysRead;
        ASSERT_NE(found, nullptr);
        ASSERT_EQ((*found)->getKey(), key);
    }
    EXPECT_LE(most, readsOfOneOperation);
    EXPECT_LE(sum, readsOnAverage * childCount);
}

TEST_F(ChildTableOf100000, MissesWithoutAWalk)
{
    keysRead = 0;
    for (int i = childCount; i < 2 * childCount; ++i)
    {
        ASSERT_EQ(table.find(keyOf(i)), nullptr);
    }
    EXPECT_LE(keysRead, readsOnAverage * childCount);
}

TEST_F(ChildTableOf100000, ReplacesAndRemovesWithoutAWalk)
{
    for (const int i : {0, childCount / 2, childCount - 1})
    {
        const auto newOne = std::make_shared<Object>(keyOf(i));
        keysRead = 0;
        const auto oldOne = table.replace(newOne);
        EXPECT_LE(keysRead, readsOfOneOperation);
        EXPECT_NE(oldOne, newOne);
        EXPECT_EQ(oldOne->getKey(), keyOf(i));
        keysRead = 0;
        EXPECT_EQ(table.remove(keyOf(i)), newOne);
        EXPECT_LE(keysRead, readsOfOneOperation);
        EXPECT_EQ(table.find(keyOf(i)), nullptr);
    }
    EXPECT_EQ(table.inOrder().size(), childCount - 3U);
}

TEST_F(ChildTableOf100000, ReleasesAllInOrderAndIsEmptyThen)
{
    const auto children = table.release();
    ASSERT_EQ(children.size(), static_cast<std::size_t>(childCount));
    EXPECT_EQ(children.front()->getKey(), keyOf(0));
    EXPECT_EQ(children.back()->getKey(), keyOf(childCount - 1));
    EXPECT_TRUE(table.inOrder().empty());
    EXPECT_EQ(table.find(keyOf(0)), nullptr);
}

} // namespace
