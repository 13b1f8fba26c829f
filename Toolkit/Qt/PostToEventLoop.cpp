#include "Toolkit/Qt/PostToEventLoop.h"

#include "Toolkit/Qt/EventLoopGuard.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <utility>

namespace Valdane
{

ThreadedRun::PostFunction postToEventLoop()
{
    return [](std::function<void()> work)
    {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [work = std::move(work)] { callForEvent(work); },
            Qt::QueuedConnection);
    };
}

} // namespace Valdane
