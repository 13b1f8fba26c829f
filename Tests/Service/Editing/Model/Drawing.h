#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>
#include <vector>

namespace Valdane::EditingModel
{

constexpr std::size_t moduleCount = 4;

/// One for each module, and a last one that belongs to no module.
constexpr std::size_t layerCount = moduleCount + 1;

/// One bit for each layer.
using Layers = unsigned;

constexpr Layers layersOfModules = (1U << moduleCount) - 1;

/// No two strokes have the same number, so that two drawings are the same only if they have the same history.
struct Stroke
{
    std::size_t layer = 0;
    int number = 0;
};

using Strokes = std::vector<Stroke>;

/// The data that commands change.
class Drawing
{
public:
    void draw(const Strokes& strokes)
    {
        for (const Stroke& stroke : strokes)
        {
            std::vector<int>& numbers = layers[stroke.layer];
            numbers.insert(std::ranges::lower_bound(numbers, stroke.number), stroke.number);
        }
    }

    void erase(const Strokes& strokes)
    {
        for (const Stroke& stroke : strokes)
        {
            std::vector<int>& numbers = layers[stroke.layer];
            const auto place = std::ranges::lower_bound(numbers, stroke.number);
            if (place == numbers.end() || *place != stroke.number)
            {
                throw std::logic_error("a stroke that is not there is erased");
            }
            numbers.erase(place);
        }
    }

    bool operator==(const Drawing&) const = default;

    /// The layers that are not the same in both.
    Layers differingFrom(const Drawing& other) const
    {
        Layers differing = 0;
        for (std::size_t layer = 0; layer < layerCount; ++layer)
        {
            differing |= layers[layer] == other.layers[layer] ? 0U : 1U << layer;
        }
        return differing;
    }

    const std::vector<int>& strokesOf(std::size_t layer) const
    {
        return layers[layer];
    }

private:
    /// In ascending order.
    std::array<std::vector<int>, layerCount> layers;
};

} // namespace Valdane::EditingModel
