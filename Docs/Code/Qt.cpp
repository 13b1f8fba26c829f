// A window with undo, redo, a history list, a save prompt and a progress dialog.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/ThreadedRun.h"
#include "Toolkit/Qt/CommandFailedBox.h"
#include "Toolkit/Qt/HistoryModel.h"
#include "Toolkit/Qt/HistoryView.h"
#include "Toolkit/Qt/PostToEventLoop.h"
#include "Toolkit/Qt/RunDialog.h"
#include "Toolkit/Qt/SaveChangesDialog.h"
#include "Toolkit/Qt/UndoRedoActions.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QMainWindow>
#include <QMenuBar>
#include <iostream>
#include <memory>
#include <vector>

using namespace Valdane;

namespace
{

struct Plant
{
    std::vector<int> speeds;
};

class AddPump : public CommandBase
{
public:
    AddPump(Plant& changed, int pumpSpeed)
        : CommandBase("Add pump of " + std::to_string(pumpSpeed) + "/s"),
          plant(changed),
          speed(pumpSpeed)
    {
    }

    void execute() override { plant.speeds.push_back(speed); }

    void undo() override { plant.speeds.pop_back(); }

private:
    Plant& plant;
    int speed;
};

// Reads on a worker thread, and changes the plant on the thread of the window.
class ImportPumps : public ThreadedCommand
{
public:
    explicit ImportPumps(Plant& changed) : ThreadedCommand("Import pumps"), plant(changed) {}

    void run() override
    {
        imported = {20, 30}; // what takes long
    }

    void finishRun() override {}

    void sendFinishSignal(bool ok) override
    {
        if (ok)
        {
            redo();
        }
        ThreadedCommand::sendFinishSignal(ok);
    }

    void redo() override
    {
        plant.speeds.insert(plant.speeds.end(), imported.begin(), imported.end());
        isDone = true;
    }

    void undo() override
    {
        if (isDone)
        {
            plant.speeds.resize(plant.speeds.size() - imported.size());
            isDone = false;
        }
    }

private:
    Plant& plant;
    std::vector<int> imported;
    bool isDone = false;
};

class Window : public QMainWindow
{
public:
    Window()
    {
        auto* const edit = menuBar()->addMenu("&Edit");
        edit->addAction(createUndoAction(manager, this));
        edit->addAction(createRedoAction(manager, this));
        edit->addAction("&Add pump", this,
                        [this] { run.addCommand(std::make_shared<AddPump>(plant, 10)); });
        edit->addAction("&Import pumps", this,
                        [this] { run.start(std::make_shared<ImportPumps>(plant)); });
        edit->addAction("&Save", this, [this] { saveState.saved(0); });

        auto* const list = new HistoryView;
        list->setHistory(&history);
        auto* const dock = new QDockWidget("History", this);
        dock->setWidget(list);
        addDockWidget(Qt::RightDockWidgetArea, dock);
        setWindowTitle("plant.xml[*]");
    }

protected:
    void closeEvent(QCloseEvent* event) override
    {
        const auto choice = saveChangesDialog(this, "plant.xml", saveState, 0);
        if (choice == SaveChoice::Save)
        {
            saveState.saved(0);
        }
        event->setAccepted(choice != SaveChoice::Cancel);
    }

private:
    Plant plant;
    CommandManager manager;
    HistoryModel history{manager};
    SaveState saveState{manager};
    ThreadedRun run{manager, postToEventLoop(), ThreadedRun::Edits::Queued};
    RunDialog progress{run, this};
    CommandFailedBox failures{manager, this};
    Signals::Connection modified = showModified(*this, saveState, 0);
};

// What a person does, and what is shown then.
void play(Window& window)
{
    const auto click = [&window](const char* text)
    {
        for (auto* const action : window.menuBar()->actions().front()->menu()->actions())
        {
            if (action->text().startsWith(text))
            {
                action->trigger();
            }
        }
        const auto* const rows = window.findChild<HistoryView*>()->model();
        std::cout << text << (window.isWindowModified() ? " *" : "") << "\n";
        for (int row = 0; row < rows->rowCount(); ++row)
        {
            const auto index = rows->index(row, 0);
            std::cout << (index.data(HistoryModel::IsCurrentRole).toBool() ? "  > " : "    ")
                      << index.data().toString().toStdString() << "\n";
        }
    };
    click("&Add");
    click("&Save");
    click("&Import");
    while (window.findChild<HistoryView*>()->model()->rowCount() < 3)
    {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    click("&Add");
    click("Undo");
    click("Undo");
}

} // namespace

// With an argument: the picture of the window goes there.
int main(int count, char** arguments)
{
    QApplication application(count, arguments);
    Window window;
    window.show();
    if (count == 1 && QApplication::platformName() != "offscreen")
    {
        return QApplication::exec();
    }
    play(window);
    if (count == 2)
    {
        QCoreApplication::processEvents();
        window.grab().save(arguments[1]);
    }
}
