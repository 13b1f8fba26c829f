#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Valdane
{
class CommandBase;
class ThreadedCommand;
class ThreadedMacroCommand;
} // namespace Valdane

namespace ModelEditor
{

class XmlModel;

/// A command that works on another thread and is ready to be started: one of the two.
struct Work
{
    std::shared_ptr<Valdane::ThreadedCommand> command;
    std::shared_ptr<Valdane::ThreadedMacroCommand> macro;
    std::function<std::string()>
        tellResult; ///< what came of it, in lines, when it is over and well; may be empty

    Valdane::CommandBase& get() const;
};

/// The works that the verbs `scale`, `check` and `import` stand for.
///
/// @param arguments  what follows the verb, as many as it wants (not checked).
/// @throws VdException if the arguments are wrong, or the address selects nothing that could be scaled.
Work makeScale(XmlModel& model, const std::vector<std::string>& arguments);
Work makeCheck(XmlModel& model, const std::vector<std::string>& arguments);
Work makeImportOfFile(XmlModel& model, const std::vector<std::string>& arguments);

} // namespace ModelEditor
