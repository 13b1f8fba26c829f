#include "Examples/ModelEditor/XmlModel.h"

#include "Examples/ModelEditor/NamedXmlObject.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/Path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using ModelEditor::NamedXmlObject;
using ModelEditor::Part;
using ModelEditor::XmlModel;
using testing::ElementsAre;

const std::string robot = "<robot xmlns:n='u'>\n <link name='a' n:x='1'><mass v='1'/></link>\n <joint/>\n"
                          " <link v='2'>text<!-- c --></link>\n</robot>";

std::vector<std::string> addressesOf(const XmlModel& model, const std::string& xpath)
{
    std::vector<std::string> addresses;
    for (const auto& selected : model.select(xpath).nodes)
    {
        addresses.push_back(selected.getAddress());
    }
    return addresses;
}

TEST(XmlModel, EveryElementIsAnObjectInTheOrderOfTheFile)
{
    const XmlModel model(robot, "m");
    EXPECT_EQ(model.getSize(), 5U);
    std::vector<std::string> keys;
    for (const auto& module : model.getRoot()->getChildren())
    {
        keys.push_back(module->getKey());
    }
    EXPECT_THAT(keys, ElementsAre("link[1]", "joint", "link[2]"));
    EXPECT_EQ(model.getRoot()->findChild("link[1]")->getChildCount(), 1U);
}

TEST(XmlModel, OnlyElementsWithANameAreNamed)
{
    const XmlModel model(robot, "m");
    const auto link = model.getRoot()->findChild("link[1]");
    EXPECT_EQ(dynamic_cast<NamedXmlObject&>(*link).getName(), "a");
    EXPECT_EQ(dynamic_cast<NamedXmlObject*>(model.getRoot()->findChild("link[2]").get()), nullptr);
}

TEST(XmlModel, SelectsInDocumentOrderAndSaysWhatItFound)
{
    const XmlModel model(robot, "m");
    EXPECT_THAT(addressesOf(model, "//link/@v | //@name | //mass/@v | //@n:x | //text() | //joint"),
                ElementsAre("/robot/link[1]/@name", "/robot/link[1]/@n:x", "/robot/link[1]/mass/@v",
                            "/robot/joint", "/robot/link[2]/@v", "/robot/link[2]/text()"));
    const auto partOf = [&](const std::string& xpath)
    {
        return model.select(xpath).nodes.at(0).part;
    };
    EXPECT_EQ(partOf("//@name"), Part::Name);
    EXPECT_EQ(partOf("//@n:x"), Part::Annotation);
    EXPECT_EQ(partOf("//@v"), Part::Value);
    EXPECT_EQ(partOf("//text()[. = 'text']"), Part::Value);
    EXPECT_EQ(partOf("//mass"), Part::Element);
    EXPECT_EQ(partOf("//comment()"), Part::Unsupported);
    EXPECT_EQ(model.select("//link/@v").nodes.at(0).text, "2");
}

TEST(XmlModel, AnAddressSelectsWhatItIsTheAddressOf)
{
    const XmlModel model("<a><b>one<c/>two</b><b>\n<c/>\nthree<c x='1' n:y='2' name='z'/></b></a>", "m");
    for (const auto& selected : model.select("//* | //@* | //text()").nodes)
    {
        EXPECT_THAT(addressesOf(model, selected.getAddress()), ElementsAre(selected.getAddress()));
    }
}

TEST(XmlModel, TheDeclarationIsNoNode)
{
    const XmlModel model("<?xml version='1.0'?><!DOCTYPE a><a x='1'/>", "m");
    EXPECT_THAT(addressesOf(model, "//@*"), ElementsAre("/a/@x"));
    EXPECT_THAT(addressesOf(model, "/node()"), ElementsAre("/a"));
}

TEST(XmlModel, TheDocumentStandsForItsRoot)
{
    const XmlModel model(robot, "m");
    EXPECT_EQ(model.select("/").nodes.at(0).object, model.getRoot());
}

TEST(XmlModel, AnXPathMayGiveAValue)
{
    const XmlModel model(robot, "m");
    EXPECT_EQ(model.select("count(//link)").value, "2");
    EXPECT_EQ(model.select("name(/*)").value, "robot");
    EXPECT_TRUE(model.select("count(//link)").nodes.empty());
}

TEST(XmlModel, ABadXPathIsReportedWithItsPlace)
{
    const XmlModel model(robot, "m");
    try
    {
        model.select("//link[");
        FAIL() << "nothing was thrown";
    }
    catch (const Valdane::VdException& exception)
    {
        EXPECT_THAT(exception.what(), testing::MatchesRegex("bad XPath at character [0-9]+: .*: //link\\["));
    }
}

TEST(XmlModel, ManyChildrenAndManyLevelsAreFine)
{
    std::string wide = "<a>";
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
    {
        wide += "<b/>";
        deep += "<a>";
    }
    wide += "</a>";
    for (int i = 0; i < 100'000; ++i)
    {
        deep += "</a>";
    }
    EXPECT_EQ(XmlModel(wide, "w").getRoot()->findChild("b[100000]")->getKey(), "b[100000]");
    const XmlModel model(deep, "d");
    EXPECT_EQ(model.getSize(), 100'000U);
    const auto last = model.select("//a[not(*)]").nodes.at(0).object;
    EXPECT_EQ(model.getRoot()->getObject(last->getPath(Valdane::RequestedPathType::FromRoot),
                                         Valdane::GetObjectBehavior::EmptyIfMissing),
              last);
}

} // namespace
