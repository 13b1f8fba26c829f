// Work that takes long, on another thread. You learn how to write such a command, and how ThreadedRun runs it
// from the event loop that your application has already: with progress, an abort and failures. Edits that the
// user makes meanwhile are done when the run is over.

#include "Service/Editing/ThreadedRun.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <spdlog/spdlog.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace Valdane;
using Model = std::vector<std::string>;

class Load : public ThreadedCommand
{
public:
    Load(Model& loaded, std::string name)
        : ThreadedCommand("Load " + name), model(loaded), file(std::move(name))
    {
    }

    // On the worker. It touches only what belongs to this command, and asks often whether it should stop.
    // Work that takes longer than this moves the progress on its way, with moveTo().
    void run() override
    {
        isLoaded = false;
        part.clear();
        for (const char letter : file)
        {
            if (isAborted())
            {
                return;
            }
            if (letter == '?')
            {
                throw VdException("there is no file " + file);
            }
            part += letter;
        }
        getProgress()->setComplete();
    }

    void finishRun() override {}

    // On the thread of the event loop, to which the model belongs. False if the run failed or was aborted;
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
            isLoaded = false;
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    // CommandManager::addCommand() calls this, and sends no finish signal.
    void execute() override
    {
        ThreadedCommand::execute();
        insert();
    }

    // A macro undoes its aborted thread, too.
    void undo() override
    {
        if (isLoaded)
        {
            model.pop_back();
        }
    }

    // The file is not read again.
    void redo() override
    {
        if (isLoaded)
        {
            model.push_back(part);
        }
    }

private:
    void insert()
    {
        model.push_back(part);
        isLoaded = true;
    }

    Model& model;
    std::string file;
    std::string part;
    bool isLoaded = false;
};

class Add : public CommandBase
{
public:
    Add(Model& changed, std::string name) : CommandBase("Add " + name), model(changed), part(std::move(name))
    {
    }

    void execute() override
    {
        model.push_back(part);
    }

    void undo() override
    {
        model.pop_back();
    }

private:
    Model& model;
    std::string part;
};

class Application
{
public:
    void load(std::initializer_list<const char*> files)
    {
        auto macro = std::make_shared<ThreadedMacroCommand>("Load model");
        for (const char* file : files)
        {
            macro->addCommand(std::make_shared<Load>(model, file));
        }
        run.start(macro);
    }

    // All edits go to the run, which lets them wait for its end.
    void add(const char* part)
    {
        run.addCommand(std::make_shared<Add>(model, part));
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
        std::cout << "  parts:";
        for (const std::string& part : model)
        {
            std::cout << " " << part;
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
        }
    }

    // In this order: the run is destroyed first. It waits for its worker, which posts to the loop.
    Model model;
    boost::asio::io_context loop;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> keepsLoop{loop.get_executor()};
    CommandManager manager;
    ThreadedRun run{manager, [this](std::function<void()> work) { boost::asio::post(loop, std::move(work)); },
                    ThreadedRun::Edits::Queued};
    Signals::Connection progressed =
        run.connectToSigProgress([this](const ThreadedRun::Progress& progress) { showProgress(progress); });
    Signals::Connection finished = run.connectToSigFinished(&showEnd);
};

} // namespace

int main()
{
    // The log would write failures to standard output, where showEnd() writes them already.
    spdlog::set_level(spdlog::level::off);
    Application application;

    std::cout << "load, and edit meanwhile\n";
    application.load({"base", "arm", "hand"});
    application.add("label");
    application.handleEvents();

    std::cout << "load more, and press Cancel\n";
    application.isCancelPressed = true;
    application.load({"belt", "motor", "cable"});
    application.handleEvents();

    std::cout << "load a file that is not there\n";
    application.isCancelPressed = false;
    application.load({"belt", "motor?"});
    application.handleEvents();

    std::cout << "undo twice\n";
    application.undo(2);
    application.handleEvents();
}
