#include "Toolkit/Qt/QtCommand.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <utility>

namespace Valdane
{

QtCommand::QtCommand(std::unique_ptr<QUndoCommand> wrapped) : command(std::move(wrapped))
{
    if (command == nullptr)
    {
        throw VdException("QtCommand: there is no command");
    }
}

void QtCommand::execute()
{
    if (command != nullptr)
    {
        command->redo();
    }
}

void QtCommand::undo()
{
    if (command != nullptr)
    {
        command->undo();
    }
}

const std::string& QtCommand::getDescription() const
{
    const std::string& own = CommandBase::getDescription();
    if (!own.empty() || command == nullptr)
    {
        return own;
    }
    // The command may have another text each time.
    return text = command->text().toStdString();
}

bool QtCommand::mergeWith(const CommandBase& next)
{
    const auto* other = dynamic_cast<const QtCommand*>(&next);
    const bool areThere = command != nullptr && other != nullptr && other->command != nullptr;
    return areThere && command->id() != -1 && command->id() == other->command->id() &&
           command->mergeWith(other->command.get());
}

} // namespace Valdane
