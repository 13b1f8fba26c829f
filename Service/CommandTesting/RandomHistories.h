#pragma once

// Needs RapidCheck (Debian: librapidcheck-dev), which the program that includes this links.

#include "Service/CommandTesting/CommandKit.h"
#include "Service/CommandTesting/HistoryStep.h"
#include "Service/CommandTesting/Report.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <rapidcheck.h>
#include <string>
#include <vector>

namespace Valdane
{

/// What atRandom() plays.
struct RandomOptions
{
    std::uint64_t seed = 1; ///< the same seed, the same histories
    int histories = 100;    ///< how many
    int longest = 40;       ///< the most steps of one
};

/// Random histories of HistoryStep, weighted so that most steps find something to do.
///
/// @param generators  how many generators of commands there are.
inline rc::Gen<std::vector<HistoryStep>> randomHistories(std::size_t generators)
{
    // Of the whole range, however short the history is.
    const auto below = [](std::uint64_t end)
    {
        return rc::gen::resize(rc::kNominalSize, rc::gen::inRange<std::uint64_t>(0, end));
    };
    const auto generator = rc::gen::cast<std::size_t>(below(std::max<std::size_t>(generators, 1)));
    const auto seed = below(1'000'000);
    const auto count = rc::gen::map(below(3), [](std::uint64_t number) { return number + 1; });
    const auto always = [](const HistoryStep& step)
    {
        return rc::gen::just(step);
    };
    const auto step = rc::gen::weightedOneOf<HistoryStep>(
        {{12, rc::gen::apply(&HistoryStep::add, generator, seed)},
         {4, rc::gen::apply(&HistoryStep::addOrMerge, generator, seed)},
         {2, rc::gen::apply(&HistoryStep::addFailing, generator, seed, below(4))},
         {8, rc::gen::apply(&HistoryStep::undo, count)},
         {6, rc::gen::apply(&HistoryStep::redo, count)},
         {2, always(HistoryStep::beginGroup())},
         {3, always(HistoryStep::endGroup())},
         {1, always(HistoryStep::abandonGroup())},
         {1, always(HistoryStep::save())},
         {1, rc::gen::apply(&HistoryStep::limit, rc::gen::cast<std::uint32_t>(below(9)))}});
    return rc::gen::container<std::vector<HistoryStep>>(step);
}

/// Plays random histories of the commands that @p generators make: groups, merges, undo, redo, limits, saves and
/// failures. The data must be after each step what the same commands give when they are executed from the start in a
/// new world.
///
/// A history that fails is made shorter, until no step can be left out. The report shows it as code for
/// CommandKit::replay(), and names the seed. The seed that RapidCheck prints is another one.
///
/// Cost: a history of n commands executes some n * n / 2 of them.
template <typename World>
Report atRandom(const CommandKit<World>& kit,
                const std::vector<typename CommandKit<World>::Generator>& generators,
                const RandomOptions& options = {})
{
    Report shortest("Random histories with the seed " + std::to_string(options.seed));
    if (generators.empty())
    {
        shortest.addMistake("There is no generator of commands");
        return shortest;
    }
    rc::detail::TestParams parameters;
    parameters.seed = options.seed;
    parameters.maxSuccess = options.histories;
    parameters.maxSize = options.longest;
    const auto histories = randomHistories(generators.size());
    const auto isRight = [&]
    {
        const Report report = kit.replay(generators, *histories);
        if (!report)
        {
            // The last one that fails is the shortest.
            shortest = Report(shortest.getSubject());
            shortest.add(report);
        }
        RC_ASSERT(static_cast<bool>(report));
    };
    rc::detail::checkTestable(isRight, rc::detail::TestMetadata(), parameters);
    return shortest;
}

} // namespace Valdane
