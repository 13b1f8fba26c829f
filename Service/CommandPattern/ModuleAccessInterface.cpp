#include "Service/CommandPattern/ModuleAccessInterface.h"

namespace Valdane
{

ModuleAccessInterface::ModuleAccessInterface() = default;
ModuleAccessInterface::ModuleAccessInterface(const ModuleAccessInterface&) = default;
ModuleAccessInterface& ModuleAccessInterface::operator=(const ModuleAccessInterface&) = default;
ModuleAccessInterface::~ModuleAccessInterface() = default;

std::set<const Object*> ModuleAccessInterface::getModifiedModulesFromBusiness()
{
    return {};
}

std::set<const Object*> ModuleAccessInterface::getSaveOnNextSaveModulesFromBusiness()
{
    return {};
}

void ModuleAccessInterface::markAllModulesInBusinessAsUnmodified() {}

std::set<const Object*> ModuleAccessInterface::getAllModulesAsModified()
{
    return {};
}

} // namespace Valdane
