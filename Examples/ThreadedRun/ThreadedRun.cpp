// Work that takes long, on another thread. You learn how to write such a command, and how ThreadedRun runs it
// from the event loop that your application has already: with progress, an abort and failures. Edits that the
// user makes meanwhile are done when the run is over.

#include "Service/Editing/ThreadedRun.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iostream>
#include <iterator>
#include <memory>
#include <semaphore>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace Valdane;
using Pages = std::vector<std::string>;

// Scans sheets of paper. The worker waits for each of them. CommandManager::addCommand() runs the command on the
// calling thread, so all sheets must have been fed before.
class Scan : public ThreadedCommand
{
public:
    Scan(Pages& document, Pages expected)
        : ThreadedCommand("Scan"), pages(document), sheets(std::move(expected))
    {
    }

    // On any thread.
    void feed()
    {
        fed.release();
    }

    // On the worker. It touches only what belongs to this command, and asks often whether it should stop.
    void run() override
    {
        isDone = false;
        scanned.clear();
        for (const std::string& sheet : sheets)
        {
            fed.acquire();
            if (isAborted())
            {
                return;
            }
            if (sheet.empty())
            {
                throw VdException("there is nothing on the sheet");
            }
            scanned.push_back(sheet);
            const double share = static_cast<double>(scanned.size()) / static_cast<double>(sheets.size());
            getProgress()->moveTo(share * LegacyProgress::FullRange);
        }
    }

    void finishRun() override {}

    // On the calling thread: addCommand() and a plain macro send no finish signal.
    void execute() override
    {
        ThreadedCommand::execute();
        insert();
    }

    // On the thread of the event loop, to which the document belongs. False if the run failed or was aborted;
    // after true only if a slot has thrown.
    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            insert();
        }
        else
        {
            undo();
            isDone = false;
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    // A macro undoes its aborted thread, too.
    void undo() override
    {
        if (isDone)
        {
            pages.resize(pages.size() - scanned.size());
        }
    }

    // Nothing is scanned again.
    void redo() override
    {
        if (isDone)
        {
            insert();
        }
    }

protected:
    // On the thread that aborts. A run that waits must be woken up.
    void abortRun() override
    {
        fed.release();
    }

private:
    void insert()
    {
        // What may fail comes first, so that a failure leaves the document as it was.
        Pages added = scanned;
        pages.reserve(pages.size() + added.size());
        std::ranges::move(added, std::back_inserter(pages));
        isDone = true;
    }

    Pages& pages;
    Pages sheets;
    Pages scanned;
    std::counting_semaphore<> fed{0};
    bool isDone = false;
};

class Add : public CommandBase
{
public:
    Add(Pages& document, std::string added) : CommandBase("Add page"), pages(document), page(std::move(added))
    {
    }

    void execute() override
    {
        pages.push_back(page);
    }

    void undo() override
    {
        pages.pop_back();
    }

private:
    Pages& pages;
    std::string page;
};

class Application
{
public:
    void scan(Pages sheets)
    {
        command = std::make_shared<Scan>(pages, std::move(sheets));
        run.start(command);
        command->feed();
    }

    // All edits go to the run, which lets them wait for its end.
    void add(const std::string& page)
    {
        run.addCommand(std::make_shared<Add>(pages, page));
    }

    void undo(std::uint64_t count)
    {
        run.undo(count);
    }

    // Other applications handle events until the user quits them.
    void handleEvents()
    {
        while (run.isRunning())
        {
            loop.run_one();
        }
        std::cout << "  pages:";
        for (const std::string& page : pages)
        {
            std::cout << " " << page;
        }
        std::cout << "\n";
    }

    bool isCancelPressed = false;

private:
    void showProgress(const ThreadedRun::Progress& progress)
    {
        std::cout << "  " << std::lround(100 * progress.share) << " %\n";
        if (isCancelPressed)
        {
            run.abort();
        }
        else
        {
            command->feed();
        }
    }

    static void showEnd(ThreadedRun::Result result, const std::string& text)
    {
        switch (result)
        {
        case ThreadedRun::Result::Done:
            std::cout << "  done\n";
            break;
        case ThreadedRun::Result::Failed:
            std::cout << "  failed: " << text << "\n";
            break;
        case ThreadedRun::Result::Aborted:
            std::cout << "  aborted\n";
            break;
        case ThreadedRun::Result::NotTakenBack:
            // Worth a dialog: the data are between the two states.
            std::cout << "  failed, and some of it is left: " << text << "\n";
            break;
        }
    }

    // In this order: the run is destroyed first. It waits for its worker, which posts to the loop.
    Pages pages;
    boost::asio::io_context loop;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> keepsLoop{loop.get_executor()};
    CommandManager manager;
    ThreadedRun run{manager, [this](std::function<void()> work) { boost::asio::post(loop, std::move(work)); },
                    ThreadedRun::Edits::Queued};
    Signals::Connection progressed =
        run.connectToSigProgress([this](const ThreadedRun::Progress& progress) { showProgress(progress); });
    Signals::Connection finished = run.connectToSigFinished(&showEnd);
    std::shared_ptr<Scan> command;
};

} // namespace

int main()
{
    // The log would write failures to standard output, where showEnd() writes them already.
    spdlog::set_level(spdlog::level::off);
    Application application;

    std::cout << "scan, and edit meanwhile\n";
    application.scan({"one", "two", "three"});
    application.add("appendix");
    application.handleEvents();

    std::cout << "scan more, and press Cancel\n";
    application.isCancelPressed = true;
    application.scan({"four", "five"});
    application.handleEvents();

    std::cout << "scan an empty sheet\n";
    application.isCancelPressed = false;
    application.scan({"four", ""});
    application.handleEvents();

    std::cout << "undo, and undo the scan\n";
    application.undo(2);
    application.handleEvents();
}
