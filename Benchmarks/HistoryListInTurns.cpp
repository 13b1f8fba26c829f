// A push while the history list is open, with HistoryView and with QUndoView: one process, in turns. The first row is the push
// alone, the second one the push and what the event loop does about it. Without a display: QT_QPA_PLATFORM=offscreen.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Toolkit/Qt/HistoryModel.h"
#include "Toolkit/Qt/HistoryView.h"

#include <QApplication>
#include <QUndoCommand>
#include <QUndoStack>
#include <QUndoView>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

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

// Nanoseconds for each push.
template <typename Side>
double turnOf(Side& side, bool areEventsProcessed)
{
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < pushesInTurn; ++i)
    {
        side.push();
        if (areEventsProcessed)
        {
            QApplication::processEvents();
        }
    }
    const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
    QApplication::processEvents();
    return took.count() / pushesInTurn;
}

double medianOf(std::vector<double> values)
{
    std::ranges::nth_element(values, values.begin() + turns / 2);
    return values[turns / 2];
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
        std::vector<double> ofOurs;
        std::vector<double> ofTheirs;
        for (int turn = 0; turn < turns; ++turn)
        {
            ofOurs.push_back(turnOf(ours, areEventsProcessed));
            ofTheirs.push_back(turnOf(theirs, areEventsProcessed));
        }
        const auto our = medianOf(ofOurs);
        const auto their = medianOf(ofTheirs);
        std::printf("%8d rows, %-20s %12.0f ns %12.0f ns %8.3f\n", rows,
                    areEventsProcessed ? "push and events" : "push", our, their, our / their);
    }
}

} // namespace

int main(int count, char** arguments)
{
    const QApplication application(count, arguments);
    std::printf("%37s %12s    %12s    %5s\n", "", "HistoryView", "QUndoView", "ratio");
    for (const int rows : {10, 1000, 100'000})
    {
        compare(rows);
    }
}
