#include "Platform/Parameterization/CommandCreatorInterface.h"

namespace Valdane
{

CommandCreatorInterface::~CommandCreatorInterface() = default;

std::shared_ptr<CommandBase> CommandCreatorInterface::createCommand(const void* /*description*/,
                                                                    const std::string& /*valueText*/,
                                                                    const std::string& /*commandDescription*/)
{
    return {};
}

} // namespace Valdane
