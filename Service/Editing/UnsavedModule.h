#pragma once

#include "Service/Editing/EditingExport.h"

#include <string>
#include <vector>

namespace Valdane
{

class Object;

/// A command that makes the data differ from the last save.
struct UnsavedCommand
{
    /// CommandBase::getDescription().
    std::string description;

    /// Whether the save has its effect and the data do not. Otherwise it is the other way round.
    bool isUndone = false;

    /// Whether both are the same.
    bool operator==(const UnsavedCommand&) const = default;
};

/// A module that differs from the last save, and why; see SaveState::unsavedChanges().
///
/// Thread: as any value. The module must be alive only if it is looked into.
struct VALDANE_EDITING_EXPORT UnsavedModule
{
    /// The module; null for what no module was told for.
    const Object* module = nullptr;

    /// The commands of the history that changed it since the save, the oldest first.
    std::vector<UnsavedCommand> commands;

    /// Whether it also has changes of which no command is known: a command that has left the history made
    /// them, or one that is not in the history yet, or none did.
    bool hasOtherChanges = false;

    /// One line for each change, in English: "Rename pump", "undone: Rename pump", "other changes".
    std::vector<std::string> words() const;
};

} // namespace Valdane
