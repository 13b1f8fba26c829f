#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/Editing/ThreadedRun.h"

#include <QLabel>
#include <QObject>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <chrono>

namespace Valdane
{

/// What RunDialog and RunStatus have in common: the widgets, what they show of a run, and when.
///
/// The owner lays the widgets out, and is shown and hidden.
class RunDisplay : public QObject
{
    Q_OBJECT

public:
    RunDisplay(ThreadedRun& shownRun, QWidget& shownIn);

    void setMinimumDuration(std::chrono::milliseconds duration);

    /// Asks the run to stop, once.
    void cancelRun();

    QLabel* const message;
    QProgressBar* const bar;
    QLabel* const time;
    QPushButton* const cancel;

private:
    void start();
    void show(const ThreadedRun::Progress& progress);
    void showTime();
    void finish();

    ThreadedRun& run;
    QWidget& owner;
    QTimer moment;
    QTimer clock;
    // Of which the start is known, and not the end.
    int toldRuns = 0;
    bool isCancelled = false;
    Signals::Connection started;
    Signals::Connection progressed;
    Signals::Connection finished;
};

} // namespace Valdane
