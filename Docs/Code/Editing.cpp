// A drawing with menu, history list, groups, merging and a save prompt, played by a fixed list of inputs.

#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Editing/CommandGroup.h"
#include "Service/Editing/History.h"
#include "Service/Editing/MergePolicy.h"
#include "Service/Editing/RedoAction.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/UndoAction.h"

#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace Valdane;

/// Moves a shape along a line.
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

    void drag(int distance) { policy.add(std::make_shared<Move>(circle, distance), "drag circle"); }

    void save() { saveState.saved(0); }

    void showMenu() const
    {
        std::cout << "  " << undo.getText() << (undo.isEnabled() ? "" : " (disabled)") << ", "
                  << redo.getText() << (redo.isEnabled() ? "" : " (disabled)") << '\n';
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
    Signals::Connection modified = saveState.connectToSigModifiedChanged(
        [](std::uint64_t tracker, bool isModified)
        {
            if (tracker == 0)
            {
                std::cout << "  title: drawing" << (isModified ? " *" : "") << '\n';
            }
        });
};

void step(const std::string& what)
{
    std::cout << "== " << what << '\n';
}

} // namespace

int main()
{
    Editor editor;
    step("a new drawing");
    editor.showMenu();

    step("align, then drag in three small moves");
    editor.align();
    editor.drag(1);
    editor.drag(2);
    editor.drag(3);
    editor.showHistory();
    editor.showMenu();

    step("save, then align again and undo it");
    editor.save();
    editor.align();
    editor.undo.trigger();
    editor.showHistory();

    step("a click on the first row");
    editor.history.moveTo(1);
    editor.showHistory();
    editor.showMenu();

    step("close: what is not saved?");
    editor.showSavePrompt();

    step("a group that is left by an error");
    try
    {
        const CommandGroup group(editor.manager, "Mirror");
        editor.manager.addCommand(std::make_shared<Move>(editor.square, 5));
        throw 1;
    }
    catch (int)
    {
        std::cout << "  the square is at " << editor.square << '\n';
    }
}
