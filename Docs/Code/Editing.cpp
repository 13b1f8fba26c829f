// A drawing with menu, history list, groups, merging, a save prompt and work on another thread, played
// by a fixed list of inputs.

#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/Editing/CommandGroup.h"
#include "Service/Editing/History.h"
#include "Service/Editing/HistoryAction.h"
#include "Service/Editing/MergePolicy.h"
#include "Service/Editing/RedoAction.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/ThreadedRun.h"
#include "Service/Editing/UndoAction.h"
#include "Service/Editing/UnsavedModule.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace
{

using namespace Valdane;

class Move : public CommandBase
{
public:
    Move(int& shapePosition, int distance)
        : CommandBase("Move shape"), position(shapePosition), by(distance)
    {
    }

    void execute() override { position += by; }
    void undo() override { position -= by; }

private:
    int& position;
    int by;
};

// Puts a shape at the square root of its area, which it finds on a worker thread.
class Fit : public ThreadedCommand
{
public:
    Fit(int& shapePosition, int shapeArea)
        : ThreadedCommand("Fit shape"), position(shapePosition), area(shapeArea)
    {
    }

    void run() override
    {
        isDone = false;
        for (other = 0; other * other < area && !isAborted(); ++other)
        {
        }
        getProgress()->setComplete();
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            handOver();
        }
        else
        {
            undo();
            isDone = false;
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void execute() override
    {
        ThreadedCommand::execute();
        handOver();
    }

    void undo() override
    {
        if (isDone)
        {
            std::swap(position, other);
        }
    }

    void redo() override { undo(); }

private:
    void handOver()
    {
        std::swap(position, other);
        isDone = true;
    }

    int& position;
    int area;
    int other = 0;
    bool isDone = false;
};

void showEntry(const HistoryAction& action)
{
    std::cout << "  menu: " << action.getText() << (action.isEnabled() ? "" : " (disabled)")
              << '\n';
}

void showTitle(std::uint64_t tracker, bool isModified)
{
    if (tracker == 0)
    {
        std::cout << "  title: drawing" << (isModified ? " *" : "") << '\n';
    }
}

void showProgress(const ThreadedRun::Progress& progress)
{
    std::cout << "  " << std::lround(100 * progress.share) << " %\n";
}

void showEnd(ThreadedRun::Result result, const std::string& text)
{
    switch (result)
    {
    case ThreadedRun::Result::Done:
        std::cout << "  done\n";
        break;
    case ThreadedRun::Result::Failed:
        std::cout << "  failed: " << text << '\n';
        break;
    case ThreadedRun::Result::Aborted:
        std::cout << "  nothing has changed\n";
        break;
    case ThreadedRun::Result::NotTakenBack:
        std::cout << "  failed, and some of it is left: " << text << '\n';
        break;
    }
}

class Editor
{
public:
    void align()
    {
        CommandGroup group(manager, "Align shapes");
        manager.addCommand(std::make_shared<Move>(circle, 10 - circle));
        manager.addCommand(std::make_shared<Move>(square, 10 - square));
        group.commit();
    }

    // For each movement of the mouse, and when its button is released.
    void drag(int distance) { policy.add(std::make_shared<Move>(circle, distance), "drag circle"); }
    void drop() { policy.endStep(); }

    void save()
    {
        // Here the shapes would be written to a file.
        saveState.saved(0);
    }

    void fit() { run.start(std::make_shared<Fit>(circle, 900)); }

    // Other applications handle events until the user quits them.
    void handleEvents()
    {
        while (run.isRunning())
        {
            loop.run_one();
        }
    }

    void showHistory() const
    {
        for (std::uint64_t row = 0; row < history.getRowCount(); ++row)
        {
            std::cout << "  " << (history.isCurrent(row) ? "> " : "  ") << history.getText(row)
                      << (history.isDone(row) ? "" : " (undone)")
                      << (history.isSaved(row, 0) ? " *" : "") << '\n';
        }
    }

    void showSavePrompt() const
    {
        for (const UnsavedModule& unsaved : saveState.unsavedChanges(0))
        {
            for (const std::string& words : unsaved.words())
            {
                std::cout << "  " << words << '\n';
            }
        }
    }

    int circle = 0;
    int square = 0;

    CommandManager manager;
    History history{manager};
    UndoAction undo{manager};
    RedoAction redo{manager};
    SaveState saveState{manager};
    MergePolicy policy{manager, {.pause = std::chrono::hours(1)}};

    Signals::Connection undoShown = undo.connectToSigChanged([this] { showEntry(undo); });
    Signals::Connection redoShown = redo.connectToSigChanged([this] { showEntry(redo); });
    Signals::Connection titleShown = saveState.connectToSigModifiedChanged(&showTitle);

    // The loop is your application's own. This one waits for events also if there is none.
    boost::asio::io_context loop;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> waiting{
        loop.get_executor()};
    ThreadedRun run{
        manager, [this](std::function<void()> work) { boost::asio::post(loop, std::move(work)); },
        ThreadedRun::Edits::Refused};
    Signals::Connection progressShown = run.connectToSigProgress(&showProgress);
    Signals::Connection endShown = run.connectToSigFinished(&showEnd);
};

void step(const std::string& what)
{
    std::cout << "== " << what << '\n';
}

void leaveAGroupByAnError(Editor& editor)
{
    try
    {
        const CommandGroup group(editor.manager, "Mirror");
        editor.manager.addCommand(std::make_shared<Move>(editor.square, 5));
        throw std::runtime_error("there is no axis");
    }
    catch (const std::runtime_error&)
    {
        std::cout << "  the square is at " << editor.square << '\n';
    }
}

} // namespace

int main()
{
    Editor editor;
    step("a new drawing");
    showEntry(editor.undo);
    showEntry(editor.redo);

    step("align, then drag in three small moves");
    editor.align();
    editor.drag(1);
    editor.drag(2);
    editor.drag(3);
    editor.drop();
    editor.showHistory();

    step("a group that is left by an error");
    leaveAGroupByAnError(editor);

    step("save, then align again and undo it");
    editor.save();
    editor.align();
    editor.undo.trigger();
    editor.showHistory();

    step("a click on the first row");
    editor.history.moveTo(1);
    editor.showHistory();

    step("close: what is not saved?");
    editor.showSavePrompt();

    step("fit on a worker thread");
    editor.fit();
    editor.handleEvents();
    std::cout << "  the circle is at " << editor.circle << '\n';
}
