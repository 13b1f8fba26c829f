// A push while the history list is open, with HistoryView and with QUndoView: one process, in turns. The first row is the push
// alone, the second one the push and what the event loop does about it. Without a display: QT_QPA_PLATFORM=offscreen.

#include "Benchmarks/Samples.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Toolkit/Qt/HistoryModel.h"
#include "Toolkit/Qt/HistoryView.h"

#include <QApplication>
#include <QUndoCommand>
#include <QUndoStack>
#include <QUndoView>
#include <memory>
#include <string>

namespace Valdane::Benchmarks
{
namespace
{

constexpr int turns = 9;
constexpr int pushesInTurn = 20;

class OurCommand : public Valdane::CommandBase
{
public:
    explicit OurCommand(int& changed) : CommandBase("Count"), number(changed) {}

    void execute() override
    {
        ++number;
    }

    void undo() override
    {
        --number;
    }

private:
    int& number;
};

class TheirCommand : public QUndoCommand
{
public:
    explicit TheirCommand(int& changed) : QUndoCommand("Count"), number(changed) {}

    void redo() override
    {
        ++number;
    }

    void undo() override
    {
        --number;
    }

private:
    int& number;
};

struct Ours
{
    void attachView()
    {
        view.setHistory(&model);
    }

    void push()
    {
        manager.addCommand(std::make_shared<OurCommand>(number));
    }

    int number = 0;
    Valdane::CommandManager manager;
    Valdane::HistoryModel model{manager};
    Valdane::HistoryView view;
};

struct Theirs
{
    void push()
    {
        stack.push(new TheirCommand(number));
    }

    int number = 0;

    void attachView()
    {
        view.setStack(&stack);
    }

    QUndoStack stack;
    QUndoView view;
};

// Nanoseconds of all pushes.
template <typename Side>
double turnOf(Side& side, bool areEventsProcessed)
{
    const double took = nanosecondsOf(
        [&]
        {
            for (int i = 0; i < pushesInTurn; ++i)
            {
                side.push();
                if (areEventsProcessed)
                {
                    QApplication::processEvents();
                }
            }
        });
    QApplication::processEvents();
    return took;
}

template <typename Side>
void open(Side& side, int rows)
{
    for (int i = 0; i < rows; ++i)
    {
        side.push();
    }
    side.attachView();
    side.view.resize(300, 600);
    side.view.show();
    QApplication::processEvents();
}

void compare(int rows)
{
    Ours ours;
    Theirs theirs;
    open(ours, rows);
    open(theirs, rows);
    for (const bool areEventsProcessed : {false, true})
    {
        Samples ofOurs;
        Samples ofTheirs;
        for (int turn = 0; turn < turns; ++turn)
        {
            ofOurs.push_back(turnOf(ours, areEventsProcessed));
            ofTheirs.push_back(turnOf(theirs, areEventsProcessed));
        }
        const std::string events = areEventsProcessed ? " and events" : "";
        printRow("push" + events + ", " + std::to_string(rows) + " rows", ofOurs, ofTheirs, pushesInTurn);
    }
}

} // namespace
} // namespace Valdane::Benchmarks

int main(int count, char** arguments)
{
    const QApplication application(count, arguments);
    for (const int rows : {10, 1000, 100'000})
    {
        Valdane::Benchmarks::compare(rows);
    }
}
