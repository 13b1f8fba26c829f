#include "Applications/ModelEditor/Desktop/AttributeView.h"
#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Desktop/RunActions.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Tests/Applications/ModelEditor/Desktop/DesktopFixture.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QTest>
#include <cstdlib>
#include <random>

// Random actions of a user. MODEL_EDITOR_DESKTOP_ACTIONS is how many, if there are to be more.

namespace
{

using ModelEditor::DocumentTab;
using ModelEditor::XmlModel;

struct RandomUse
{
    std::string model;
    unsigned int seed;
    int share = 1; ///< of the actions, for what takes longer
};

void PrintTo(const RandomUse& tested, std::ostream* out)
{
    *out << tested.model << " with seed " << tested.seed;
}

int countOfActions()
{
    const char* const wanted = std::getenv("MODEL_EDITOR_DESKTOP_ACTIONS");
    return wanted == nullptr ? 250 : std::atoi(wanted);
}

class DesktopActions : public DesktopFixture, public testing::WithParamInterface<RandomUse>
{
protected:
    int pick(int count)
    {
        return static_cast<int>(random() % static_cast<unsigned int>(count));
    }

    void pickElement()
    {
        const auto nodes = tab->getDocument().getModel().select("//*").nodes;
        tab->select(nodes.at(static_cast<std::size_t>(pick(static_cast<int>(nodes.size())))).node);
    }

    QString pickText()
    {
        static const QStringList texts{"plain",      "007", "-1.50", "a < b & c",  "it's",
                                       "  blanks  ", "4.0", "]]>",   "fl\u00e4che"};
        return texts.at(pick(static_cast<int>(texts.size())));
    }

    QString pickMarkup()
    {
        static const QStringList all{"<new/>", "<a b=\"1\">t</a>", "<p><q name=\"r\"/></p>",
                                     "text",   "<!-- c --><e/>",   "<broken>"};
        return all.at(pick(static_cast<int>(all.size())));
    }

    void typeValue()
    {
        auto& table = tab->getAttributes();
        const int rows = table.model()->rowCount();
        if (rows > 0)
        {
            table.model()->setData(table.model()->index(pick(rows), 1), pickText(), Qt::EditRole);
        }
    }

    void trigger(QAction* action)
    {
        if (action->isEnabled())
        {
            action->trigger();
        }
    }

    void drop()
    {
        auto& elements = tab->getDocument().getElements();
        const auto dragged = tab->getTree().currentIndex();
        pickElement();
        const auto target = tab->getTree().currentIndex();
        const std::unique_ptr<QMimeData> data(elements.mimeData({dragged}));
        if ((dragged.flags() & Qt::ItemIsDragEnabled) != 0)
        {
            elements.dropMimeData(data.get(), Qt::MoveAction, pick(3) - 1, 0, target);
        }
    }

    void act()
    {
        auto& actions = window.getActions();
        auto& document = tab->getDocument();
        pickElement();
        switch (pick(16))
        {
        case 0:
        case 1:
            trigger(actions.undo);
            break;
        case 2:
            trigger(actions.redo);
            break;
        case 3:
            trigger(actions.copy);
            break;
        case 4:
            trigger(actions.paste);
            break;
        case 5:
            trigger(pick(4) == 0 ? actions.cut : actions.moveUp);
            break;
        case 6:
            trigger(actions.moveDown);
            break;
        case 7:
            trigger(pick(3) == 0 ? actions.remove : actions.moveUp);
            break;
        case 8:
            tab->insertElement(pickMarkup());
            break;
        case 9:
            tab->addAttribute("added" + QString::number(pick(3)), pickText());
            break;
        case 10:
            drop();
            break;
        case 11:
            document.isRecording() ? trigger(pick(2) == 0 ? actions.finish : actions.discard)
                                   : document.beginRecording("recorded");
            break;
        case 12:
            if (pick(5) == 0)
            {
                ModelEditor::RunActions::scale(document, "//@*", "2", true);
            }
            break;
        case 13:
            if (pick(4) == 0 && !document.isRecording())
            {
                window.save(*tab);
            }
            break;
        default:
            typeValue();
            break;
        }
        settle();
        closeBoxes();
    }

    static void closeBoxes()
    {
        for (auto* const widget : QApplication::topLevelWidgets())
        {
            if (qobject_cast<QDialog*>(widget) != nullptr && widget->isVisible())
            {
                widget->close();
            }
        }
    }

    // The rows are those of the nodes.
    void compare(const QModelIndex& index)
    {
        auto& elements = tab->getDocument().getElements();
        int row = 0;
        for (const auto node : elements.getNode(index).children())
        {
            if (node.type() == pugi::node_element)
            {
                const auto child = elements.index(row++, 0, index);
                ASSERT_EQ(elements.getNode(child), node);
                compare(child);
            }
        }
        ASSERT_EQ(elements.rowCount(index), row);
    }

    std::mt19937 random{GetParam().seed};
    DocumentTab* tab = nullptr;
};

TEST_P(DesktopActions, LeaveTreeFileAndUndoRight)
{
    tab = &openCopyOf(GetParam().model);
    const auto original = read(GetParam().model);
    auto& document = tab->getDocument();
    const QAbstractItemModelTester tester(&document.getElements(),
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    for (int i = countOfActions() / GetParam().share; i > 0; --i)
    {
        act();
        if (i % 25 == 0)
        {
            compare(document.getElements().index(0, 0));
            ASSERT_FALSE(HasFatalFailure());
        }
    }
    if (document.isRecording())
    {
        document.finishRecording();
    }
    settle();
    ASSERT_TRUE(window.save(*tab));
    const auto saved = read(GetParam().model);
    EXPECT_EQ(saved, document.getModel().toBytes());
    const XmlModel again(saved, "again");
    for (const auto* const xpath : {"string(/*)", "count(//*)", "count(//@*)"})
    {
        EXPECT_EQ(again.select(xpath).value, document.getModel().select(xpath).value) << xpath;
    }
    const auto position = document.getManager().getPosition();
    EXPECT_GT(position, static_cast<unsigned int>(countOfActions() / GetParam().share / 25));
    document.getManager().undoAll();
    EXPECT_EQ(document.getModel().toBytes(), original);
    EXPECT_EQ(document.getManager().getPosition(), 0U);
    document.getManager().redo(position);
    settle();
    EXPECT_EQ(document.getModel().toBytes(), saved);
    EXPECT_FALSE(document.isModified());
    compare(document.getElements().index(0, 0));
}

INSTANTIATE_TEST_SUITE_P(Models, DesktopActions,
                         testing::Values(RandomUse{"ur5_robot.urdf", 1}, RandomUse{"ur5_robot.urdf", 2},
                                         RandomUse{"Feedthrough.xml", 1}, RandomUse{"Feedthrough.xml", 2},
                                         RandomUse{"fleet-of-26.urdf", 1, 5}));

} // namespace
