#include "Model/Operation.h"
#include "Model/Player.h"
#include "Tests/Support/Sanitizers.h"

#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace Valdane::EditingModel
{
namespace
{

constexpr std::uint64_t usualNumber = ValdaneTests::isSanitized ? 10'000 : 30'000;

/// The number in an environment variable.
std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise)
{
    const char* text = std::getenv(variable);
    return text == nullptr ? otherwise : std::stoull(text);
}

std::string differenceAfter(const std::vector<Operation>& sequence)
{
    return Player().differenceAfter(sequence);
}

/// Leaves out what is not needed for a difference.
std::vector<Operation> shrunk(std::vector<Operation> sequence)
{
    for (std::size_t length = sequence.size() / 2; length != 0; length /= 2)
    {
        for (std::size_t first = 0; first + length <= sequence.size();)
        {
            std::vector<Operation> shorter = sequence;
            const auto begin = shorter.begin() + static_cast<std::ptrdiff_t>(first);
            shorter.erase(begin, begin + static_cast<std::ptrdiff_t>(length));
            const bool isNeeded = differenceAfter(shorter).empty();
            first += isNeeded ? length : 0;
            sequence = isNeeded ? sequence : shorter;
        }
    }
    return sequence;
}

std::string reportOf(const std::vector<Operation>& sequence)
{
    std::ostringstream text;
    for (const Operation& operation : sequence)
    {
        text << operation;
    }
    return text.str() + differenceAfter(sequence);
}

/// Failures are what is tested; their error lines would be many.
void stopLogging()
{
    spdlog::apply_all([](const std::shared_ptr<spdlog::logger>& logger)
                      { logger->set_level(spdlog::level::off); });
}

TEST(EditingModelTest, AfterEachOfRandomOperationsAllIsAsTheDataSay)
{
    constexpr std::size_t length = 150;
    const std::uint64_t wanted = numberFrom("VALDANE_MODEL_OPERATIONS", usualNumber);
    const std::uint64_t seed = numberFrom("VALDANE_MODEL_SEED", 1);
    std::mt19937_64 random(seed);
    stopLogging();
    for (std::uint64_t done = 0; done < wanted; done += length)
    {
        const std::vector<Operation> sequence = operations(random, length);
        const std::string difference = differenceAfter(sequence);
        ASSERT_EQ(difference, "") << "after " << done << " others, with VALDANE_MODEL_SEED=" << seed
                                  << "\nshrunk:\n"
                                  << reportOf(shrunk(sequence));
        ASSERT_FALSE(HasFailure()) << "after " << done << " others, with VALDANE_MODEL_SEED=" << seed;
    }
}

} // namespace
} // namespace Valdane::EditingModel
