#pragma once

#include "Service/CommandTesting/CommandSubject.h"
#include "Service/CommandTesting/Snapshot.h"
#include "Service/CommandTesting/Trial.h"

#include <cstdint>
#include <optional>

namespace Valdane
{

class FailureStep;
class Fault;

/// One step of a command in a world of its own, with or without a failure.
class FailureScenario
{
public:
    /// The data around a step that does not fail.
    struct Data
    {
        Snapshot before;
        Snapshot after;
    };

    /// Does what comes before the step. @throws Mistake
    FailureScenario(const CommandSubject& subject, const CommandSubject::Maker& make,
                    const FailureStep& triedStep);

    /// Runs the step, which must succeed. @return empty if it cannot be run. @throws Mistake
    std::optional<Data> runWhole();

    /// @throws Mistake if the data are not those from before the step in @p whole, of another world.
    void expectBefore(const Data& whole) const;

    /// Runs the step, which fails at @p place, and then once more. @p whole is what runWhole() has returned.
    /// @throws Mistake if the failure has changed anything, or the second attempt does not succeed.
    void runFailing(Fault& fault, std::uint64_t place, const Data& whole);

private:
    void runAgain(const Data& whole);

    Trial trial;
    const FailureStep& step;
    bool isPossible;
};

} // namespace Valdane
