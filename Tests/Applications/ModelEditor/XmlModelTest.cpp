#include "Applications/ModelEditor/Document/XmlModel.h"

#include "Applications/ModelEditor/Document/NamedXmlObject.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using ModelEditor::NamedXmlObject;
using ModelEditor::Part;
using ModelEditor::XmlChange;
using ModelEditor::XmlModel;
using ModelEditor::XmlPart;
using Valdane::AttributeDescription;
using Valdane::DynamicAttributeCollection;
using ValdaneTests::ElementsAre;

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

TEST(XmlModel, ObjectsAreMadeWhenTheyAreAskedFor)
{
    const XmlModel model(robot, "m");
    const Valdane::Object& root = *model.getRoot();
    EXPECT_EQ(root.getChildCount(), 0U);
    EXPECT_EQ(model.getRoot()->getChildCount(), 3U);
    EXPECT_EQ(root.getChildCount(), 0U);
    const auto joint = model.select("//joint").nodes.at(0).object;
    EXPECT_EQ(root.getChildCount(), 3U);
    const auto link = root.findChild("link[1]");
    EXPECT_EQ(link->getChildCount(), 0U);
    const auto mass = model.select("//mass").nodes.at(0).object;
    EXPECT_EQ(link->findChild("mass"), mass);
    EXPECT_EQ(model.select("/robot/joint").nodes.at(0).object, joint);
}

TEST(XmlModel, ObjectsThatAreMadeWhileTheirElementsAreOutStayTheirs)
{
    XmlModel model("<a><b><c/><c/></b></a>", "m");
    const auto b = model.select("/a/b").nodes.at(0).object;
    ModelEditor::XmlCutting part{.parent = model.getRoot()->getPath(Valdane::RequestedPathType::FromRoot),
                                 .cutting = {.ranges = {{.index = 0, .count = 1}}}};
    model.take(part);
    const auto c = b->getElements().at(1);
    model.put(part);
    EXPECT_EQ(model.select("/a/b/c[2]").nodes.at(0).object, c);
    EXPECT_EQ(c->getAddress(), "/a/b/c[2]");
    model.take(part);
    part = {};
    EXPECT_EQ(model.getSize(), 1U);
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

std::vector<std::string> keysOfModules(const XmlModel& model)
{
    std::vector<std::string> keys;
    for (const auto& module : model.getRoot()->getChildren())
    {
        keys.push_back(module->getKey());
    }
    return keys;
}

TEST(XmlModel, AppendedModulesGetNumbersAndTheOthersKeepTheirKeys)
{
    XmlModel model("<r>\n <mass/>\n <link/><link/>\n</r>", "m");
    const auto mass = model.getRoot()->findChild("mass");
    XmlPart first{.markup = "<mass/><link/><new/>"};
    XmlPart second{.markup = "<new/><mass/>"};
    model.append(first);
    EXPECT_THAT(keysOfModules(model), ElementsAre("mass", "link[1]", "link[2]", "mass[2]", "link[3]", "new"));
    model.append(second);
    EXPECT_THAT(keysOfModules(model),
                ElementsAre("mass", "link[1]", "link[2]", "mass[2]", "link[3]", "new", "new[2]", "mass[3]"));
    EXPECT_EQ(model.getRoot()->findChild("mass"), mass);
    EXPECT_EQ(model.getSize(), 9U);
    EXPECT_THAT(addressesOf(model, "/r/*"),
                ElementsAre("/r/mass[1]", "/r/link[1]", "/r/link[2]", "/r/mass[2]", "/r/link[3]", "/r/new[1]",
                            "/r/new[2]", "/r/mass[3]"));
    for (const auto& address : addressesOf(model, "/r/*"))
    {
        EXPECT_THAT(addressesOf(model, address), ElementsAre(address));
    }
    model.remove(second);
    model.remove(first);
    EXPECT_THAT(addressesOf(model, "//*"), ElementsAre("/r", "/r/mass", "/r/link[1]", "/r/link[2]"));
    EXPECT_EQ(model.getSize(), 4U);
}

TEST(XmlModel, AppendedModulesComeBackAsTheObjectsTheyWere)
{
    XmlModel model("<r/>", "m");
    XmlPart part{.markup = "<a name='n'><b><c/></b><b/></a><d/>"};
    model.append(part);
    std::vector<std::shared_ptr<ModelEditor::XmlObject>> before;
    for (const auto& selected : model.select("//*").nodes)
    {
        before.push_back(selected.object);
    }
    model.remove(part);
    EXPECT_TRUE(before.at(1)->getElement().empty());
    EXPECT_EQ(before.at(1)->getOwner(), nullptr);
    EXPECT_EQ(model.getSize(), 1U);
    model.append(part);
    const auto after = model.select("//*").nodes;
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < after.size(); ++i)
    {
        EXPECT_EQ(after[i].object, before[i]);
        EXPECT_EQ(after[i].object->getElement().empty(), false);
    }
    EXPECT_NE(dynamic_cast<NamedXmlObject*>(after[1].object.get()), nullptr);
}

TEST(XmlModel, AddressesAmongManyModulesFollowThoseThatComeAndGo)
{
    std::string bytes = "<r>";
    for (int i = 0; i < 50; ++i)
    {
        bytes += "<a/>";
    }
    XmlModel model(bytes + "</r>", "m");
    EXPECT_EQ(model.select("/r/a[50]").nodes.size(), 1U);
    XmlPart part{.markup = "<a/><new/>"};
    for (int i = 0; i < 2; ++i)
    {
        model.append(part);
        EXPECT_EQ(model.select("/r/a[51]").nodes.size(), 1U);
        EXPECT_EQ(model.select("/r/new").nodes.size(), 1U);
        model.remove(part);
        EXPECT_TRUE(model.select("/r/a[51]").nodes.empty());
        EXPECT_TRUE(model.select("/r/new").nodes.empty());
    }
}

TEST(XmlModel, OnlyWhatWasAppendedLastCanBeTakenOut)
{
    XmlModel model("<r><z/></r>", "m");
    XmlPart first{.markup = "<a/>"};
    XmlPart second{.markup = "<b/>"};
    EXPECT_THROW(model.remove(first), Valdane::VdException);
    model.append(first);
    model.append(second);
    EXPECT_THROW(model.remove(first), Valdane::VdException);
    EXPECT_EQ(model.toBytes(), "<r><z/><a/><b/></r>");
    model.remove(second);
    model.remove(first);
    EXPECT_THROW(model.remove(first), Valdane::VdException);
    EXPECT_EQ(model.toBytes(), "<r><z/></r>");
}

TEST(XmlModel, TheListenerIsToldOfModulesWhenAllHaveComeOrGone)
{
    XmlModel model("<r><link/></r>", "m");
    XmlPart part{.markup = "<link name='a'/><joint/>"};
    std::vector<std::string> heard;
    std::vector<const ModelEditor::XmlObject*> children;
    model.setChangeListener(
        [&](const XmlChange& change)
        {
            EXPECT_EQ(&change.object, model.getRoot().get());
            heard.push_back(change.value + " " + change.before.value_or("-") + " " +
                            change.after.value_or("-") + " of " + std::to_string(model.getSize()));
            children.push_back(change.child);
        });
    model.append(part);
    EXPECT_THAT(children, ElementsAre(part.modules.at(0).get(), part.modules.at(1).get()));
    model.remove(part);
    EXPECT_THAT(heard, ElementsAre("link[2] - link a of 4", "joint - joint of 4", "link[2] link a - of 2",
                                   "joint joint - of 2"));
    EXPECT_THAT(children, ElementsAre(part.modules.at(0).get(), part.modules.at(1).get(),
                                      part.modules.at(0).get(), part.modules.at(1).get()));
}

TEST(XmlModel, AListenerThatThrowsLeavesTheModulesAsTheyWere)
{
    XmlModel model("<r>\n <a/>\n</r>", "m");
    XmlPart part{.markup = "\n <a x='1'/>"};
    const auto fail = [](const XmlChange&)
    {
        throw std::runtime_error("no");
    };
    model.setChangeListener(fail);
    EXPECT_THROW(model.append(part), std::runtime_error);
    EXPECT_EQ(model.toBytes(), "<r>\n <a/>\n</r>");
    EXPECT_EQ(model.getSize(), 2U);
    EXPECT_EQ(model.getRoot()->getChildCount(), 1U);
    model.setChangeListener({});
    model.append(part);
    const auto module = model.getRoot()->findChild("a[2]");
    model.setChangeListener(fail);
    EXPECT_THROW(model.remove(part), std::runtime_error);
    EXPECT_EQ(model.toBytes(), "<r>\n <a/>\n <a x='1'/>\n</r>");
    EXPECT_EQ(model.getRoot()->findChild("a[2]"), module);
    EXPECT_EQ(model.select("/r/a[2]").nodes.at(0).object, module);
    model.setChangeListener({});
    model.remove(part);
    EXPECT_EQ(model.toBytes(), "<r>\n <a/>\n</r>");
}

TEST(XmlModel, ModulesThatTheRootDoesNotTakeAreNotAppended)
{
    XmlModel model("<r>\n</r>", "m");
    XmlPart part{.markup = "<a><x/></a><b/>"};
    const auto inTheWay = std::make_shared<Valdane::Object>("b");
    for (int i = 0; i < 2; ++i)
    {
        model.getRoot()->addChild(inTheWay);
        EXPECT_THROW(model.append(part), Valdane::VdException);
        EXPECT_EQ(model.toBytes(), "<r>\n</r>");
        EXPECT_EQ(model.getSize(), 1U);
        EXPECT_THAT(keysOfModules(model), ElementsAre("b"));
        model.getRoot()->removeChild("b");
        model.append(part);
        EXPECT_EQ(model.toBytes(), "<r>\n<a><x/></a><b/></r>");
        model.remove(part);
    }
}

int allocationsLeft = 0;

void* allocateWhileAllowed(std::size_t size)
{
    return allocationsLeft-- > 0 ? std::malloc(size) : nullptr;
}

// Has the XML parser run out of memory.
class ParserMemory
{
public:
    ParserMemory()
    {
        pugi::set_memory_management_functions(allocateWhileAllowed, release);
    }

    ParserMemory(const ParserMemory&) = delete;
    ParserMemory& operator=(const ParserMemory&) = delete;

    ~ParserMemory()
    {
        pugi::set_memory_management_functions(allocate, release);
    }

private:
    pugi::allocation_function allocate = pugi::get_memory_allocation_function();
    pugi::deallocation_function release = pugi::get_memory_deallocation_function();
};

TEST(XmlModel, WithoutMemoryForTheNodesNothingIsAppended)
{
    std::string markup;
    for (int i = 0; i < 5'000; ++i)
    {
        markup += "<a x='1'><b/>text</a>";
    }
    XmlModel model("<r><a/>\n</r>", "m");
    XmlPart part{.markup = markup};
    int failures = 0;
    for (bool isDone = false; !isDone; ++failures)
    {
        const ParserMemory memory;
        allocationsLeft = failures;
        try
        {
            model.append(part);
            isDone = true;
        }
        catch (const std::bad_alloc&)
        {
            EXPECT_EQ(model.toBytes(), "<r><a/>\n</r>");
            EXPECT_EQ(model.getSize(), 2U);
            EXPECT_EQ(model.getRoot()->getElement().first_child().next_sibling().next_sibling(),
                      pugi::xml_node());
        }
    }
    EXPECT_GT(failures, 5);
    EXPECT_EQ(model.toBytes(), "<r><a/>" + markup + "\n</r>");
    model.remove(part);
    EXPECT_EQ(model.toBytes(), "<r><a/>\n</r>");
}

TEST(XmlModel, ATextOfTheRootStaysOneWhenModulesAreAppended)
{
    XmlModel model("<r>\n</r>", "m");
    XmlPart part{.markup = "\n<a/>\n<b/>"};
    model.append(part);
    EXPECT_THAT(addressesOf(model, "/r/text()"), ElementsAre("/r/text()"));
    EXPECT_THAT(addressesOf(model, "//node()"), ElementsAre("/r", "/r/text()", "/r/a", "/r/b"));
    const auto text = model.getRoot()->getAttributeDescription("text()");
    dynamic_cast<AttributeDescription<std::string>&>(*text).getSetter()("x");
    EXPECT_EQ(model.toBytes(), "<r>x<a/>\n<b/></r>");
    dynamic_cast<AttributeDescription<std::string>&>(*text).getSetter()("\n");
    model.remove(part);
    EXPECT_EQ(model.toBytes(), "<r>\n</r>");
}

TEST(XmlModel, AnAnnotationOfARootWithoutChildrenStandsBeforeTheModules)
{
    XmlModel model("<r/>", "m");
    XmlPart part{.markup = "<a/>"};
    const auto annotations = std::make_shared<DynamicAttributeCollection>();
    annotations->set("n:x", "1");
    model.getRoot()->setDynamicAttributeCollection(annotations);
    model.append(part);
    EXPECT_EQ(model.toBytes(), "<r n:x=\"1\"><a/></r>");
    model.remove(part);
    EXPECT_EQ(model.toBytes(), "<r n:x=\"1\"/>");
}

TEST(XmlModel, WhatIsChangedInModulesGoesWithThem)
{
    XmlModel model("<r/>", "m");
    XmlPart part{.markup = "<a name='n' x='1' n:y='2'>t</a>"};
    model.append(part);
    const auto module = model.select("/r/a").nodes.at(0).object;
    const auto description = module->getAttributeDescription("x");
    const auto change = [&]
    {
        dynamic_cast<AttributeDescription<std::string>&>(*description).getSetter()("3");
        dynamic_cast<NamedXmlObject&>(*module).setName("m", true);
        const auto annotations = std::make_shared<DynamicAttributeCollection>();
        annotations->set("n:z", "4");
        module->setDynamicAttributeCollection(annotations);
    };
    for (int i = 0; i < 2; ++i)
    {
        change();
        EXPECT_EQ(model.toBytes(), "<r><a name='m' x='3' n:z=\"4\">t</a></r>");
        model.remove(part);
        EXPECT_THROW(change(), Valdane::VdException);
        EXPECT_EQ(part.markup, "<a name='n' x='1' n:y='2'>t</a>");
        model.append(part);
        EXPECT_EQ(module->getAttributeDescription("x"), description);
        EXPECT_EQ(dynamic_cast<AttributeDescription<std::string>&>(*description).getGetter()(), "1");
        EXPECT_EQ(dynamic_cast<NamedXmlObject&>(*module).getName(), "n");
        EXPECT_EQ(module->getDynamicAttributeCollection()->get("n:y"), "2");
    }
}

} // namespace
