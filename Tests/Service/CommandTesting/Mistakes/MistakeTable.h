#pragma once

#include "Service/CommandTesting/Report.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantKit.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace Valdane::Plants
{

/// One mistake that people make, the check that finds it, and all that the check says.
struct MistakeRow
{
    std::string name; ///< of the mistake
    std::function<Report(const CommandKit<Plant>&)> check;
    std::string report;
};

inline std::ostream& operator<<(std::ostream& out, const MistakeRow& row)
{
    return out << row.name;
}

inline std::string nameOf(const testing::TestParamInfo<MistakeRow>& info)
{
    return info.param.name;
}

inline void expectTheReport(const MistakeRow& row)
{
    const PlantKit plants;
    const Report report = row.check(plants.kit);
    EXPECT_FALSE(report);
    EXPECT_EQ(report.toText(), row.report);
}

/// What all() does not find, nobody finds who does not know which check to call.
template <typename Command>
void expectAllToFindIt(const CommandKit<Plant>& kit)
{
    EXPECT_FALSE(kit.all(make<Command>()));
}

template <typename Command>
Report checkRoundTrip(const CommandKit<Plant>& kit)
{
    expectAllToFindIt<Command>(kit);
    return kit.roundTrip(make<Command>());
}

template <typename Command>
Report checkFailures(const CommandKit<Plant>& kit)
{
    expectAllToFindIt<Command>(kit);
    return kit.failures(make<Command>());
}

template <typename Command>
Report checkAborts(const CommandKit<Plant>& kit)
{
    expectAllToFindIt<Command>(kit);
    return kit.aborts(make<Command>());
}

template <typename Command>
Report checkTracking(const CommandKit<Plant>& kit)
{
    expectAllToFindIt<Command>(kit);
    return kit.tracking(make<Command>());
}

} // namespace Valdane::Plants
