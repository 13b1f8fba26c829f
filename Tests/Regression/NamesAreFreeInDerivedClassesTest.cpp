// The private fields of classes that applications derive from had the names that applications use themselves. g++ warns
// with -Wshadow where a local variable or a parameter of a derived class has the name of such a field, so that a build
// with warnings as errors stopped at "owner" or "path". This file does not compile where that is so.

#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetAttributecommandFactory.h"
#include "Service/CommandPattern/SetNameCmd.h"

#include <gtest/gtest.h>

#include <memory>

#pragma GCC diagnostic error "-Wshadow"

namespace Valdane
{
namespace
{

class DerivedObject : public Object
{
public:
    using Object::Object;

    int sum(int owner, int children, int extras, int keyInOwner, int applyStandardRunning) const
    {
        return owner + children + extras + keyInOwner + applyStandardRunning;
    }
};

class DerivedDynamicAttributeCollection : public DynamicAttributeCollection
{
public:
    int sum(int entries) const
    {
        return entries;
    }
};

class DerivedAttributeDescriptionBase : public AttributeDescriptionBase
{
public:
    DerivedAttributeDescriptionBase() : AttributeDescriptionBase("speed") {}

    int sum(int attributeName, int forStandardEnabled) const
    {
        return attributeName + forStandardEnabled;
    }
};

class DerivedAttributeDescription : public AttributeDescription<int>
{
public:
    using AttributeDescription<int>::AttributeDescription;

    int sum(int getter, int setter, int commandCreator, int sigChanged) const
    {
        return getter + setter + commandCreator + sigChanged;
    }
};

class DerivedSetNameCmd : public SetNameCmd
{
public:
    using SetNameCmd::SetNameCmd;

    int sum(int root, int path, int newName, int oldName) const
    {
        return root + path + newName + oldName;
    }
};

class DerivedClearDynamicAttributesCmd : public ClearDynamicAttributesCmd
{
public:
    using ClearDynamicAttributesCmd::ClearDynamicAttributesCmd;

    int sum(int root, int path, int savedCollection) const
    {
        return root + path + savedCollection;
    }
};

class DerivedSetAttributeCmd : public SetAttributeCmd<int>
{
public:
    using SetAttributeCmd<int>::SetAttributeCmd;

    int sum(int object, int path, int newValue, int oldValue, int applyStandardRunning) const
    {
        return object + path + newValue + oldValue + applyStandardRunning;
    }
};

class DerivedSetAttributecommandFactory : public SetAttributecommandFactory
{
public:
    using SetAttributecommandFactory::SetAttributecommandFactory;

    int sum(int rootObject, int objectPath) const
    {
        return rootObject + objectPath;
    }
};

TEST(NamesAreFreeInDerivedClasses, SoThatTheyCompileWithoutWarnings)
{
    const auto object = std::make_shared<Object>("pump");
    EXPECT_EQ(DerivedObject("pump").sum(1, 2, 3, 4, 5), 15);
    EXPECT_EQ(DerivedDynamicAttributeCollection().sum(1), 1);
    EXPECT_EQ(DerivedAttributeDescriptionBase().sum(1, 2), 3);
    EXPECT_EQ(DerivedAttributeDescription("speed", nullptr, nullptr).sum(1, 2, 3, 4), 10);
    EXPECT_EQ(DerivedSetNameCmd(object, "valve", "Rename").sum(1, 2, 3, 4), 10);
    EXPECT_EQ(DerivedClearDynamicAttributesCmd(object, "Clear").sum(1, 2, 3), 6);
    EXPECT_EQ(DerivedSetAttributeCmd(object, Path(), 1, "Set").sum(1, 2, 3, 4, 5), 15);
    EXPECT_EQ(DerivedSetAttributecommandFactory(object).sum(1, 2), 3);
}

} // namespace
} // namespace Valdane
