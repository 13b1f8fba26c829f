#include "Comparison.h"
#include "Journal.h"
#include "Operation.h"
#include "Platform/Logging/Logging.h"
#include "Tests/Support/Sanitizers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <rapidcheck.h>
#include <string>
#include <unordered_map>
#include <vector>

namespace Valdane::Model
{
namespace
{

/// About twenty seconds of a debug build; fewer under a sanitizer.
constexpr std::uint64_t usualNumber = ValdaneTests::sanitizesAddresses ? 50'000 : 1'000'000;

/// The number in an environment variable.
std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise)
{
    const char* text = std::getenv(variable);
    return text == nullptr ? otherwise : std::stoull(text);
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
