// The change callback of a progress drives one below it, whose callback replaces that of the first or
// destroys the first. The running callback is still in memory then, and was taken for the present one: it
// was called again, by a progress that had another callback, or was gone.

#include "Platform/GeneralServices/LegacyProgress.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Valdane
{
namespace
{

class ReplacedProgressCallbackStartsNoMore : public testing::Test
{
protected:
    ReplacedProgressCallbackStartsNoMore()
    {
        bar->appendSubProgress(&part, 0, LegacyProgress::FullRange);
        bar->setChangeCallback(
            [this, kept = std::string("bar;")]
            {
                if (told.size() < 100)
                {
                    told += kept;
                    part.setComplete();
                    told += kept;
                }
            });
    }

    std::string told;
    LegacyProgress part;
    std::unique_ptr<LegacyProgress> bar = std::make_unique<LegacyProgress>();
};

TEST_F(ReplacedProgressCallbackStartsNoMore, WhenItWasReplacedWhileItRuns)
{
    part.setChangeCallback([this] { bar->setChangeCallback([this] { told += "new;"; }); });
    bar->moveTo(1);
    EXPECT_EQ(told, "bar;bar;");
    bar->reset();
    EXPECT_EQ(told, "bar;bar;new;");
}

TEST_F(ReplacedProgressCallbackStartsNoMore, WhenItWasEndedWhileItRuns)
{
    part.setChangeCallback([this] { bar->setChangeCallback({}); });
    bar->moveTo(1);
    EXPECT_EQ(told, "bar;bar;");
}

TEST_F(ReplacedProgressCallbackStartsNoMore, WhenItsProgressWasDestroyedWhileItRuns)
{
    part.setChangeCallback([this] { bar.reset(); });
    bar->moveTo(1);
    EXPECT_EQ(told, "bar;bar;");
}

} // namespace
} // namespace Valdane
