#include "Toolkit/Qt/UndoStack.h"

#include <QUndoCommand>
#include <iostream>

namespace
{

class Add : public QUndoCommand
{
public:
    explicit Add(int& changed) : QUndoCommand("Add one"), number(changed) {}

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

} // namespace

int main()
{
    int number = 0;
    Valdane::UndoStack stack;
    stack.push(new Add(number));
    std::cout << number << " " << stack.undoText().toStdString() << "\n";
    stack.undo();
    std::cout << number << " " << stack.redoText().toStdString() << "\n";
}
