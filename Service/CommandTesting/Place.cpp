#include "Service/CommandTesting/Place.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace Valdane
{
namespace
{

using Numbers = std::vector<std::uint64_t>;

// More do not help whoever reads them.
constexpr std::size_t mostNamed = 4;

/// A part of a list, and how many places it stands for.
struct Part
{
    std::string text;
    std::size_t places;
};

using Parts = std::vector<Part>;

std::string listOf(const Parts& parts, const std::string& comma = ", ",
                   const std::string& conjunction = " and ")
{
    const std::size_t named = parts.size() > mostNamed ? mostNamed - 1 : parts.size();
    std::string list = parts.front().text;
    for (std::size_t i = 1; i < named; ++i)
    {
        list += (i + 1 == parts.size() ? conjunction : comma) + parts[i].text;
    }
    std::size_t others = 0;
    for (std::size_t i = named; i < parts.size(); ++i)
    {
        others += parts[i].places;
    }
    return others == 0 ? list : list + conjunction + std::to_string(others) + " more";
}

// "call 2", "calls 1 and 3", "calls 1 to 4 and 7"; empty if they have no numbers.
std::string textOfCalls(const Numbers& calls)
{
    if (calls.front() == 0)
    {
        return "";
    }
    Parts ranges;
    for (std::size_t first = 0; first < calls.size();)
    {
        std::size_t end = first + 1;
        while (end < calls.size() && calls[end] == calls[end - 1] + 1)
        {
            ++end;
        }
        const std::size_t count = end - first > 2 ? end - first : 1;
        ranges.push_back({std::to_string(calls[first]), count});
        if (count > 1)
        {
            ranges.back().text += " to " + std::to_string(calls[end - 1]);
        }
        first += count;
    }
    return (calls.size() == 1 ? "call " : "calls ") + listOf(ranges);
}

/// The calls of one thing in one step.
class Calls
{
public:
    void add(const Place& place)
    {
        auto& calls = place.throwsInt ? withInt : withException;
        calls.push_back(place.call);
    }

    // Those for which both kinds of failure are found are told once.
    void addTo(Parts& parts, const std::string& what)
    {
        std::ranges::sort(withException);
        std::ranges::sort(withInt);
        Numbers both;
        Numbers exceptionOnly;
        Numbers intOnly;
        std::ranges::set_intersection(withException, withInt, std::back_inserter(both));
        std::ranges::set_difference(withException, both, std::back_inserter(exceptionOnly));
        std::ranges::set_difference(withInt, both, std::back_inserter(intOnly));
        addTo(parts, what, exceptionOnly, "");
        addTo(parts, what, both, "also if it throws an int");
        addTo(parts, what, intOnly, "only if it throws an int, not a std::exception");
    }

private:
    static void addTo(Parts& parts, const std::string& what, const Numbers& calls, const std::string& note)
    {
        if (calls.empty())
        {
            return;
        }
        const std::string numbers = textOfCalls(calls);
        const std::string all = numbers + (numbers.empty() || note.empty() ? "" : ", ") + note;
        parts.push_back({what + (all.empty() ? "" : " (" + all + ")"), calls.size()});
    }

    Numbers withException;
    Numbers withInt;
};

// Keeps the order in which keys come first.
template <typename Value>
Value& valueOf(std::vector<std::pair<std::string, Value>>& values, const std::string& key)
{
    auto found = std::ranges::find(values, key, &std::pair<std::string, Value>::first);
    if (found == values.end())
    {
        found = values.insert(found, {key, Value()});
    }
    return found->second;
}

std::string textOfStep(const std::vector<Place>& places)
{
    std::vector<std::pair<std::string, Calls>> callsOfAll;
    for (const Place& place : places)
    {
        valueOf(callsOfAll, place.what).add(place);
    }
    Parts parts;
    for (auto& [what, calls] : callsOfAll)
    {
        calls.addTo(parts, what);
    }
    return listOf(parts);
}

} // namespace

std::string Place::toText(const std::vector<Place>& places)
{
    std::vector<std::pair<std::string, std::vector<Place>>> placesOfSteps;
    for (const Place& place : places)
    {
        valueOf(placesOfSteps, place.step).push_back(place);
    }
    // Steps with the same places share a line.
    std::vector<std::pair<std::string, Parts>> stepsOfTexts;
    for (const auto& [step, placesOfStep] : placesOfSteps)
    {
        valueOf(stepsOfTexts, textOfStep(placesOfStep)).push_back({step, placesOfStep.size()});
    }
    Parts lines;
    for (const auto& [text, steps] : stepsOfTexts)
    {
        std::size_t count = 0;
        for (const Part& step : steps)
        {
            count += step.places;
        }
        lines.push_back({listOf(steps) + (text.empty() ? "" : " " + text), count});
    }
    return listOf(lines, ",\n", ",\nand ");
}

} // namespace Valdane
