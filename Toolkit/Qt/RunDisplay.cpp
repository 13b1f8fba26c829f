#include "Toolkit/Qt/RunDisplay.h"

#include "Toolkit/Qt/EventLoopGuard.h"

#include <cmath>

namespace Valdane
{

namespace
{

using std::chrono::steady_clock;
using namespace std::chrono_literals;

// A run that takes no longer is not worth a window.
constexpr auto usualMinimumDuration = 500ms;

constexpr int fullBar = 1000;

// 0:07, 1:02:03.
QString clockText(steady_clock::duration duration)
{
    const auto seconds = std::chrono::round<std::chrono::seconds>(duration).count();
    const auto twoDigits = [](auto number)
    {
        return QString("%1").arg(number, 2, 10, QChar('0'));
    };
    const auto hours = seconds / 3600;
    const auto minutes = seconds / 60 % 60;
    return (hours > 0 ? QString("%1:%2").arg(hours).arg(twoDigits(minutes)) : QString::number(minutes)) +
           ":" + twoDigits(seconds % 60);
}

} // namespace

RunDisplay::RunDisplay(ThreadedRun& shownRun, QWidget& shownIn)
    : message(new QLabel(&shownIn)),
      bar(new QProgressBar(&shownIn)),
      time(new QLabel(&shownIn)),
      cancel(new QPushButton(tr("&Cancel"), &shownIn)),
      run(shownRun),
      owner(shownIn),
      started(run.connectToSigStarted([this] { start(); })),
      progressed(run.connectToSigProgress([this](const ThreadedRun::Progress& progress) { show(progress); })),
      finished(run.connectToSigFinished([this](auto, const auto&) { finish(); }))
{
    message->setTextFormat(Qt::PlainText);
    bar->setAccessibleName(tr("Progress"));
    moment.setSingleShot(true);
    moment.setInterval(usualMinimumDuration);
    clock.setInterval(1s);
    connect(&moment, &QTimer::timeout, this, [this] { owner.show(); });
    connect(&clock, &QTimer::timeout, this, &RunDisplay::showTime);
    connect(cancel, &QPushButton::clicked, this, &RunDisplay::cancelRun);
    if (run.isRunning())
    {
        start();
    }
}

void RunDisplay::setMinimumDuration(std::chrono::milliseconds duration)
{
    moment.setInterval(duration);
}

void RunDisplay::cancelRun()
{
    if (isCancelled || !run.isRunning())
    {
        return;
    }
    isCancelled = true;
    cancel->setEnabled(false);
    message->setText(tr("Cancelling..."));
    callForEvent([this] { run.abort(); });
}

// The bar moves to and fro until there is a progress.
void RunDisplay::start()
{
    ++toldRuns;
    isCancelled = false;
    cancel->setEnabled(true);
    message->setText(tr("Please wait..."));
    bar->setRange(0, 0);
    showTime();
    clock.start();
    if (moment.interval() == 0)
    {
        owner.show();
    }
    else
    {
        moment.start();
    }
}

void RunDisplay::show(const ThreadedRun::Progress& progress)
{
    bar->setRange(0, fullBar);
    bar->setValue(static_cast<int>(std::floor(progress.share * fullBar)));
    if (!isCancelled && !progress.message.empty())
    {
        message->setText(QString::fromStdString(progress.message));
    }
    showTime();
}

void RunDisplay::showTime()
{
    const auto progress = run.getProgress();
    if (!progress)
    {
        return;
    }
    QString text = tr("%1 elapsed").arg(clockText(progress->elapsed));
    if (progress->remaining)
    {
        text += ", " + tr("about %1 left").arg(clockText(*progress->remaining));
    }
    time->setText(text);
}

void RunDisplay::finish()
{
    // A slot that heard of the end before may have started the next run.
    if (--toldRuns > 0)
    {
        return;
    }
    moment.stop();
    clock.stop();
    owner.hide();
}

} // namespace Valdane
