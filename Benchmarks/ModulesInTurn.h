#pragma once

#include "Service/CommandPattern/ModuleAccessInterface.h"

#include <cstddef>
#include <set>
#include <vector>

namespace Valdane::Benchmarks
{

/// Says after each command that one of the modules was modified, each in its turn, as long as it is told to.
class ModulesInTurn : public ModuleAccessInterface
{
public:
    explicit ModulesInTurn(std::size_t count) : modules(count) {}

    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        if (!tells)
        {
            return {};
        }
        turn = (turn + 1) % modules.size();
        // Only the address counts.
        return {reinterpret_cast<const Object*>(&modules[turn])};
    }

    bool tells = true;

private:
    std::vector<char> modules;
    std::size_t turn = 0;
};

} // namespace Valdane::Benchmarks
