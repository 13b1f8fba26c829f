#include "Service/CommandTesting/Mistake.h"

#include "Service/CommandTesting/Report.h"
#include "Service/CommandTesting/Snapshot.h"

#include <algorithm>
#include <array>
#include <exception>

namespace Valdane
{
namespace
{

// Signs of lines are explained; a difference that no line shows is told by a sentence.
std::string withSigns(const std::string& sentence, const char* signs, const std::string& difference)
{
    constexpr std::array<const char*, 3> beginnings{"- ", "+ ", "  "};
    const bool hasSigns = std::ranges::any_of(beginnings, [&](const char* beginning)
                                              { return difference.starts_with(beginning); });
    return sentence + (hasSigns ? signs : "") + ":\n" + difference;
}

} // namespace

void Mistake::collect(Report& report, const std::function<void()>& trial)
{
    try
    {
        trial();
    }
    catch (const Mistake& mistake)
    {
        report.addMistake(mistake.what());
    }
    // Of what is asked beside the steps: to compare snapshots, or to print one.
    catch (const std::exception& exception)
    {
        report.addMistake(std::string("The check cannot be completed: ") + exception.what());
    }
    catch (...)
    {
        report.addMistake(
            "The check cannot be completed: something throws what is not derived from std::exception");
    }
}

void Mistake::guard(const std::string& step, const std::function<void()>& work)
{
    try
    {
        work();
    }
    catch (const std::exception& exception)
    {
        throw Mistake(step + " throws: " + exception.what());
    }
    catch (...)
    {
        throw ForeignMistake(step + " throws something that is not derived from std::exception");
    }
}

std::string Mistake::tellDifference(const std::string& sentence, const Snapshot& expected,
                                    const Snapshot& found)
{
    return withSigns(sentence, " (- expected, + found)", expected.differenceTo(found));
}

std::string Mistake::tellChange(const std::string& sentence, const Snapshot& before, const Snapshot& after)
{
    return withSigns(sentence, " (- before, + after)", before.differenceTo(after));
}

void Mistake::unlessEqual(const Snapshot& expected, const Snapshot& found, const std::string& sentence)
{
    if (!(expected == found))
    {
        throw Mistake(tellDifference(sentence, expected, found));
    }
}

} // namespace Valdane
