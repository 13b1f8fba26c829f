// What it costs to load a model and to edit much of it, in allocations: these are the same on every machine. And what becomes
// of a model that gets no memory.

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Applications/ModelEditor/Edits/Replace.h"
#include "Applications/ModelEditor/Edits/Structure.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/Allocations.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>
#include <vector>

namespace
{

using ModelEditor::Edit;
using ModelEditor::XmlModel;

template <typename Act>
std::size_t allocationsOf(const Act& act)
{
    const auto before = Valdane::allocationCount();
    act();
    return Valdane::allocationCount() - before;
}

std::string withElements(std::size_t count)
{
    std::string bytes = "<r>\n";
    for (std::size_t i = 0; i < count; ++i)
    {
        bytes += "  <e name='n" + std::to_string(i) + "' a='1'>text</e>\n";
    }
    return bytes + "</r>\n";
}

std::string withAttributes(std::size_t count)
{
    std::string bytes = "<r";
    for (std::size_t i = 0; i < count; ++i)
    {
        bytes += " a" + std::to_string(i) + "='1'";
    }
    return bytes + "/>";
}

/// Of an edit of all attributes of an element with @p count of them, made, done, undone and done again.
template <typename Make>
std::size_t allocationsOfEdit(std::size_t count, const Make& make, const std::vector<std::string>& arguments)
{
    XmlModel model(withAttributes(count), "m");
    return allocationsOf(
        [&]
        {
            const Edit edit = make(model, arguments);
            edit.command->execute();
            edit.command->undo();
            edit.command->redo();
        });
}

TEST(ModelCost, LoadingMakesNothingForEachElementOrAttribute)
{
    const auto load = [](const std::string& bytes)
    {
        return allocationsOf([&] { const XmlModel model(bytes, "m"); });
    };
    constexpr std::size_t aFew = 30;
    EXPECT_LT(load(withElements(100)), aFew + load(withElements(1)));
    EXPECT_LT(load(withElements(20'000)), aFew + load(withElements(100)));
    EXPECT_LT(load(withAttributes(5'000)), aFew + load(withAttributes(100)));
}

TEST(ModelCost, AnInsertionForWhichMemoryDoesNotSufficeChangesNothing)
{
    std::string many;
    for (int i = 0; i < 100; ++i)
    {
        many += "<e/>";
    }
    bool hasFailed = true;
    for (std::size_t successes = 0; hasFailed; ++successes)
    {
        XmlModel model("<r/>", "m");
        const Edit edit = ModelEditor::makeInsert(model, {"/r", many});
        const Valdane::FailingAllocation failing(successes);
        try
        {
            edit.command->execute();
        }
        catch (const std::bad_alloc&)
        {
            EXPECT_TRUE(failing.hasFailed());
        }
        hasFailed = failing.hasFailed();
        if (hasFailed)
        {
            ASSERT_EQ(model.toBytes(), "<r/>") << successes;
        }
    }
}

TEST(ModelCost, OneAddressMakesTheObjectsOfItsSiblingsOnly)
{
    const auto follow = [](const std::string& bytes)
    {
        XmlModel model(bytes, "m");
        return allocationsOf([&] { EXPECT_EQ(model.select("/r/e[7]/@a").nodes.size(), 1U); });
    };
    const std::string others(withElements(5'000));
    EXPECT_LT(follow("<r>" + others + "<e/><e/><e/><e/><e/><e/><e a='1'/></r>"), 300U);
}

TEST(ModelCost, AnEditOfManyAttributesIsLinear)
{
    constexpr std::size_t few = 200;
    for (std::size_t times = 2; times <= 8; times *= 2)
    {
        EXPECT_LT(allocationsOfEdit(times * few, ModelEditor::makeSet, {"/r/@*", "5"}),
                  (times + 1) * allocationsOfEdit(few, ModelEditor::makeSet, {"/r/@*", "5"}));
        EXPECT_LT(allocationsOfEdit(times * few, ModelEditor::makeReplace, {"/r/@*", "1", "2"}),
                  (times + 1) * allocationsOfEdit(few, ModelEditor::makeReplace, {"/r/@*", "1", "2"}));
    }
}

} // namespace
