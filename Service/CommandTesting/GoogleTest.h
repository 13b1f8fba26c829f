#pragma once

#include "Service/CommandTesting/CommandKit.h"
#include "Service/CommandTesting/Report.h"
#include "Service/CommandTesting/RoundTripOptions.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

// Matchers of CommandKit for GoogleMock. The library does not need it; who includes this does.

namespace Valdane
{

/// See hasNoMistakes().
class HasNoMistakesMatcher
{
public:
    using is_gtest_matcher = void; ///< what GoogleMock asks for

    /// What GoogleMock calls.
    bool MatchAndExplain(const Report& report, std::ostream* /*listener*/) const
    {
        return static_cast<bool>(report);
    }

    /// What GoogleMock calls.
    void DescribeTo(std::ostream* out) const
    {
        *out << "has no mistakes";
    }

    /// What GoogleMock calls.
    void DescribeNegationTo(std::ostream* out) const
    {
        *out << "has mistakes";
    }
};

/// See hasMistakes().
class HasMistakesMatcher
{
public:
    using is_gtest_matcher = void; ///< what GoogleMock asks for

    /// @param mistakesMatcher  for the mistakes of a report.
    explicit HasMistakesMatcher(testing::Matcher<const std::vector<std::string>&> mistakesMatcher)
        : matcher(std::move(mistakesMatcher))
    {
    }

    /// What GoogleMock calls.
    bool MatchAndExplain(const Report& report, testing::MatchResultListener* listener) const
    {
        return matcher.MatchAndExplain(report.getMistakes(), listener);
    }

    /// What GoogleMock calls.
    void DescribeTo(std::ostream* out) const
    {
        *out << "has mistakes that are such: ";
        matcher.DescribeTo(out);
    }

    /// What GoogleMock calls.
    void DescribeNegationTo(std::ostream* out) const
    {
        *out << "has mistakes that are such: ";
        matcher.DescribeNegationTo(out);
    }

private:
    testing::Matcher<const std::vector<std::string>&> matcher;
};

/// See isProvedBy().
template <typename World>
class IsProvedByMatcher
{
public:
    using is_gtest_matcher = void; ///< what GoogleMock asks for

    /// @param provingKit        whose CommandKit::all() is called.
    /// @param roundTripOptions  what it gets.
    IsProvedByMatcher(CommandKit<World> provingKit, const RoundTripOptions& roundTripOptions)
        : kit(std::move(provingKit)), options(roundTripOptions)
    {
    }

    template <typename Make>
    /// What GoogleMock calls.
    bool MatchAndExplain(const Make& make, testing::MatchResultListener* listener) const
    {
        const Report report = kit.all(make, options);
        if (!report)
        {
            *listener << report;
        }
        return static_cast<bool>(report);
    }

    /// What GoogleMock calls.
    void DescribeTo(std::ostream* out) const
    {
        *out << "makes a command without mistakes";
    }

    /// What GoogleMock calls.
    void DescribeNegationTo(std::ostream* out) const
    {
        *out << "makes a command with mistakes";
    }

private:
    CommandKit<World> kit;
    RoundTripOptions options;
};

/// Matches a Report without mistakes: `EXPECT_THAT(kit.roundTrip(makeRename), hasNoMistakes())`. A report that
/// does not match is printed whole.
inline HasNoMistakesMatcher hasNoMistakes()
{
    return {};
}

/// Matches a Report by its mistakes, a vector of texts, such as
/// `hasMistakes(testing::Contains(testing::HasSubstr("undo 1")))`.
inline HasMistakesMatcher hasMistakes(testing::Matcher<const std::vector<std::string>&> mistakes)
{
    return HasMistakesMatcher(std::move(mistakes));
}

/// Matches a maker whose command passes CommandKit::all(): `EXPECT_THAT(makeRename, isProvedBy(kit))`. The
/// report says what is wrong.
template <typename World>
IsProvedByMatcher<World> isProvedBy(const CommandKit<World>& kit, const RoundTripOptions& options = {})
{
    return {kit, options};
}

} // namespace Valdane
