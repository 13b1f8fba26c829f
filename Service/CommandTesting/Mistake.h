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
    /// A ForeignMistake, if that is not derived from std::exception.
    static void guard(const std::string& step, const std::function<void()>& work);

    /// "<sentence>", what - and + mean, and the difference. The first form is for data that should not differ,
    /// the second one for those that were changed.
    static std::string tellDifference(const std::string& sentence, const Snapshot& expected,
                                      const Snapshot& found);
    static std::string tellChange(const std::string& sentence, const Snapshot& before, const Snapshot& after);

    /// @throws Mistake tellDifference(), if @p found is not as @p expected.
    static void unlessEqual(const Snapshot& expected, const Snapshot& found, const std::string& sentence);
};

/// Something was thrown that is not derived from std::exception, after which macros do not roll back.
class ForeignMistake : public Mistake
{
public:
    using Mistake::Mistake;
};

} // namespace Valdane
