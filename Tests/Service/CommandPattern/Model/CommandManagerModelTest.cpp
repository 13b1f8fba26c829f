#include "Journal.h"
#include "ModelSide.h"
#include "Operation.h"
#include "Platform/Logging/Logging.h"
#include "Player.h"
#include "RealSide.h"
#include "State.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <rapidcheck.h>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

namespace Valdane::Model
{
namespace
{

/// About twenty seconds of a debug build; fewer under a sanitizer.
#ifdef __SANITIZE_ADDRESS__
constexpr std::uint64_t usualNumber = 50'000;
#else
constexpr std::uint64_t usualNumber = 1'000'000;
#endif

/// The number in an environment variable.
std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise)
{
    const char* text = std::getenv(variable);
    return text == nullptr ? otherwise : std::stoull(text);
}

std::string textOf(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
    {
        text += "\n  " + line;
    }
    return text;
}

/// Where the two part ways; empty if they never do.
std::string differenceAfter(const std::vector<Operation>& sequence)
{
    Player<RealSide> real;
    Player<ModelSide> model;
    for (std::size_t step = 0; step < sequence.size(); ++step)
    {
        const std::vector<std::string> happened = real.play(sequence[step]);
        const std::vector<std::string> expected = model.play(sequence[step]);
        const State is = real.observe();
        const State shouldBe = model.observe();
        if (happened != expected || is != shouldBe)
        {
            std::ostringstream text;
            text << "operation " << step + 1 << ':' << sequence[step] << "\nexpected:" << textOf(expected)
                 << "\nhappened:" << textOf(happened) << "\nexpected state: " << shouldBe
                 << "\nactual state:   " << is;
            return text.str();
        }
    }
    return {};
}

/// Says nothing. With it, RapidCheck does not take its parameters from the environment.
class Silent : public rc::detail::TestListener
{
public:
    void onTestCaseFinished(const rc::detail::CaseDescription& /*description*/) override {}

    void onShrinkTried(const rc::detail::CaseDescription& /*shrink*/, bool /*accepted*/) override {}

    void onTestFinished(const rc::detail::TestMetadata& /*metadata*/,
                        const rc::detail::TestResult& /*result*/) override
    {
    }
};

class CommandManagerModel : public testing::Test
{
protected:
    CommandManagerModel()
    {
        Logging::traceEnabled = true;
    }

    ~CommandManagerModel() override
    {
        journalPrefix() = nullptr;
        takeJournal();
        Logging::lines.clear();
    }
};

TEST_F(CommandManagerModel, RandomOperationsLeaveTheSameStateAndTheSameJournal)
{
    constexpr std::uint64_t length = 100;
    const std::uint64_t wanted = numberFrom("VALDANE_MODEL_OPERATIONS", usualNumber);
    rc::detail::TestParams parameters;
    parameters.seed = numberFrom("VALDANE_MODEL_SEED", 1);
    parameters.maxSuccess = static_cast<int>((wanted + length - 1) / length);
    std::uint64_t done = 0;
    Silent listener;
    const std::unordered_map<std::string, rc::detail::Reproduce> nothingToReproduce;

    const auto result = rc::detail::checkTestable(
        [&]
        {
            const auto sequence = *operations(length);
            const std::string difference = differenceAfter(sequence);
            Logging::lines.clear();
            done += sequence.size();
            if (!difference.empty())
            {
                RC_FAIL(difference);
            }
        },
        rc::detail::TestMetadata(), parameters, listener, nothingToReproduce);

    if (!result.is<rc::detail::SuccessResult>())
    {
        rc::detail::printResultMessage(result, std::cerr);
        FAIL() << "with VALDANE_MODEL_SEED=" << parameters.seed;
    }
    RecordProperty("operations", std::to_string(done));
    EXPECT_GE(done, wanted);
}

} // namespace
} // namespace Valdane::Model
