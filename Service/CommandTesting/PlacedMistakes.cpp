#include "Service/CommandTesting/PlacedMistakes.h"

#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Report.h"

#include <algorithm>
#include <cstddef>

namespace Valdane
{
namespace
{

// More do not help whoever reads them.
constexpr std::size_t mostPlaces = 4;

std::string listOf(const std::vector<std::string>& places)
{
    const std::size_t count = places.size();
    const std::size_t named = count > mostPlaces ? mostPlaces - 1 : count;
    std::string text = places.front();
    for (std::size_t i = 1; i < named; ++i)
    {
        text += (i + 1 == count ? " and " : ", ") + places[i];
    }
    return named == count ? text : text + " and at " + std::to_string(count - named) + " more places";
}

} // namespace

void PlacedMistakes::collect(const std::string& place, const std::function<void()>& trial)
{
    try
    {
        trial();
    }
    catch (const Mistake& mistake)
    {
        add(place, mistake.what());
    }
}

void PlacedMistakes::add(const std::string& place, const std::string& text)
{
    auto same = std::ranges::find(mistakes, text, &Found::text);
    if (same == mistakes.end())
    {
        same = mistakes.insert(same, {text, {}});
    }
    if (std::ranges::find(same->places, place) == same->places.end())
    {
        same->places.push_back(place);
    }
}

bool PlacedMistakes::isEmpty() const
{
    return mistakes.empty();
}

void PlacedMistakes::addTo(Report& report, const std::string& beginning) const
{
    for (const Found& found : mistakes)
    {
        report.addMistake(beginning + " " + listOf(found.places) + ": " + found.text);
    }
}

} // namespace Valdane
