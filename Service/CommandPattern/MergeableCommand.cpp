#include "Service/CommandPattern/MergeableCommand.h"

namespace Valdane
{

// Here, so that one module has the type's information, by which others find it in a command.
MergeableCommand::MergeableCommand() = default;

MergeableCommand::~MergeableCommand() = default;

} // namespace Valdane
