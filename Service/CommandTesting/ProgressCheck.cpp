#include "Platform/GeneralServices/LegacyProgress.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

// Shares of a progress are rounded to its range.
constexpr double Tolerance = 1e-6;

std::string percent(double fraction)
{
    std::ostringstream text;
    text.precision(3);
    text << 100 * fraction << " %";
    return std::move(text).str();
}

/// The positions of a progress while this exists.
class Positions
{
public:
    explicit Positions(LegacyProgress& followed) : progress(followed)
    {
        progress.setChangeCallback([this] { fractions.push_back(progress.fraction()); });
    }

    Positions(const Positions&) = delete;
    Positions& operator=(const Positions&) = delete;

    ~Positions()
    {
        progress.setChangeCallback({});
    }

    const std::vector<double>& get() const
    {
        return fractions;
    }

private:
    LegacyProgress& progress;
    std::vector<double> fractions;
};

void judge(const std::vector<double>& fractions, double largestMove, Report& report)
{
    double last = 0;
    double largest = 0;
    double largestFrom = 0;
    for (const double fraction : fractions)
    {
        if (fraction < last)
        {
            report.addMistake("The progress runs backwards, from " + percent(last) + " to " +
                              percent(fraction));
        }
        if (fraction - last > largest)
        {
            largest = fraction - last;
            largestFrom = last;
        }
        last = fraction;
    }
    if (largest > largestMove + Tolerance)
    {
        report.addMistake("The progress moves from " + percent(largestFrom) + " to " +
                          percent(largestFrom + largest) + " at once; the largest move allowed is " +
                          percent(largestMove));
    }
    if (last < 1)
    {
        report.addMistake("The progress ends at " + percent(last) +
                          ", or the command has taken its change callback away");
    }
}

} // namespace

Report Checks::progress(const CommandSubject& subject, const CommandSubject::Maker& make, double largestMove)
{
    Report report = Trial::begin("Progress", subject, make);
    Mistake::collect(report,
                     [&]
                     {
                         const bool isShare = largestMove >= 0 && largestMove <= 1;
                         if (!isShare)
                         {
                             throw Mistake("The largest move that is allowed must be from 0 to 1");
                         }
                         Trial trial(subject, make);
                         // Shared, because the command may be gone before the callback is taken away.
                         const std::shared_ptr<LegacyProgress> followed = trial.getCommand()->getProgress();
                         if (followed == nullptr)
                         {
                             throw Mistake("The command has no progress, because it was moved from");
                         }
                         if (followed->fraction() != 0)
                         {
                             throw Mistake("The progress begins at " + percent(followed->fraction()));
                         }
                         const Positions positions(*followed);
                         trial.addAsItMust("execute()");
                         judge(positions.get(), largestMove, report);
                     });
    return report;
}

} // namespace Valdane
