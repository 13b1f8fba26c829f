#include "Toolkit/Qt/RunDialog.h"

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Logging/LogMessage.h"
#include "Tests/Service/Editing/ThreadedRun/ThreadedRunFixture.h"
#include "Toolkit/Qt/PostToEventLoop.h"
#include "Toolkit/Qt/RunStatus.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTest>
#include <QTimer>
#include <chrono>
#include <memory>

namespace
{

using namespace std::chrono_literals;
using testing::ElementsAre;
using Valdane::RunDialog;
using Valdane::RunStatus;
using Valdane::ThreadedRun;
using Valdane::ThreadedRunTest;

// What a person sees of it.
std::string shown(const QWidget& display)
{
    if (display.isHidden())
    {
        return "hidden";
    }
    std::string text;
    for (const auto* label : display.findChildren<QLabel*>())
    {
        text += label->text().toStdString() + " | ";
    }
    const auto* const bar = display.findChild<QProgressBar*>();
    const auto* const cancel = display.findChild<QPushButton*>();
    return text +
           (bar->maximum() == 0 ? "busy" : std::to_string(bar->value() * 100 / bar->maximum()) + " %") +
           (cancel->isEnabled() ? "" : " (cancelled)");
}

template <typename Display>
class RunDisplayTest : public ThreadedRunTest
{
protected:
    RunDisplayTest()
    {
        display = std::make_unique<Display>(*run);
        display->setMinimumDuration(0ms);
    }

    void click()
    {
        QTest::mouseClick(display->template findChild<QPushButton*>(), Qt::LeftButton);
    }

    std::unique_ptr<Display> display;
};

class RunDialogTest : public RunDisplayTest<RunDialog>
{
};

class RunStatusTest : public RunDisplayTest<RunStatus>
{
};

} // namespace

TEST_F(RunDialogTest, ShowsHowFarARunIs)
{
    const auto load = heldWork("load");
    EXPECT_EQ(shown(*display), "hidden");
    run->start(load);
    EXPECT_EQ(shown(*display), "Please wait... | 0:00 elapsed | busy");
    load->waitUntilHeld();
    now += 75s;
    auto& progress = *load->getProgressPtr();
    progress.sendMessage({"reading <b>pumps</b>", Valdane::LogMessage::Type::Error, ""});
    progress.reset();
    loop.runAll();
    EXPECT_EQ(shown(*display), "reading <b>pumps</b> | 1:15 elapsed | 0 %");
    load->release();
    drive();
    EXPECT_EQ(shown(*display), "hidden");
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

TEST_F(RunDialogTest, AShortRunShowsNothing)
{
    display->setMinimumDuration(1h);
    const auto load = heldWork("load");
    run->start(load);
    load->waitUntilHeld();
    EXPECT_EQ(shown(*display), "hidden");
    load->release();
    drive();
    QCoreApplication::processEvents();
    EXPECT_EQ(shown(*display), "hidden");
}

TEST_F(RunDialogTest, DoesNotAppearWhenTheRunIsOverBeforeItsMoment)
{
    display->setMinimumDuration(1ms);
    run->start(work("load"));
    drive();
    // Timers come in the order of their moments: this one is later than that of the dialog.
    bool isLater = false;
    QTimer::singleShot(1ms, Qt::PreciseTimer, display.get(), [&] { isLater = true; });
    while (!isLater)
    {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    EXPECT_EQ(shown(*display), "hidden");
}

TEST_F(RunDialogTest, AppearsByItselfAfterAMoment)
{
    display->setMinimumDuration(1ms);
    const auto load = heldWork("load");
    run->start(load);
    EXPECT_TRUE(QTest::qWaitFor([this] { return display->isVisible(); }));
    run->abort();
    drive();
    EXPECT_TRUE(display->isHidden());
}

TEST_F(RunDialogTest, ARunThatIsUnderWayIsShown)
{
    const auto load = heldWork("load");
    run->start(load);
    now += 3s;
    RunDialog late(*run);
    late.setMinimumDuration(0ms);
    EXPECT_NE(shown(late).find("hidden"), std::string::npos);
    load->release();
    drive();
    EXPECT_EQ(shown(late), "hidden");
}

TEST_F(RunDialogTest, CancelsOnceAndStaysUntilTheRunHasStopped)
{
    const auto load = heldWork("load");
    int aborts = 0;
    load->onAbort = [&]
    {
        ++aborts;
    };
    run->start(load);
    load->waitUntilHeld();
    click();
    EXPECT_EQ(shown(*display), "Cancelling... | 0:00 elapsed | busy (cancelled)");
    display->reject();
    EXPECT_EQ(aborts, 1);
    drive();
    EXPECT_EQ(shown(*display), "hidden");
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    expectNothingChanged();
    // The next run can be cancelled again.
    const auto next = heldWork("next");
    run->start(next);
    EXPECT_EQ(shown(*display), "Please wait... | 0:00 elapsed | busy");
    next->release();
    drive();
}

TEST_F(RunDialogTest, EscapeAndClosingCancel)
{
    for (const bool isClosed : {false, true})
    {
        const auto load = heldWork("load");
        run->start(load);
        load->waitUntilHeld();
        isClosed ? static_cast<void>(display->close()) : QTest::keyClick(display.get(), Qt::Key_Escape);
        EXPECT_TRUE(display->isVisible());
        drive();
        EXPECT_TRUE(display->isHidden());
    }
    EXPECT_THAT(notes, ElementsAre("started", "aborted", "started", "aborted"));
    display->reject();
    EXPECT_THAT(notes, testing::SizeIs(4));
}

TEST_F(RunDialogTest, AnAbortThatThrowsIsNoEndOfTheEventLoop)
{
    const auto load = heldWork("load");
    load->onAbort = []
    {
        throw std::runtime_error("not now");
    };
    run->start(load);
    load->waitUntilHeld();
    click();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "aborted"));
    EXPECT_TRUE(display->isHidden());
}

TEST_F(RunDialogTest, AFailureEndsIt)
{
    const auto load = heldWork("load");
    load->onRun = []
    {
        throw std::runtime_error("no such file");
    };
    run->start(load);
    load->release();
    drive();
    EXPECT_TRUE(display->isHidden());
    EXPECT_THAT(notes, ElementsAre("started", "failed: no such file"));
}

TEST_F(RunDialogTest, CanBeCancelledAtEachStepOfAMacro)
{
    for (std::size_t step = 0; step < 3; ++step)
    {
        std::vector<std::shared_ptr<Valdane::Work>> works;
        for (const auto* name : {"a", "b", "c"})
        {
            works.push_back(work(name));
        }
        works[step]->isHeld = true;
        notes.clear();
        run->start(macro("whole", {works[0], works[1], works[2]}));
        while (threads->getCurrentThread().get() != static_cast<Valdane::Thread*>(works[step].get()))
        {
            loop.runOne();
        }
        works[step]->waitUntilHeld();
        click();
        drive();
        EXPECT_THAT(notes, ElementsAre("started", "aborted")) << step;
        EXPECT_TRUE(display->isHidden());
        expectNothingChanged();
    }
}

TEST_F(RunDialogTest, ARunThatASlotOfTheEndStartsIsShown)
{
    const auto second = heldWork("second");
    // Of the fixture, which was connected first.
    onFinished = [&]
    {
        onFinished = nullptr;
        run->start(second);
    };
    run->start(work("first"));
    while (notes != std::vector<std::string>{"started", "done", "started"})
    {
        loop.runOne();
    }
    EXPECT_EQ(shown(*display), "Please wait... | 0:00 elapsed | busy");
    second->release();
    drive();
    EXPECT_EQ(shown(*display), "hidden");
}

TEST_F(RunDialogTest, MayBeDestroyedDuringARunAndAfterIt)
{
    const auto load = heldWork("load");
    run->start(load);
    load->waitUntilHeld();
    display.reset();
    load->release();
    drive();
    EXPECT_THAT(notes, ElementsAre("started", "done"));
}

TEST_F(RunDialogTest, TheRunMayBeDestroyedFirst)
{
    const auto load = heldWork("load");
    run->start(load);
    load->waitUntilHeld();
    run.reset();
    display.reset();
    loop.runAll();
    expectNothingChanged();
}

TEST_F(RunDialogTest, ASlotMayDestroyItWhenTheRunIsOver)
{
    onFinished = [this]
    {
        display.reset();
    };
    const auto load = heldWork("load");
    run->start(load);
    load->release();
    drive();
    EXPECT_EQ(display, nullptr);
}

TEST_F(RunStatusTest, ShowsTheSameInTheStatusBar)
{
    QStatusBar bar;
    bar.addPermanentWidget(display.get());
    auto* const status = display.release();
    bar.show();
    EXPECT_EQ(shown(*status), "hidden");
    const auto load = heldWork("load");
    run->start(load);
    load->waitUntilHeld();
    EXPECT_EQ(shown(*status), "Please wait... | 0:00 elapsed | busy");
    QTest::mouseClick(status->findChild<QPushButton*>(), Qt::LeftButton);
    EXPECT_EQ(shown(*status), "Cancelling... | 0:00 elapsed | busy (cancelled)");
    drive();
    EXPECT_EQ(shown(*status), "hidden");
    expectNothingChanged();
}

// With the event loop of the application in the place of the one that the test drives.
TEST_F(RunDialogTest, ResultsComeBackThroughTheEventLoop)
{
    display.reset();
    run = std::make_unique<ThreadedRun>(*manager, Valdane::postToEventLoop(), ThreadedRun::Edits::Refused);
    const auto thisThread = std::this_thread::get_id();
    bool isOver = false;
    const auto end = run->connectToSigFinished(
        [&](ThreadedRun::Result result, const auto&)
        {
            EXPECT_EQ(std::this_thread::get_id(), thisThread);
            EXPECT_EQ(result, ThreadedRun::Result::Done);
            isOver = true;
            throw std::runtime_error("does not end the program");
        });
    run->start(work("load"));
    EXPECT_FALSE(isOver);
    EXPECT_TRUE(QTest::qWaitFor([&] { return isOver; }));
}
