#include "Applications/ModelEditor/Edits/ImportCmd.h"

#include "Applications/ModelEditor/Edits/SetValue.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

using ModelEditor::ImportCmd;
using ModelEditor::XmlModel;

TEST(ImportCmd, AppendsAndTakesOut)
{
    XmlModel model("<r>\n <a/>\n</r>", "m");
    ImportCmd command(model, "\n <b/>", "import");
    EXPECT_EQ(command.getDescription(), "import");
    for (int i = 0; i < 2; ++i)
    {
        command.execute();
        EXPECT_EQ(model.toBytes(), "<r>\n <a/>\n <b/>\n</r>");
        command.undo();
        EXPECT_EQ(model.toBytes(), "<r>\n <a/>\n</r>");
    }
}

TEST(ImportCmd, BringsTheSameObjectsBackSoThatLaterCommandsFindThem)
{
    XmlModel model("<r/>", "m");
    ImportCmd command(model, "<a><b v='1'/></a>", "import");
    command.execute();
    const auto selected = model.select("//@v").nodes.at(0);
    const auto module = model.getRoot()->findChild("a");
    const auto edit = ModelEditor::makeSetCommand(selected, "2", {});
    edit->execute();
    EXPECT_EQ(model.toBytes(), "<r><a><b v='2'/></a></r>");
    edit->undo();
    command.undo();
    EXPECT_THROW(edit->execute(), Valdane::VdException);
    command.execute();
    EXPECT_EQ(model.getRoot()->findChild("a"), module);
    EXPECT_EQ(model.select("//b").nodes.at(0).object, selected.object);
    edit->execute();
    EXPECT_EQ(model.toBytes(), "<r><a><b v='2'/></a></r>");
}

TEST(ImportCmd, MayDieWithTheModulesOutOrIn)
{
    XmlModel model("<r/>", "m");
    auto first = std::make_unique<ImportCmd>(model, "<a/>", "import");
    first->execute();
    first->undo();
    first.reset();
    auto second = std::make_unique<ImportCmd>(model, "<b/>", "import");
    second->execute();
    second.reset();
    EXPECT_EQ(model.toBytes(), "<r><b/></r>");
    EXPECT_EQ(model.select("//b").nodes.at(0).object->getAddress(), "/r/b");
}

} // namespace
