#pragma once

#include "Service/CommandTesting/CommandTestingExport.h"
#include "Service/CommandTesting/Snapshot.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Valdane
{

class Choices;
class CommandBase;
class ModuleAccessInterface;
class Object;

/// One module of a world, and what is in it.
struct ModuleSnapshot
{
    const Object* module; ///< as the world's ModuleAccessInterface and the manager name it
    std::string name;     ///< for reports
    Snapshot snapshot;    ///< of this module alone
};

/// What CommandKit knows of the application, without the type of its world. Applications use CommandKit.
struct CommandSubject
{
    /// Data that commands work on, of whatever type.
    using World = std::shared_ptr<void>;
    /// Makes a command for a world, and does not execute it.
    using Maker = std::function<std::shared_ptr<CommandBase>(const World&)>;
    /// Makes a command that depends on choices, for a world as it is; empty if there is none.
    using Generator = std::function<std::shared_ptr<CommandBase>(const World&, Choices&)>;
    /// Makes a command for a world of the data of another one.
    using Codec = std::function<std::shared_ptr<CommandBase>(const CommandBase&, const World&)>;

    std::function<World()> makeWorld;                   ///< never empty
    std::function<Snapshot(const World&)> takeSnapshot; ///< never empty
    std::function<std::shared_ptr<ModuleAccessInterface>(const World&)>
        modules;                                                              ///< empty: the world has none
    std::function<std::vector<ModuleSnapshot>(const World&)> moduleSnapshots; ///< empty: the world has none
};

} // namespace Valdane
