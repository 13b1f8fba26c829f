#pragma once

#include "Applications/ModelEditor/Edits/AnnotateCmd.h"

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Valdane
{
class CommandBase;
class MacroCommand;
} // namespace Valdane

namespace ModelEditor
{

class XmlObject;

/// Gathers the commands of one edit.
///
/// All dynamic attributes of one object that the edit changes are changed by one command: each command of that kind copies
/// the object's whole collection, so one for each of thousands would take seconds and gigabytes.
///
/// Thread: one at a time.
class EditCommands
{
public:
    /// @param editDescription  what the edit is called in the history if it has several commands.
    explicit EditCommands(std::string editDescription);
    ~EditCommands();

    void add(std::shared_ptr<Valdane::CommandBase> command);

    /// Adds a command that makes @p change, or adds the change to the command that @p object has.
    ///
    /// @param commandDescription  of the command, if it has no other change.
    void annotate(const std::shared_ptr<XmlObject>& object, AnnotateCmd::Change change,
                  std::string commandDescription);

    /// The command itself if one was added, otherwise asMacro().
    std::shared_ptr<Valdane::CommandBase> asOne() const;

    /// A macro of all commands in the order in which they were added, also if there is one or none.
    std::shared_ptr<Valdane::MacroCommand> asMacro() const;

private:
    std::string description;
    std::vector<std::shared_ptr<Valdane::CommandBase>> commands;
    std::unordered_map<const XmlObject*, std::shared_ptr<AnnotateCmd>> annotations;
    std::size_t added = 0;
};

} // namespace ModelEditor
