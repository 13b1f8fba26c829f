#pragma once

#include "Service/CommandTesting/CommandKit.h"
#include "Tests/Service/CommandTesting/Mistakes/Plant.h"

#include <memory>
#include <string_view>
#include <utility>

namespace Valdane::Plants
{

/// The kit as somebody sets it up who has plants.
class PlantKit
{
public:
    PlantKit()
        : kit([this] { return std::make_shared<Plant>([this](std::string_view what) { kit.failAt(what); }); },
              [](const Plant& plant) { return plant.toText(); })
    {
        kit.setModules([](Plant& plant) { return plant.makeModuleAccess(); },
                       [](const Plant& plant) { return plant.takeModuleSnapshots(); });
    }

    PlantKit(const PlantKit&) = delete;
    PlantKit& operator=(const PlantKit&) = delete;
    ~PlantKit() = default;

    CommandKit<Plant> kit;
};

using Maker = CommandKit<Plant>::Maker;

/// Makes the command, with @p arguments after the plant.
template <typename Command, typename... Arguments>
Maker make(Arguments... arguments)
{
    return Maker([arguments...](Plant& plant) { return std::make_shared<Command>(plant, arguments...); });
}

} // namespace Valdane::Plants
