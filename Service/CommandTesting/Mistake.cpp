#include "Service/CommandTesting/Mistake.h"

#include "Service/CommandTesting/Report.h"
#include "Service/CommandTesting/Snapshot.h"

#include <exception>

namespace Valdane
{

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
    catch (const Mistake&)
    {
        throw;
    }
    catch (const std::exception& exception)
    {
        throw Mistake(step + " throws: " + exception.what());
    }
    catch (...)
    {
        throw Mistake(step + " throws something that is not derived from std::exception");
    }
}

void Mistake::unlessEqual(const Snapshot& expected, const Snapshot& found, const std::string& sentence)
{
    if (!(expected == found))
    {
        throw Mistake(sentence + ":\n" + expected.differenceTo(found));
    }
}

} // namespace Valdane
