#include "Service/CommandPattern/ModuleSet.h"

#include "Service/CommandTesting/Allocations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <random>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using Objects = std::set<const Object*>;

static_assert(sizeof(ModuleSet) == sizeof(void*));
static_assert(std::is_nothrow_copy_constructible_v<ModuleSet>);
static_assert(std::is_nothrow_copy_assignable_v<ModuleSet>);
static_assert(std::is_nothrow_move_constructible_v<ModuleSet>);
static_assert(std::is_nothrow_move_assignable_v<ModuleSet>);

/// Only the addresses matter.
const Object* numbered(std::size_t number)
{
    static const char modules[40'000] = {};
    return reinterpret_cast<const Object*>(modules + number);
}

Objects objectsOf(const ModuleSet& set)
{
    Objects objects;
    set.insertInto(objects);
    return objects;
}

Objects united(const Objects& first, const Objects& second)
{
    Objects both = first;
    both.insert(second.begin(), second.end());
    return both;
}

const Objects none;
const Objects onlyOne = {numbered(1)};
const Objects oneTwo = {numbered(1), numbered(2)};
const Objects twoThree = {numbered(2), numbered(3)};

TEST(ModuleSet, HoldsTheModulesItWasMadeOf)
{
    EXPECT_THAT(objectsOf(ModuleSet()), IsEmpty());
    EXPECT_THAT(objectsOf(ModuleSet(none)), IsEmpty());
    EXPECT_EQ(objectsOf(ModuleSet(onlyOne)), onlyOne);
    EXPECT_EQ(objectsOf(ModuleSet(oneTwo)), oneTwo);
}

TEST(ModuleSet, InsertingKeepsWhatIsThere)
{
    Objects objects = onlyOne;
    ModuleSet(twoThree).insertInto(objects);
    ModuleSet().insertInto(objects);
    EXPECT_EQ(objects, united(onlyOne, twoThree));
}

TEST(ModuleSet, EmptySetsAreAllTheSame)
{
    EXPECT_TRUE(ModuleSet().isSharedWith(ModuleSet(none)));
    EXPECT_TRUE(ModuleSet().unitedWith(ModuleSet()).isSharedWith(ModuleSet()));
    EXPECT_FALSE(ModuleSet().isSharedWith(ModuleSet(onlyOne)));
}

TEST(ModuleSet, CopiesShareAndSetsMadeApartDoNot)
{
    const ModuleSet set(oneTwo);
    ModuleSet copy(set);
    EXPECT_TRUE(copy.isSharedWith(set));
    EXPECT_FALSE(ModuleSet(oneTwo).isSharedWith(set));
    const ModuleSet moved(std::move(copy));
    EXPECT_TRUE(moved.isSharedWith(set));
    ModuleSet assigned(onlyOne);
    assigned = set;
    EXPECT_TRUE(assigned.isSharedWith(set));
    assigned = ModuleSet();
    EXPECT_THAT(objectsOf(assigned), IsEmpty());
    EXPECT_EQ(objectsOf(set), oneTwo);
}

TEST(ModuleSet, EqualSetsHaveTheSameModules)
{
    EXPECT_EQ(ModuleSet(), ModuleSet(none));
    EXPECT_EQ(ModuleSet(oneTwo), ModuleSet(oneTwo));
    EXPECT_NE(ModuleSet(oneTwo), ModuleSet(onlyOne));
    EXPECT_NE(ModuleSet(onlyOne), ModuleSet(oneTwo));
    EXPECT_NE(ModuleSet(oneTwo), ModuleSet(twoThree));
    EXPECT_NE(ModuleSet(onlyOne), ModuleSet());
    EXPECT_NE(ModuleSet(), ModuleSet(onlyOne));
}

TEST(ModuleSet, OnlyTheSetWithoutModulesIsEmpty)
{
    EXPECT_TRUE(ModuleSet().isEmpty());
    EXPECT_TRUE(ModuleSet(none).isEmpty());
    EXPECT_FALSE(ModuleSet(onlyOne).isEmpty());
}

TEST(ModuleSet, ASetOutlivesTheOneItWasCopiedFrom)
{
    ModuleSet copy;
    {
        const ModuleSet original(oneTwo);
        copy = original;
    }
    EXPECT_EQ(objectsOf(copy), oneTwo);
}

TEST(ModuleSet, AUnionWithWhatIsContainedIsTheLargerSetItself)
{
    const ModuleSet small(onlyOne);
    const ModuleSet large(oneTwo);
    EXPECT_TRUE(large.unitedWith(small).isSharedWith(large));
    EXPECT_TRUE(small.unitedWith(large).isSharedWith(large));
    EXPECT_TRUE(large.unitedWith(large).isSharedWith(large));
    EXPECT_TRUE(large.unitedWith(ModuleSet()).isSharedWith(large));
    EXPECT_TRUE(ModuleSet().unitedWith(large).isSharedWith(large));
    EXPECT_TRUE(large.unitedWith(ModuleSet(oneTwo)).isSharedWith(large));
}

TEST(ModuleSet, AUnionOfSetsThatOverlapIsANewOne)
{
    const ModuleSet first(oneTwo);
    const ModuleSet second(twoThree);
    EXPECT_EQ(objectsOf(first.unitedWith(second)), united(oneTwo, twoThree));
    EXPECT_EQ(objectsOf(second.unitedWith(first)), united(oneTwo, twoThree));
    EXPECT_EQ(objectsOf(first), oneTwo);
    EXPECT_EQ(objectsOf(second), twoThree);
}

TEST(ModuleSet, OneModuleNeedsOneAllocationOfFiveWords)
{
    const HeapUse before = HeapUse::now();
    const ModuleSet set(onlyOne);
    EXPECT_EQ(HeapUse::now().allocations - before.allocations, 1U);
    EXPECT_LE(HeapUse::now().bytes - before.bytes, 5 * sizeof(void*));
}

TEST(ModuleSet, AUnionNeedsNoMoreAllocationsTheLargerItIs)
{
    Objects many;
    for (std::size_t number = 10; number < 40; ++number)
    {
        many.insert(numbered(number));
    }
    const ModuleSet first(onlyOne);
    const ModuleSet second(many);
    const HeapUse before = HeapUse::now();
    const ModuleSet both = first.unitedWith(second);
    EXPECT_LE(HeapUse::now().allocations - before.allocations, 2U);
    EXPECT_EQ(objectsOf(both), united(onlyOne, many));
}

struct SeriesUse
{
    double allocations = 0;
    double bytes = 0;
};

/// What each set of a series takes if it has one module more than the set before it and all are kept.
SeriesUse useOfSeries(std::size_t length)
{
    std::vector<ModuleSet> series(length);
    std::vector<ModuleSet> added(length);
    for (std::size_t number = 0; number < length; ++number)
    {
        // In another order than that of the addresses; 7919 has no factor in common with the lengths.
        added[number] = ModuleSet(Objects{numbered(number * 7919 % length)});
    }
    const HeapUse before = HeapUse::now();
    ModuleSet grown;
    for (std::size_t number = 0; number < length; ++number)
    {
        grown = grown.unitedWith(added[number]);
        series[number] = grown;
    }
    const HeapUse after = HeapUse::now();
    EXPECT_EQ(objectsOf(grown).size(), length);
    EXPECT_EQ(objectsOf(series[length / 3]).size(), length / 3 + 1);
    const auto each = static_cast<double>(length);
    return {.allocations = static_cast<double>(after.allocations - before.allocations) / each,
            .bytes = static_cast<double>(after.bytes - before.bytes) / each};
}

TEST(ModuleSet, ASeriesOfSetsThatGrowByOneModuleTakesAFewBytesForEach)
{
    const SeriesUse small = useOfSeries(4'096);
    const SeriesUse large = useOfSeries(32'768);
    EXPECT_LE(small.bytes, 80);
    // Each doubling of the length copies half of the modules once more.
    EXPECT_LE(large.bytes, small.bytes + 3.0 * sizeof(void*) / 2 + 1);
    EXPECT_LE(large.allocations, 2.01);
}

TEST(ModuleSet, SetsThatGrewByTheSameUnionsAreEqualAndThoseOfOtherModulesAreNot)
{
    ModuleSet first;
    ModuleSet second;
    ModuleSet backwards;
    ModuleSet other;
    for (std::size_t number = 0; number < 1000; ++number)
    {
        first = first.unitedWith(ModuleSet(Objects{numbered(number)}));
        second = second.unitedWith(ModuleSet(Objects{numbered(number)}));
        backwards = backwards.unitedWith(ModuleSet(Objects{numbered(999 - number)}));
        other = other.unitedWith(ModuleSet(Objects{numbered(number + 1)}));
        EXPECT_EQ(first, second);
    }
    EXPECT_FALSE(first.isSharedWith(second));
    EXPECT_EQ(first, backwards);
    EXPECT_NE(first, other);
    EXPECT_NE(other, first);
    EXPECT_TRUE(first.unitedWith(backwards).isSharedWith(first));
}

/// A set beside the one that it should be.
struct Twin
{
    ModuleSet set;
    Objects objects;
};

TEST(ModuleSet, SetsThatGrowFromOneAnotherAreWhatTheyShouldBe)
{
    std::mt19937 random(21);
    std::vector<Twin> twins(1);
    for (int round = 0; round < 3000; ++round)
    {
        const Twin& from = twins[random() % twins.size()];
        Twin added = twins[random() % twins.size()];
        if (round % 4 != 0)
        {
            added.objects.clear();
            for (std::size_t count = random() % 8 == 0 ? random() % 200 : random() % 3; count != 0; --count)
            {
                added.objects.insert(numbered(random() % 2000));
            }
            added.set = ModuleSet(added.objects);
        }
        Twin both{.set = from.set.unitedWith(added.set), .objects = united(from.objects, added.objects)};
        ASSERT_EQ(objectsOf(both.set), both.objects);
        ASSERT_EQ(both.set.isSharedWith(from.set), both.objects == from.objects);
        if (both.objects == added.objects && both.objects != from.objects)
        {
            ASSERT_TRUE(both.set.isSharedWith(added.set));
        }
        const Twin& compared = twins[random() % twins.size()];
        ASSERT_EQ(both.set == compared.set, both.objects == compared.objects);
        // Now and then all begin from small sets again.
        if (round % 100 == 0)
        {
            twins.resize(1);
        }
        twins.push_back(std::move(both));
    }
}

TEST(ModuleSet, AUnionForWhichThereIsNoMemoryChangesNothing)
{
    const ModuleSet first(oneTwo);
    const ModuleSet second(twoThree);
    ModuleSet both;
    std::size_t failures = 0;
    while (both.isEmpty())
    {
        const FailingAllocation failing(failures);
        try
        {
            both = first.unitedWith(second);
        }
        catch (const std::bad_alloc&)
        {
            ++failures;
        }
    }
    EXPECT_GE(failures, 1U);
    EXPECT_EQ(objectsOf(first), oneTwo);
    EXPECT_EQ(objectsOf(second), twoThree);
    EXPECT_EQ(objectsOf(both), united(oneTwo, twoThree));
}

TEST(ModuleSet, UnionsOfAnySetsAreWhatTheyShouldBe)
{
    std::mt19937 random(20);
    const auto makeObjects = [&]
    {
        Objects objects;
        for (std::size_t count = random() % 12; count != 0; --count)
        {
            objects.insert(numbered(random() % 16));
        }
        return objects;
    };
    for (int round = 0; round < 2000; ++round)
    {
        const Objects first = makeObjects();
        const Objects second = makeObjects();
        EXPECT_EQ(objectsOf(ModuleSet(first).unitedWith(ModuleSet(second))), united(first, second));
    }
}

} // namespace
} // namespace Valdane
