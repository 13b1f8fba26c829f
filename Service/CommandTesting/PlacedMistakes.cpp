#include "Service/CommandTesting/PlacedMistakes.h"

#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Report.h"

#include <algorithm>
#include <sstream>

namespace Valdane
{
namespace
{

// Without the lines of the difference that are there instead of others.
std::string keyOf(const std::string& text)
{
    std::istringstream lines(text);
    std::string key;
    for (std::string line; std::getline(lines, line);)
    {
        key += line.starts_with("+ ") ? "" : line + "\n";
    }
    return key;
}

} // namespace

void PlacedMistakes::collect(const Place& place, const std::function<void()>& trial)
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

void PlacedMistakes::add(const Place& place, const std::string& text)
{
    const std::string key = keyOf(text);
    auto same = std::ranges::find(mistakes, key, &Found::key);
    if (same == mistakes.end())
    {
        same = mistakes.insert(same, {.key = key, .text = text, .places = {}});
    }
    same->hasOtherTexts = same->hasOtherTexts || same->text != text;
    if (std::ranges::find(same->places, place) == same->places.end())
    {
        same->places.push_back(place);
    }
}

void PlacedMistakes::addTo(Report& report, const std::string& beginning) const
{
    for (const Found& found : mistakes)
    {
        report.addMistake(
            beginning + " " + Place::toText(found.places) + ": " + found.text +
            (found.hasOtherTexts ? "\nThis is the first place; elsewhere the + lines are different." : ""));
    }
}

} // namespace Valdane
