#pragma once

#include "Service/CommandPattern/ModuleAccessInterface.h"

#include <array>
#include <cstddef>
#include <set>

namespace Valdane::Benchmarks
{

/// Says after each command that one of the modules was modified, each in its turn, as long as it is told to.
class ModulesInTurn : public ModuleAccessInterface
{
public:
    static constexpr std::size_t count = 1000;

    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        if (!tells)
        {
            return {};
        }
        turn = (turn + 1) % count;
        // Only the address counts.
        return {reinterpret_cast<const Object*>(&modules[turn])};
    }

    bool tells = true;

private:
    std::array<char, count> modules{};
    std::size_t turn = 0;
};

} // namespace Valdane::Benchmarks
