#include "Service/Editing/UnsavedModule.h"

#include <utility>

namespace Valdane
{

std::vector<std::string> UnsavedModule::words() const
{
    std::vector<std::string> lines;
    for (const UnsavedCommand& command : commands)
    {
        const std::string line = command.description.empty() ? "unnamed change" : command.description;
        lines.push_back((command.isUndone ? "undone: " : "") + line);
    }
    if (hasOtherChanges)
    {
        lines.emplace_back("other changes");
    }
    return lines;
}

} // namespace Valdane
