#include "Toolkit/Qt/RunStatus.h"

#include "Toolkit/Qt/RunDisplay.h"

#include <QHBoxLayout>

namespace Valdane
{

class RunStatus::Private
{
public:
    Private(ThreadedRun& run, RunStatus& status) : display(run, status) {}

    RunDisplay display;
};

RunStatus::RunStatus(ThreadedRun& run, QWidget* parent)
    : QWidget(parent), d(std::make_unique<Private>(run, *this))
{
    constexpr int usualWidth = 160;
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(d->display.message);
    layout->addWidget(d->display.bar);
    layout->addWidget(d->display.time);
    layout->addWidget(d->display.cancel);
    d->display.bar->setFixedWidth(usualWidth);
    // A layout or a status bar shows what is not hidden on purpose.
    hide();
}

RunStatus::~RunStatus() = default;

void RunStatus::setMinimumDuration(std::chrono::milliseconds duration)
{
    d->display.setMinimumDuration(duration);
}

} // namespace Valdane
