#include "Service/CommandTesting/Snapshot.h"

#include "Service/CommandTesting/LineDifference.h"

namespace Valdane
{

Snapshot::Base::~Base() = default;

bool Snapshot::operator==(const Snapshot& other) const
{
    return kept == other.kept || kept->equals(*other.kept);
}

std::string Snapshot::toText() const
{
    return kept->toText();
}

std::string Snapshot::differenceTo(const Snapshot& found) const
{
    const std::string expectedText = toText();
    const std::string foundText = found.toText();
    if (expectedText == foundText)
    {
        return *this == found ? "" : "The values differ, but are the same when they are printed";
    }
    const std::string difference = LineDifference(expectedText, foundText).toText();
    return difference.empty() ? "Only one of the texts ends with the end of a line" : difference;
}

} // namespace Valdane
