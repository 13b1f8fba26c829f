#include "Workshop/Part.h"

#include "Platform/Parameterization/AttributeDescription.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>

#if __has_include("Platform/Parameterization/Private/ChildTable.h")
#error "Headers of the services that are replaced can be found, and stand in for missing ones."
#endif

namespace
{

using Valdane::GetObjectBehavior;
using Valdane::Path;
using Valdane::RequestedPathType;
using Workshop::Part;

class PartTest : public testing::Test
{
protected:
    PartTest()
    {
        roof->add(truss);
        truss->add(beam);
    }

    std::shared_ptr<Part> roof = std::make_shared<Part>(1, "Roof", 6.0);
    std::shared_ptr<Part> truss = std::make_shared<Part>(12, "Truss", 5.0);
    std::shared_ptr<Part> beam = std::make_shared<Part>(7, "Beam", 4.0);
};

TEST_F(PartTest, APathConsistsOfTheNumbersBelowTheTop)
{
    EXPECT_EQ(beam->getPath(RequestedPathType::FromRoot).toString(), "/12/7");
    EXPECT_EQ(beam->getPath(roof.get(), "length", RequestedPathType::FromRoot).toString(), "/12/7.length");
    EXPECT_EQ(beam->getPath(roof.get(), "length", RequestedPathType::FromRoot).getAttributeName(), "length");
}

TEST_F(PartTest, APathLeadsToItsPartWhateverTheNamesAre)
{
    const Path path = beam->getPath(roof.get(), "length", RequestedPathType::FromRoot);
    truss->setName("Other", false);
    beam->setName("Another", false);
    EXPECT_EQ(roof->getObject(path, GetObjectBehavior::EmptyIfMissing), beam);
    EXPECT_EQ(roof->getObject(roof->getPath(RequestedPathType::FromRoot), GetObjectBehavior::EmptyIfMissing),
              roof);
}

TEST_F(PartTest, APathToAMissingPartLeadsNowhere)
{
    EXPECT_EQ(roof->getObject(Path({12, 8}, ""), GetObjectBehavior::EmptyIfMissing), nullptr);
    EXPECT_EQ(roof->getObject(Path({7}, ""), GetObjectBehavior::EmptyIfMissing), nullptr);
}

TEST_F(PartTest, EveryPartKnowsItsOwnerAndTheTop)
{
    EXPECT_EQ(beam->getRootObjectAlt(), roof);
    EXPECT_EQ(roof->getRootObjectAlt(), roof);
    EXPECT_EQ(beam->getOwner(), truss);
    EXPECT_EQ(roof->getOwner(), nullptr);
}

TEST_F(PartTest, ARenamingIsToldWhereThatIsWanted)
{
    std::string told;
    const auto connection = beam->getSigRenamed().connect([&](const std::string& name) { told = name; });
    beam->setName("Ridge beam", true);
    EXPECT_EQ(told, "Ridge beam");
    beam->setName("Rafter", false);
    EXPECT_EQ(told, "Ridge beam");
    EXPECT_EQ(beam->getName(), "Rafter");
}

TEST_F(PartTest, TheLengthIsItsOnlyAttributeAndGreaterThanNothing)
{
    EXPECT_EQ(beam->getAttributeDescription("width"), nullptr);
    EXPECT_EQ(beam->getAttributeDescription("length"), beam->getLengthAttribute());
    beam->getLengthAttribute()->getSetter()(0.5);
    EXPECT_THROW(beam->getLengthAttribute()->getSetter()(0.0), std::invalid_argument);
    EXPECT_THROW(beam->getLengthAttribute()->getSetter()(std::nan("")), std::invalid_argument);
    EXPECT_EQ(beam->getLengthAttribute()->getGetter()(), 0.5);
}

} // namespace
