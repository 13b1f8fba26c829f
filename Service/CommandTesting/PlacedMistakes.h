#pragma once

#include "Service/CommandTesting/Place.h"

#include <functional>
#include <string>
#include <vector>

namespace Valdane
{

class Report;

/// What trials have found that differ in their place only. The same mistake at several places is told once.
///
/// Mistakes are the same if the same lines of the data are wrong, whatever is found instead: a run that is
/// aborted later leaves more behind, by the same mistake.
class PlacedMistakes
{
public:
    /// Runs @p trial, and keeps the Mistake that ends it.
    void collect(const Place& place, const std::function<void()>& trial);

    /// Keeps a mistake.
    void add(const Place& place, const std::string& text);

    /// Adds "<beginning> <places>: <text>" to @p report for each mistake, with the text of its first place.
    void addTo(Report& report, const std::string& beginning) const;

private:
    struct Found
    {
        std::string key;
        std::string text;
        std::vector<Place> places;
        bool hasOtherTexts = false;
    };

    std::vector<Found> mistakes;
};

} // namespace Valdane
