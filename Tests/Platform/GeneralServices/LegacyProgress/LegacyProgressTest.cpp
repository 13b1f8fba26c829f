#include "Platform/GeneralServices/LegacyProgress.h"

#include "Service/CommandTesting/Allocations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <deque>
#include <limits>
#include <memory>
#include <new>
#include <numeric>
#include <random>
#include <type_traits>
#include <vector>

namespace
{

using Valdane::LegacyProgress;
using Valdane::Progress;
using Speed = LegacyProgress::Speed;

constexpr int Full = LegacyProgress::FullRange;
constexpr double Half = Full / 2.0;
constexpr double Quarter = Full / 4.0;

using Shared = std::shared_ptr<LegacyProgress>;

Shared makeProgress()
{
    return std::make_shared<LegacyProgress>();
}

TEST(LegacyProgress, IsSmallAndNeitherCopiedNorMoved)
{
    static_assert(sizeof(LegacyProgress) <= 64);
    static_assert(!std::is_copy_constructible_v<LegacyProgress> &&
                  !std::is_copy_assignable_v<LegacyProgress>);
    static_assert(!std::is_move_constructible_v<LegacyProgress> &&
                  !std::is_move_assignable_v<LegacyProgress>);
}

TEST(LegacyProgress, StartsAtZeroAndGoesToTheFullRange)
{
    LegacyProgress progress;
    EXPECT_EQ(progress.progress(), 0.0);
    EXPECT_EQ(progress.fraction(), 0.0);
    progress.moveTo(Quarter);
    EXPECT_EQ(progress.progress(), Quarter);
    EXPECT_EQ(progress.fraction(), 0.25);
    progress.setComplete();
    EXPECT_EQ(progress.progress(), Full);
    EXPECT_EQ(progress.fraction(), 1.0);
    progress.reset();
    EXPECT_EQ(progress.progress(), 0.0);
}

TEST(LegacyProgress, MovesForwardOnlyAndNotPastTheFullRange)
{
    LegacyProgress progress;
    progress.moveTo(100.5);
    for (const double ignored : {100.5, 100.0, -1.0, std::numeric_limits<double>::quiet_NaN(),
                                 -std::numeric_limits<double>::infinity()})
    {
        progress.moveTo(ignored);
        EXPECT_EQ(progress.progress(), 100.5);
    }
    progress.moveTo(1e300);
    EXPECT_EQ(progress.progress(), Full);
    progress.reset();
    progress.moveTo(std::numeric_limits<double>::infinity());
    EXPECT_EQ(progress.progress(), Full);
}

TEST(LegacyProgress, AParentFollowsItsChildThroughTheChildsRange)
{
    LegacyProgress parent;
    LegacyProgress child;
    parent.appendSubProgress(&child, 1000, 5000);
    EXPECT_EQ(parent.progress(), 0.0) << "attaching moves nobody";
    child.moveTo(Quarter);
    EXPECT_EQ(parent.progress(), 2000.0);
    child.setComplete();
    EXPECT_EQ(parent.progress(), 5000.0);
}

TEST(LegacyProgress, AttachingMovesNeitherParentNorChild)
{
    LegacyProgress parent;
    LegacyProgress child;
    parent.moveTo(10);
    child.moveTo(Half);
    parent.appendSubProgress(&child, 500, 1000);
    EXPECT_EQ(parent.progress(), 10.0);
    EXPECT_EQ(child.progress(), Half);
}

TEST(LegacyProgress, TheWholeChainAboveFollows)
{
    std::array<LegacyProgress, 4> chain;
    chain[0].appendSubProgress(&chain[1], 0, Full / 2);
    chain[1].appendSubProgress(&chain[2], Full / 2, Full);
    chain[2].appendSubProgress(&chain[3], 0, Full / 2);
    chain[3].setComplete();
    EXPECT_EQ(chain[2].progress(), Half);
    EXPECT_EQ(chain[1].progress(), 3 * Quarter);
    EXPECT_EQ(chain[0].progress(), 1.5 * Quarter);
}

TEST(LegacyProgress, ACompletionIsReportedAgainToAParentThatStartedAnew)
{
    LegacyProgress grandparent;
    LegacyProgress parent;
    LegacyProgress child;
    grandparent.appendSubProgress(&parent, 0, Full);
    parent.appendSubProgress(&child, 0, Full);
    child.setComplete();
    grandparent.reset();
    child.setComplete();
    EXPECT_EQ(grandparent.progress(), Full);
}

TEST(LegacyProgress, AMoveThatIsIgnoredIsNotReported)
{
    LegacyProgress parent;
    LegacyProgress child;
    child.moveTo(Half);
    parent.appendSubProgress(&child, 0, Full);
    child.moveTo(Quarter);
    child.moveTo(Half);
    EXPECT_EQ(parent.progress(), 0.0);
}

TEST(LegacyProgress, AParentIsNotPulledBack)
{
    LegacyProgress parent;
    LegacyProgress child;
    parent.appendSubProgress(&child, 0, Full / 2);
    parent.moveTo(Quarter);
    child.moveTo(Quarter);
    EXPECT_EQ(parent.progress(), Quarter);
    child.setComplete();
    child.reset();
    EXPECT_EQ(parent.progress(), Half);
    child.moveTo(1);
    EXPECT_EQ(parent.progress(), Half);
}

TEST(LegacyProgress, ResetKeepsTheChildrenAttached)
{
    LegacyProgress parent;
    LegacyProgress child;
    parent.appendSubProgress(&child, 0, Full);
    child.moveTo(Half);
    parent.reset();
    EXPECT_EQ(parent.progress(), 0.0);
    EXPECT_EQ(child.progress(), Half);
    child.setComplete();
    EXPECT_EQ(parent.progress(), Full);
}

TEST(LegacyProgress, RangesAreClamped)
{
    struct Case
    {
        int from;
        int to;
        double half;
        double complete;
    };

    constexpr int Lowest = std::numeric_limits<int>::min();
    constexpr int Highest = std::numeric_limits<int>::max();
    for (const auto& [from, to, half, complete] :
         {Case{.from = Lowest, .to = Highest, .half = Half, .complete = Full},
          Case{.from = -5, .to = 10, .half = 5.0, .complete = 10.0},
          Case{.from = 700, .to = 300, .half = 700.0, .complete = 700.0},
          Case{.from = Highest, .to = Lowest, .half = Full, .complete = Full},
          Case{.from = Full - 2, .to = Highest, .half = Full - 1.0, .complete = Full}})
    {
        LegacyProgress parent;
        LegacyProgress child;
        parent.appendSubProgress(&child, from, to);
        child.moveTo(Half);
        EXPECT_EQ(parent.progress(), half) << from << " to " << to;
        child.setComplete();
        EXPECT_EQ(parent.progress(), complete) << from << " to " << to;
    }
}

TEST(LegacyProgress, AChildThatIsMissingOrThisOrAboveThisIsNotAttached)
{
    const auto top = makeProgress();
    const auto middle = makeProgress();
    const auto bottom = makeProgress();
    top->appendSubProgress(middle.get(), 0, Full);
    middle->appendSubProgress(bottom.get(), 0, Full);
    top->appendSubProgress(nullptr, 0, Full);
    bottom->appendSubProgress(bottom.get(), 0, Full);
    bottom->appendSubProgress(top.get(), 0, Full);
    bottom->appendSubProgress(middle.get(), 0, Full);
    middle->addProgress(top, true);
    middle->addProgress(middle, true);
    middle->addProgress(nullptr, true);
    middle->addProgress(std::make_shared<Progress>(), true);
    bottom->moveTo(Half);
    EXPECT_EQ(middle->progress(), Half) << "refused children leave the present ones alone";
    EXPECT_EQ(top->progress(), Half);
    top->setComplete();
    EXPECT_EQ(bottom->progress(), Half);
}

TEST(LegacyProgress, AttachingAgainMovesTheChild)
{
    LegacyProgress first;
    LegacyProgress second;
    LegacyProgress child;
    first.appendSubProgress(&child, 0, Full);
    second.appendSubProgress(&child, 0, Full);
    child.moveTo(Half);
    EXPECT_EQ(first.progress(), 0.0);
    EXPECT_EQ(second.progress(), Half);
    second.appendSubProgress(&child, 0, 100);
    second.reset();
    child.setComplete();
    EXPECT_EQ(second.progress(), 100.0);
}

TEST(LegacyProgress, SetSubProgressStartsAnewWithTheOneChild)
{
    LegacyProgress parent;
    LegacyProgress former;
    const auto child = makeProgress();
    parent.appendSubProgress(&former, 0, Full);
    former.moveTo(Half);
    child->moveTo(7);
    parent.setSubProgress(child, 100, 1);
    EXPECT_EQ(parent.progress(), 0.0);
    EXPECT_EQ(child->progress(), 7.0);
    EXPECT_EQ(child.use_count(), 1) << "it is not owned";
    former.setComplete();
    EXPECT_EQ(parent.progress(), 0.0);
    child->setComplete();
    EXPECT_EQ(parent.progress(), Full);
    parent.setSubProgress(child, 100, 1);
    EXPECT_EQ(parent.progress(), 0.0);
    child->setComplete();
    EXPECT_EQ(parent.progress(), Full);
}

TEST(LegacyProgress, SetSubProgressGivesTheChildItsShare)
{
    struct Case
    {
        int percent;
        int parts;
        double complete;
    };

    constexpr int Highest = std::numeric_limits<int>::max();
    for (const auto& [percent, parts, complete] :
         {Case{.percent = 100, .parts = 1, .complete = Full},
          Case{.percent = 50, .parts = 1, .complete = Half},
          Case{.percent = 100, .parts = 3, .complete = 333'333'333.0},
          Case{.percent = 75, .parts = 2, .complete = 375'000'000.0},
          Case{.percent = 100, .parts = 0, .complete = Full},
          Case{.percent = 100, .parts = -4, .complete = Full},
          Case{.percent = 101, .parts = 1, .complete = Full},
          Case{.percent = -1, .parts = 1, .complete = 0.0},
          Case{.percent = Highest, .parts = Highest, .complete = 0.0}})
    {
        LegacyProgress parent;
        const auto child = makeProgress();
        parent.setSubProgress(child, percent, parts);
        child->setComplete();
        EXPECT_EQ(parent.progress(), complete) << percent << " percent, " << parts << " parts";
    }
}

TEST(LegacyProgress, SetSubProgressOfWhatCannotBeAChildOnlyStartsAnew)
{
    const auto above = makeProgress();
    for (const std::shared_ptr<Progress>& none : {std::shared_ptr<Progress>(), std::make_shared<Progress>(),
                                                  std::static_pointer_cast<Progress>(above)})
    {
        LegacyProgress parent;
        LegacyProgress former;
        above->appendSubProgress(&parent, 0, Full);
        parent.appendSubProgress(&former, 0, Full);
        parent.moveTo(Half);
        parent.setSubProgress(none, 100, 1);
        EXPECT_EQ(parent.progress(), 0.0);
        former.setComplete();
        EXPECT_EQ(parent.progress(), 0.0);
    }
}

TEST(LegacyProgress, AddProgressMakesTheOneChildOverTheWholeRangeAndMovesNobody)
{
    LegacyProgress bar;
    LegacyProgress former;
    const auto child = makeProgress();
    bar.appendSubProgress(&former, 0, Full);
    former.moveTo(100);
    child->moveTo(Half);
    bar.addProgress(child, false);
    EXPECT_EQ(bar.progress(), 100.0);
    EXPECT_EQ(child->progress(), Half);
    EXPECT_EQ(child.use_count(), 1);
    former.setComplete();
    EXPECT_EQ(bar.progress(), 100.0);
    child->setComplete();
    EXPECT_EQ(bar.progress(), Full);
}

TEST(LegacyProgress, AResetIsFollowedOnlyWhereTheLinkSaysSo)
{
    for (const bool followsReset : {false, true})
    {
        LegacyProgress bar;
        const auto child = makeProgress();
        bar.addProgress(child, followsReset);
        child->moveTo(Half);
        child->reset();
        EXPECT_EQ(bar.progress(), followsReset ? 0.0 : Half);
    }
}

TEST(LegacyProgress, AResetIsFollowedUpToTheFirstLinkThatDoesNot)
{
    const auto top = makeProgress();
    const auto upper = makeProgress();
    const auto lower = makeProgress();
    const auto bottom = makeProgress();
    top->addProgress(upper, false);
    upper->addProgress(lower, true);
    lower->addProgress(bottom, true);
    bottom->moveTo(Half);
    bottom->reset();
    EXPECT_EQ(lower->progress(), 0.0);
    EXPECT_EQ(upper->progress(), 0.0);
    EXPECT_EQ(top->progress(), Half);
}

TEST(LegacyProgress, AttachingAgainForgetsThatResetsWereFollowed)
{
    LegacyProgress bar;
    const auto child = makeProgress();
    bar.addProgress(child, true);
    bar.appendSubProgress(child.get(), 0, Full);
    child->moveTo(Half);
    child->reset();
    EXPECT_EQ(bar.progress(), Half);
}

// What a manager does with its own progress, which hangs under the bar of an application.
TEST(LegacyProgress, ABarMirrorsAManagerThatUndoesOneCommandAfterTheOther)
{
    LegacyProgress bar;
    const auto manager = makeProgress();
    bar.addProgress(manager, true);
    std::vector<double> seen;
    for (int step = 0; step < 3; ++step)
    {
        const auto command = makeProgress();
        command->setComplete(); // as it was left by its execution
        manager->setSubProgress(command, 100, 1);
        seen.push_back(bar.progress());
        command->reset();
        command->moveTo(Half);
        seen.push_back(bar.progress());
        command->setComplete();
        seen.push_back(bar.progress());
    }
    EXPECT_THAT(seen, testing::ElementsAre(0.0, Half, Full, 0.0, Half, Full, 0.0, Half, Full));
}

TEST(LegacyProgress, ParentsAndChildrenAreDestroyedInAnyOrder)
{
    // A tree of three levels: 0 is the root, 1 to 3 are its children, 4 to 9 theirs.
    constexpr int Size = 10;
    const auto parentOf = [](std::size_t i)
    {
        return i < 4 ? 0 : (i - 2) / 2;
    };
    std::mt19937 random(7);
    std::array<int, Size> order{};
    std::iota(order.begin(), order.end(), 0);
    for (int round = 0; round < 500; ++round)
    {
        std::array<std::unique_ptr<LegacyProgress>, Size> tree;
        for (std::size_t i = 0; i < Size; ++i)
        {
            tree.at(i) = std::make_unique<LegacyProgress>();
            if (i > 0)
            {
                tree.at(parentOf(i))->appendSubProgress(tree.at(i).get(), 0, Full);
            }
        }
        std::shuffle(order.begin(), order.end(), random);
        for (const int victim : order)
        {
            tree.at(static_cast<std::size_t>(victim)).reset();
            for (const auto& alive : tree)
            {
                if (alive)
                {
                    alive->reset();
                    alive->setComplete();
                    EXPECT_EQ(alive->progress(), Full);
                }
            }
        }
    }
}

TEST(LegacyProgress, ADestroyedMiddleLeavesBothSidesAndTheSiblings)
{
    LegacyProgress top;
    auto middle = std::make_unique<LegacyProgress>();
    LegacyProgress bottom;
    LegacyProgress older;
    LegacyProgress younger;
    top.appendSubProgress(&older, 0, 100);
    top.appendSubProgress(middle.get(), 100, 200);
    top.appendSubProgress(&younger, 200, 300);
    middle->appendSubProgress(&bottom, 0, Full);
    bottom.moveTo(Half);
    middle.reset();
    EXPECT_EQ(top.progress(), 150.0);
    EXPECT_EQ(bottom.progress(), Half);
    bottom.setComplete();
    EXPECT_EQ(top.progress(), 150.0);
    younger.moveTo(Half);
    EXPECT_EQ(top.progress(), 250.0);
    top.reset();
    older.setComplete();
    EXPECT_EQ(top.progress(), 100.0);
}

TEST(LegacyProgress, ASubProgressThatNobodyElseHoldsIsGoneAtOnce)
{
    LegacyProgress parent;
    parent.setSubProgress(makeProgress(), 100, 1);
    parent.addProgress(makeProgress(), true);
    LegacyProgress child;
    parent.appendSubProgress(&child, 0, Full);
    child.setComplete();
    EXPECT_EQ(parent.progress(), Full);
}

// An attach, detach or destruction that walked the siblings would take hours here.
TEST(LegacyProgress, AttachingAndDetachingIsIndependentOfTheNumberOfSiblings)
{
    constexpr std::size_t Count = 1'000'000;
    std::deque<LegacyProgress> children(Count);
    LegacyProgress second;
    {
        LegacyProgress first;
        for (auto& child : children)
        {
            first.appendSubProgress(&child, 0, Full);
        }
        for (std::size_t i = 0; i < Count; i += 2)
        {
            second.appendSubProgress(&children[i], 0, Full);
        }
    }
    children[1].setComplete();
    EXPECT_EQ(second.progress(), 0.0);
    children.pop_front();
    children.pop_back();
    second.setSubProgress(nullptr, 100, 1);
    children[1].setComplete();
    EXPECT_EQ(second.progress(), 0.0);
}

TEST(LegacyProgress, ADeepNestingIsFollowedInConstantStack)
{
    constexpr std::size_t Depth = 1'000'000;
    std::deque<LegacyProgress> chain(Depth);
    for (std::size_t i = Depth - 1; i > 0; --i)
    {
        chain[i - 1].appendSubProgress(&chain[i], 0, Full);
    }
    chain.back().setComplete();
    EXPECT_EQ(chain.front().progress(), Full);
}

TEST(LegacyProgress, ConstructingAttachingAndDrivingAllocatesNothing)
{
    const auto sub = makeProgress();
    const auto before = Valdane::allocationCount();
    ::operator delete(::operator new(1));
    ASSERT_EQ(Valdane::allocationCount(), before + 1) << "the counter counts";
    {
        LegacyProgress top;
        LegacyProgress middle;
        LegacyProgress bottom;
        top.appendSubProgress(&middle, 0, Full);
        middle.appendSubProgress(&bottom, 0, Full);
        bottom.moveTo(5);
        bottom.setComplete();
        bottom.reset();
        top.setSubProgress(sub, 100, 1);
        top.addProgress(sub, true);
        sub->setComplete();
    }
    EXPECT_EQ(Valdane::allocationCount(), before + 1);
}

TEST(LegacyProgress, NeverRunsBackwardsWhateverIsReported)
{
    std::mt19937 random(20'240'518);
    std::uniform_int_distribution<int> anyPlace(-Full / 10, Full / 10 * 11);
    std::uniform_int_distribution<std::size_t> anyNode(0, 19);
    std::deque<LegacyProgress> tree(20);
    for (std::size_t i = 1; i < tree.size(); ++i)
    {
        tree[(i - 1) / 3].appendSubProgress(&tree[i], anyPlace(random), anyPlace(random));
    }
    std::vector<double> last(tree.size(), 0.0);
    for (int step = 0; step < 20'000; ++step)
    {
        const auto driven = anyNode(random);
        switch (random() % 50)
        {
        case 0:
            tree[driven].setComplete();
            break;
        case 1:
            tree[driven].reset();
            last[driven] = 0.0;
            break;
        default:
            tree[driven].moveTo(anyPlace(random) * 0.5);
        }
        for (std::size_t i = 0; i < tree.size(); ++i)
        {
            ASSERT_GE(tree[i].progress(), last[i]);
            ASSERT_LE(tree[i].progress(), Full);
            last[i] = tree[i].progress();
        }
    }
}

// Lays parts out as a macro does.
void layOut(LegacyProgress& macro, std::deque<LegacyProgress>& parts, const std::vector<Speed::Rate>& rates)
{
    Speed speed;
    for (const auto rate : rates)
    {
        speed.add(rate);
    }
    macro.reset();
    int start = static_cast<int>(macro.progress());
    for (std::size_t i = 0; i < parts.size(); ++i)
    {
        const int part = speed.getPartitionFromRate(rates[i]);
        macro.appendSubProgress(&parts[i], start, start + part);
        start += part;
    }
}

TEST(LegacyProgress, EveryPartOfALargeMacroMovesIt)
{
    constexpr std::size_t Count = 100'000;
    std::mt19937 random(20'240'519);
    std::vector<std::vector<Speed::Rate>> mixes(6, std::vector<Speed::Rate>(Count));
    for (std::size_t i = 0; i < Count; ++i)
    {
        for (std::size_t mix = 0; mix < 5; ++mix)
        {
            mixes[mix][i] = static_cast<Speed::Rate>(mix + 1);
        }
        mixes[5][i] = static_cast<Speed::Rate>(1 + (random() % 5));
    }
    // The hardest for the fast: one among very slow ones.
    mixes[0][Count / 2] = Speed::VeryFast;
    for (const auto& mix : mixes)
    {
        std::deque<LegacyProgress> parts(Count);
        LegacyProgress macro;
        layOut(macro, parts, mix);
        double last = 0.0;
        for (auto& part : parts)
        {
            part.setComplete();
            ASSERT_GT(macro.progress(), last);
            last = macro.progress();
        }
        EXPECT_LE(last, Full);
        EXPECT_GT(last, Full - static_cast<double>(Count));
    }
}

TEST(LegacyProgress, EveryPartOfNestedMacrosMovesTheOutermost)
{
    constexpr std::size_t Count = 300;
    std::deque<LegacyProgress> inner(Count);
    LegacyProgress outer;
    layOut(outer, inner, std::vector<Speed::Rate>(Count, Speed::Fast));
    double last = 0.0;
    for (auto& macro : inner)
    {
        std::deque<LegacyProgress> parts(Count);
        layOut(macro, parts, std::vector<Speed::Rate>(Count, Speed::VerySlow));
        for (auto& part : parts)
        {
            part.setComplete();
            ASSERT_GT(outer.progress(), last);
            last = outer.progress();
        }
        macro.setComplete();
    }
    EXPECT_LE(outer.progress(), Full);
    outer.setComplete();
    EXPECT_EQ(outer.progress(), Full);
}

TEST(LegacyProgress, ResetAndSetCompleteCanBeOverridden)
{
    struct CountingProgress : LegacyProgress
    {
        void reset() override
        {
            ++resets;
            LegacyProgress::reset();
        }

        void setComplete() override
        {
            ++completions;
            LegacyProgress::setComplete();
        }

        int resets = 0;
        int completions = 0;
    };

    CountingProgress counting;
    LegacyProgress& progress = counting;
    progress.setComplete();
    progress.reset();
    progress.reset();
    EXPECT_EQ(counting.completions, 1);
    EXPECT_EQ(counting.resets, 2);
    progress.setSubProgress(nullptr, 100, 1);
    EXPECT_EQ(counting.resets, 2) << "starting anew is not a call of reset";
}

} // namespace
