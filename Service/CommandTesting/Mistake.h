#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace Valdane
{

class Report;
class Snapshot;

/// What a trial has found, in the words of the report. It ends the trial.
class Mistake : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;

    /// Runs @p trial, and adds the mistake that ends it to @p report.
    static void collect(Report& report, const std::function<void()>& trial);

    /// Runs a step of a trial. @throws Mistake "<step> throws: <text>" if it throws anything.
    static void guard(const std::string& step, const std::function<void()>& work);

    /// @throws Mistake "<sentence>:" with the difference, if @p found is not as @p expected.
    static void unlessEqual(const Snapshot& expected, const Snapshot& found, const std::string& sentence);
};

} // namespace Valdane
