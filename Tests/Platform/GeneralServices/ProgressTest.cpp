#include "Platform/GeneralServices/Progress.h"

#include "Platform/GeneralServices/LegacyProgress.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace
{

using Valdane::LegacyProgress;
using Valdane::Progress;

TEST(Progress, DoesNothingWithAChild)
{
    const auto child = std::make_shared<LegacyProgress>();
    Progress bar;
    bar.addProgress(child, true);
    bar.addProgress(nullptr, false);
    EXPECT_EQ(child.use_count(), 1);
}

TEST(Progress, IsDestroyedThroughItsBase)
{
    struct Bar : Progress
    {
        explicit Bar(bool& flag) : destroyed(flag) {}

        Bar(const Bar&) = delete;
        Bar& operator=(const Bar&) = delete;

        ~Bar() override
        {
            destroyed = true;
        }

        bool& destroyed;
    };

    bool destroyed = false;
    std::unique_ptr<Progress> bar = std::make_unique<Bar>(destroyed);
    bar.reset();
    EXPECT_TRUE(destroyed);
    static_assert(!std::is_copy_constructible_v<Progress> && !std::is_move_constructible_v<Progress>);
}

} // namespace
