#pragma once

#include "Toolkit/Qt/QtExport.h"

#include <QDialog>
#include <chrono>
#include <memory>

namespace Valdane
{

class ThreadedRun;

/// Shows the runs of a ThreadedRun: a bar, the command's last message, elapsed and remaining time, and a button that
/// cancels.
///
///     RunDialog dialog(run, &window);
///     run.start(std::make_shared<LoadModel>(path)); // the dialog shows itself if this takes a while
///
/// It appears when a run has taken longer than the minimum duration, and is hidden when the run is over. It is not modal, unless
/// it is told so: what becomes of edits meanwhile is said by ThreadedRun::Edits. Cancel, Escape and the button that closes the
/// window ask the run to stop, and the dialog stays until it has stopped.
///
/// Ownership: the run may be destroyed before the dialog if no event is handled in between; so it can be a member of the
/// window that is the dialog's parent.
/// Thread: the GUI thread.
class VALDANE_QT_EXPORT RunDialog : public QDialog
{
    Q_OBJECT

public:
    /// Hidden, unless a run takes long already.
    explicit RunDialog(ThreadedRun& run, QWidget* parent = nullptr);
    ~RunDialog() override;

    /// How long a run may take before the dialog appears; 500 ms at first. With 0 it appears at the start.
    void setMinimumDuration(std::chrono::milliseconds duration);

    /// Cancels the run.
    void reject() override;

protected:
    /// Cancels the run, and stays until that is over.
    void closeEvent(QCloseEvent* event) override;

private:
    class VALDANE_QT_NO_EXPORT Private;

    std::unique_ptr<Private> d;
};

} // namespace Valdane
