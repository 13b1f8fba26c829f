#include "Platform/Parameterization/AttributeDescriptionBase.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace
{

using Valdane::AttributeDescriptionBase;

class Plain : public AttributeDescriptionBase
{
public:
    explicit Plain(const std::string& name) : AttributeDescriptionBase(name) {}
};

class Loud : public Plain
{
public:
    using Plain::Plain;

    bool emitsChangedSignal() const override
    {
        return true;
    }
};

TEST(AttributeDescriptionBase, HasTheNameItWasGiven)
{
    EXPECT_EQ(Plain("mass").getName(), "mass");
    EXPECT_EQ(Plain("").getName(), "");
    EXPECT_EQ(Plain("a/b.\"c\"\n").getName(), "a/b.\"c\"\n");
}

TEST(AttributeDescriptionBase, IsEnabledForStandardUntilThatIsSwitchedOff)
{
    Plain description("mass");
    EXPECT_TRUE(description.isForStandardEnabled());
    description.setForStandardEnabled(false);
    EXPECT_FALSE(description.isForStandardEnabled());
    description.setForStandardEnabled(true);
    EXPECT_TRUE(description.isForStandardEnabled());
}

TEST(AttributeDescriptionBase, EmitsTheChangedSignalRegardlessOfStandardOnlyWhereOverridden)
{
    const Plain plain("mass");
    const Loud loud("mass");
    const AttributeDescriptionBase& loudAsBase = loud;
    EXPECT_FALSE(plain.emitsChangedSignal());
    EXPECT_TRUE(loudAsBase.emitsChangedSignal());
}

TEST(AttributeDescriptionBase, IsABaseOnlyAndNotCopied)
{
    static_assert(std::has_virtual_destructor_v<AttributeDescriptionBase>);
    static_assert(!std::is_constructible_v<AttributeDescriptionBase, std::string>);
    static_assert(!std::is_copy_constructible_v<Plain>);
    static_assert(!std::is_copy_assignable_v<Plain>);
}

} // namespace
