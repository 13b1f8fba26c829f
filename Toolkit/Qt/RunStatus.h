#pragma once

#include "Toolkit/Qt/QtExport.h"

#include <QWidget>
#include <chrono>
#include <memory>

namespace Valdane
{

class ThreadedRun;

/// The same as RunDialog in one line, for the status bar.
///
///     window.statusBar()->addPermanentWidget(new RunStatus(run, &window));
///
/// Ownership and thread: as RunDialog.
class VALDANE_QT_EXPORT RunStatus : public QWidget
{
    Q_OBJECT

public:
    /// Hidden, unless a run takes long already.
    explicit RunStatus(ThreadedRun& run, QWidget* parent = nullptr);
    ~RunStatus() override;

    /// As RunDialog::setMinimumDuration().
    void setMinimumDuration(std::chrono::milliseconds duration);

private:
    class VALDANE_QT_NO_EXPORT Private;

    std::unique_ptr<Private> d;
};

} // namespace Valdane
