#include "Service/Editing/CommandGroup.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandManager.h"

#include <iterator>
#include <utility>

namespace Valdane
{

CommandGroup::CommandGroup(CommandManager& commandManager, std::string description)
    : manager(commandManager), depth(manager.getOpenGroups().size() + 1)
{
    try
    {
        manager.beginGroup(std::move(description));
    }
    catch (...)
    {
        // A slot has failed when the group was open, or none was opened.
        leave();
        throw;
    }
}

CommandGroup::~CommandGroup()
{
    leave();
}

void CommandGroup::leave()
{
    while (isOpen())
    {
        const std::size_t before = manager.getOpenGroups().size();
        try
        {
            if (!manager.abandonGroup())
            {
                manager.endGroup();
            }
        }
        catch (...)
        {
            // A slot has failed after the group was closed, or the group cannot be closed.
            if (manager.getOpenGroups().size() >= before)
            {
                return;
            }
        }
    }
}

void CommandGroup::commit()
{
    if (isOpen())
    {
        requireInnermost("committed");
        close(
            [this]
            {
                manager.endGroup();
                return true;
            });
    }
}

bool CommandGroup::abandon()
{
    if (!isOpen())
    {
        return true;
    }
    requireInnermost("abandoned");
    return close([this] { return manager.abandonGroup(); });
}

template <typename Work>
bool CommandGroup::close(const Work& work)
{
    try
    {
        depth = work() ? 0 : depth;
        return depth == 0;
    }
    catch (...)
    {
        // A slot may have failed after the group was closed.
        depth = isOpen() ? depth : 0;
        throw;
    }
}

bool CommandGroup::isOpen() const
{
    return depth != 0 && manager.getOpenGroups().size() >= depth;
}

void CommandGroup::requireInnermost(const char* operation) const
{
    const auto groups = manager.getOpenGroups();
    if (groups.size() > depth)
    {
        throw VdException("The group '" + *std::next(groups.begin(), static_cast<std::ptrdiff_t>(depth - 1)) +
                          "' cannot be " + operation + " while the group '" + groups.back() +
                          "' inside it is open");
    }
}

} // namespace Valdane
