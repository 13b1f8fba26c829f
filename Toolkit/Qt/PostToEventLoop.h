#pragma once

#include "Service/Editing/ThreadedRun.h"
#include "Toolkit/Qt/QtExport.h"

namespace Valdane
{

/// How a ThreadedRun comes back to the GUI thread: through the event loop of the application.
///
///     ThreadedRun run(manager, postToEventLoop(), ThreadedRun::Edits::Queued);
///
/// Failures: what a slot of the run throws ends in a line of qWarning(), because no exception may pass through the event loop.
/// Thread: the function may be called on any thread, as long as there is a QCoreApplication.
VALDANE_QT_EXPORT ThreadedRun::PostFunction postToEventLoop();

} // namespace Valdane
