#pragma once

namespace Valdane
{

class CommandBase;
class LegacyProgress;

/// The progress of a command that is to be run. @throws VdException if the command was moved from
LegacyProgress& progressOf(CommandBase& command);

} // namespace Valdane
