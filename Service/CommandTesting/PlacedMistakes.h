#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Valdane
{

class Report;

/// What trials have found that differ in their place only. The same mistake at several places is told once.
class PlacedMistakes
{
public:
    /// Runs @p trial, and keeps the Mistake that ends it. @param place  such as "at question 2"
    void collect(const std::string& place, const std::function<void()>& trial);

    /// Keeps a mistake.
    void add(const std::string& place, const std::string& text);

    bool isEmpty() const;

    /// Adds "<beginning> <places>: <text>" to @p report for each mistake.
    void addTo(Report& report, const std::string& beginning) const;

private:
    struct Found
    {
        std::string text;
        std::vector<std::string> places;
    };

    std::vector<Found> mistakes;
};

} // namespace Valdane
