#include "Toolkit/Qt/RunDialog.h"

#include "Toolkit/Qt/RunDisplay.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace Valdane
{

class RunDialog::Private
{
public:
    Private(ThreadedRun& run, RunDialog& dialog) : display(run, dialog) {}

    RunDisplay display;
};

RunDialog::RunDialog(ThreadedRun& run, QWidget* parent)
    : QDialog(parent), d(std::make_unique<Private>(run, *this))
{
    constexpr int usualWidth = 420;
    const auto& display = d->display;
    display.message->setWordWrap(true);
    display.message->setMinimumWidth(usualWidth);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(display.message);
    layout->addWidget(display.bar);
    auto* const bottom = new QHBoxLayout;
    bottom->addWidget(display.time);
    bottom->addStretch();
    bottom->addWidget(display.cancel);
    layout->addLayout(bottom);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

RunDialog::~RunDialog() = default;

void RunDialog::setMinimumDuration(std::chrono::milliseconds duration)
{
    d->display.setMinimumDuration(duration);
}

void RunDialog::reject()
{
    d->display.cancelRun();
}

void RunDialog::closeEvent(QCloseEvent* event)
{
    d->display.cancelRun();
    event->ignore();
}

} // namespace Valdane
