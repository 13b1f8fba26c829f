#include "Applications/ModelEditor/Edits/ModelModules.h"

#include "Applications/ModelEditor/Document/XmlModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using ModelEditor::ModelModules;
using ModelEditor::XmlModel;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(ModelModules, AChangeBelongsToTheChildOfTheRootAboveIt)
{
    const XmlModel model("<r><a><b><c/></b></a><d/><e/></r>", "m");
    ModelModules modules(model.getRoot());
    EXPECT_THAT(modules.getModifiedModulesFromBusiness(), IsEmpty());
    modules.onChanged(*model.select("//c").nodes.at(0).object);
    modules.onChanged(*model.select("//b").nodes.at(0).object);
    modules.onChanged(*model.select("//d").nodes.at(0).object);
    EXPECT_THAT(
        modules.getModifiedModulesFromBusiness(),
        UnorderedElementsAre(model.getRoot()->findChild("a").get(), model.getRoot()->findChild("d").get()));
    modules.markAllModulesInBusinessAsUnmodified();
    EXPECT_THAT(modules.getModifiedModulesFromBusiness(), IsEmpty());
}

TEST(ModelModules, TheRootIsTheModuleOfItsOwnValues)
{
    const XmlModel model("<r><a/></r>", "m");
    ModelModules modules(model.getRoot());
    modules.onChanged(*model.getRoot());
    EXPECT_THAT(modules.getModifiedModulesFromBusiness(), UnorderedElementsAre(model.getRoot().get()));
}

TEST(ModelModules, WhatWasNotedCanBeReplaced)
{
    const XmlModel model("<r><a/><b/></r>", "m");
    ModelModules modules(model.getRoot());
    modules.onChanged(*model.select("//a").nodes.at(0).object);
    modules.resetTo({model.getRoot()->findChild("b").get()});
    EXPECT_THAT(modules.getModifiedModulesFromBusiness(),
                UnorderedElementsAre(model.getRoot()->findChild("b").get()));
}

TEST(ModelModules, AllAreTheRootAndItsChildren)
{
    const XmlModel model("<r><a><b/></a><c/></r>", "m");
    EXPECT_THAT(ModelModules(model.getRoot()).getAllModulesAsModified(),
                UnorderedElementsAre(model.getRoot().get(), model.getRoot()->findChild("a").get(),
                                     model.getRoot()->findChild("c").get()));
}

} // namespace
