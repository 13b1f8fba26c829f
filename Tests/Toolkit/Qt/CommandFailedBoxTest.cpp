#include "Toolkit/Qt/CommandFailedBox.h"

#include "Tests/Toolkit/Qt/Steps.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <memory>
#include <optional>
#include <string>

namespace
{

using QtTestSupport::Counter;
using Valdane::CommandFailedBox;

void settle()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QMessageBox* findBox()
{
    for (auto* const widget : QApplication::topLevelWidgets())
    {
        if (auto* const box = qobject_cast<QMessageBox*>(widget); box != nullptr && box->isVisible())
        {
            return box;
        }
    }
    return nullptr;
}

std::string shown()
{
    const auto* const box = findBox();
    return box == nullptr
               ? "nothing"
               : (box->text() + " / " + box->informativeText() + " / " + box->detailedText()).toStdString();
}

void fail(Counter& counter, const std::string& description)
{
    auto step = std::make_shared<QtTestSupport::Step>(counter.number, description);
    step->fails = true;
    EXPECT_FALSE(counter.manager.addCommand(step));
}

} // namespace

TEST(CommandFailedBoxTest, SaysWhatFailedAndWhy)
{
    Counter counter;
    const CommandFailedBox failures(counter.manager);
    counter.add("works");
    settle();
    EXPECT_EQ(shown(), "nothing");
    fail(counter, "Rename <b>pump</b>");
    EXPECT_EQ(shown(), "nothing");
    settle();
    EXPECT_EQ(shown(), "\"Rename <b>pump</b>\" failed. / not wanted / Rename <b>pump</b>: not wanted");
    EXPECT_FALSE(findBox()->isModal());
}

TEST(CommandFailedBoxTest, GathersWhatFailsWhileItIsOpen)
{
    Counter counter;
    const CommandFailedBox failures(counter.manager);
    fail(counter, "a");
    fail(counter, "b");
    settle();
    EXPECT_EQ(shown(), "2 steps failed. The last one was \"b\". / not wanted / a: not wanted\nb: not wanted");
    fail(counter, "");
    settle();
    EXPECT_EQ(shown(), "3 steps failed. The last one was \"A step\". / not wanted / "
                       "a: not wanted\nb: not wanted\nA step: not wanted");
    QTest::keyClick(findBox(), Qt::Key_Escape);
    settle();
    EXPECT_EQ(shown(), "nothing");
    fail(counter, "c");
    settle();
    EXPECT_EQ(shown(), "\"c\" failed. / not wanted / c: not wanted");
}

TEST(CommandFailedBoxTest, ManyFailuresAreCountedAndTheNewestKept)
{
    Counter counter;
    CommandFailedBox failures(counter.manager);
    for (int i = 0; i < 3000; ++i)
    {
        failures.add(QString::number(i), "because");
    }
    settle();
    EXPECT_EQ(findBox()->text(), "3000 steps failed. The last one was \"2999\".");
    EXPECT_EQ(findBox()->detailedText().count('\n'), 999);
    EXPECT_TRUE(findBox()->detailedText().startsWith("2000: because\n"));
}

TEST(CommandFailedBoxTest, CopiesTheDetailsAndStaysOpen)
{
    Counter counter;
    const CommandFailedBox failures(counter.manager);
    fail(counter, "a");
    settle();
    QAbstractButton* copy = nullptr;
    for (auto* const button : findBox()->buttons())
    {
        copy = button->text().contains("opy") ? button : copy;
    }
    ASSERT_NE(copy, nullptr);
    QTest::mouseClick(copy, Qt::LeftButton);
    settle();
    EXPECT_EQ(QApplication::clipboard()->text(), "a: not wanted");
    EXPECT_NE(findBox(), nullptr);
}

TEST(CommandFailedBoxTest, AllMayBeDestroyedInEachOrder)
{
    for (int order = 0; order < 6; ++order)
    {
        for (const bool isOpen : {false, true})
        {
            std::optional<Counter> counter(std::in_place);
            auto window = std::make_unique<QWidget>();
            auto failures = std::make_unique<CommandFailedBox>(counter->manager, window.get());
            fail(*counter, "a");
            if (isOpen)
            {
                settle();
            }
            const auto destroy = [&](int which)
            {
                which == 0 ? counter.reset() : which == 1 ? window.reset() : failures.reset();
                settle();
            };
            destroy(order % 3);
            destroy((order + (order < 3 ? 1 : 2)) % 3);
            destroy((order + (order < 3 ? 2 : 1)) % 3);
            EXPECT_EQ(findBox(), nullptr);
        }
    }
}

TEST(CommandFailedBoxTest, AFailureWithoutAWindowIsShownAfterTheWindowIsGone)
{
    Counter counter;
    auto window = std::make_unique<QWidget>();
    const CommandFailedBox failures(counter.manager, window.get());
    fail(counter, "a");
    settle();
    window.reset();
    settle();
    fail(counter, "b");
    settle();
    EXPECT_EQ(shown(), "2 steps failed. The last one was \"b\". / not wanted / a: not wanted\nb: not wanted");
}
