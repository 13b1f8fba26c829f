#include "Applications/ModelEditor/Edits/EditCommands.h"

#include "Applications/ModelEditor/Document/XmlObject.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <utility>

namespace ModelEditor
{

using Valdane::CommandBase;
using Valdane::MacroCommand;

EditCommands::EditCommands(std::string editDescription) : description(std::move(editDescription)) {}

EditCommands::~EditCommands() = default;

void EditCommands::add(std::shared_ptr<CommandBase> command)
{
    commands.push_back(std::move(command));
    ++added;
}

void EditCommands::annotate(const std::shared_ptr<XmlObject>& object, AnnotateCmd::Change change,
                            std::string commandDescription)
{
    auto& known = annotations[object.get()];
    if (known != nullptr)
    {
        known->add(std::move(change));
        known->setDescription(description);
        ++added;
        return;
    }
    known =
        std::make_shared<AnnotateCmd>(object, std::vector{std::move(change)}, std::move(commandDescription));
    add(known);
}

std::shared_ptr<CommandBase> EditCommands::asOne() const
{
    return added == 1 ? commands.front() : asMacro();
}

std::shared_ptr<MacroCommand> EditCommands::asMacro() const
{
    auto macro = std::make_shared<MacroCommand>(description);
    for (const auto& command : commands)
    {
        macro->addCommand(command);
    }
    return macro;
}

} // namespace ModelEditor
