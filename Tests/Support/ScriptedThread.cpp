#include "Tests/Support/ScriptedThread.h"

#include <utility>

namespace ValdaneTests
{

void Gate::open()
{
    const std::scoped_lock lock(mutex);
    isOpen = true;
    opened.notify_all();
}

void Gate::waitUntilOpen()
{
    std::unique_lock lock(mutex);
    opened.wait(lock, [this] { return isOpen; });
}

void HoldPoint::hold()
{
    held.open();
    released.waitUntilOpen();
}

void HoldPoint::waitUntilHeld()
{
    held.waitUntilOpen();
}

void HoldPoint::release()
{
    released.open();
}

void Journal::add(const std::string& what)
{
    const std::string who = std::this_thread::get_id() == caller ? "caller: " : "worker: ";
    const std::scoped_lock lock(mutex);
    entries.push_back(who + what);
}

std::vector<std::string> Journal::lines() const
{
    const std::scoped_lock lock(mutex);
    return entries;
}

ScriptedThread::ScriptedThread(std::shared_ptr<Journal> ownJournal, Script ownScript)
    : Thread("scripted"), journal(std::move(ownJournal)), script(std::move(ownScript))
{
}

ScriptedThread::~ScriptedThread()
{
    journal->add("destroyed");
    if (script.destroyed)
    {
        script.destroyed();
    }
}

void ScriptedThread::run()
{
    journal->add(isAborted() ? "run, aborted" : "run");
    if (script.run)
    {
        script.run(*this);
    }
}

void ScriptedThread::finishRun()
{
    journal->add("finishRun");
    if (script.finishRun)
    {
        script.finishRun();
    }
}

void ScriptedThread::sendFinishSignal(bool ok)
{
    journal->add(ok ? "sendFinishSignal(true)" : "sendFinishSignal(false)");
    if (script.sendFinishSignal)
    {
        script.sendFinishSignal(ok);
    }
}

void ScriptedThread::prepareRun()
{
    journal->add("prepareRun");
    if (script.prepareRun)
    {
        script.prepareRun();
    }
}

void ScriptedThread::abortRun()
{
    journal->add(isAborted() ? "abortRun" : "abortRun, not aborted");
    if (script.abortRun)
    {
        script.abortRun();
    }
}

} // namespace ValdaneTests
