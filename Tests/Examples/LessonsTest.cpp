// The commands of the lessons, proved by the testing kit. Each lesson is a program of one source file, so its main() gets
// another name here, which nobody calls. ProvingCommands proves its own.

#include "Service/CommandTesting/CommandKit.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

// Only main() may end without a value.
#pragma GCC diagnostic ignored "-Wreturn-type"
// NOLINTBEGIN(bugprone-suspicious-include)
#define main mainOfFirstCommand
#include "Examples/FirstCommand/FirstCommand.cpp"
#undef main
#define main mainOfMacrosAndGroups
#include "Examples/MacrosAndGroups/MacrosAndGroups.cpp"
#undef main
#define main mainOfChangeTracking
#include "Examples/ChangeTracking/ChangeTracking.cpp"
#undef main
#define main mainOfMergingADrag
#include "Examples/MergingADrag/MergingADrag.cpp"
#undef main
#define main mainOfThreadedRun
#include "Examples/ThreadedRun/ThreadedRun.cpp"
#undef main

// NOLINTEND(bugprone-suspicious-include)

namespace
{

CommandKit<int> numberKit()
{
    return {[] { return std::make_unique<int>(3); },
            [](int number)
            {
                return number;
            }};
}

TEST(FirstCommand, IsProved)
{
    const Report report = numberKit().all([](int& speed) { return std::make_shared<SetSpeed>(speed, 5); });
    EXPECT_TRUE(report) << report;
}

TEST(MergingADrag, IsProved)
{
    const auto kit = numberKit();
    const auto moveTo = [](int place)
    {
        return [place](int& shape)
        {
            return std::make_shared<MoveTo>(shape, place);
        };
    };
    Report report = kit.all(moveTo(5));
    report.add(kit.merging(moveTo(5), moveTo(7), MergeAnswer::Taken));
    report.add(kit.merging(
        moveTo(5), [](int& shape) { return std::make_shared<SetSpeed>(shape, 7); }, MergeAnswer::Refused));
    EXPECT_TRUE(report) << report;
}

TEST(MacrosAndGroups, IsProved)
{
    const CommandKit<Plant> kit([] { return std::make_unique<Plant>(); },
                                [](const Plant& plant)
                                {
                                    return std::to_string(plant.north) + ", " + std::to_string(plant.south) +
                                           ", " + std::to_string(plant.boiler);
                                });
    const auto pumpNorth = [](Plant& plant)
    {
        return std::make_shared<Pump>(plant.north, plant.boiler, 6);
    };
    const auto pumpSouth = [](Plant& plant)
    {
        return std::make_shared<Pump>(plant.boiler, plant.south, 4);
    };
    Report report = kit.all(pumpNorth);
    report.add(kit.inMacro({pumpNorth, pumpSouth}));
    EXPECT_TRUE(report) << report;
}

template <typename Lines>
std::string textOf(const Lines& lines)
{
    std::string text;
    for (const std::string& line : lines)
    {
        text += line + "\n";
    }
    return text;
}

struct Drawing
{
    std::shared_ptr<Marks> marks = std::make_shared<Marks>();
    Sheet plan{"plan"};
    Sheet list{"list"};
};

TEST(ChangeTracking, IsProved)
{
    CommandKit<Drawing> kit([] { return std::make_unique<Drawing>(); }, [](const Drawing& drawing)
                            { return textOf(drawing.plan.lines) + textOf(drawing.list.lines); });
    kit.setModules([](Drawing& drawing) { return drawing.marks; },
                   [](const Drawing& drawing)
                   {
                       return std::vector<ModuleSnapshot>{
                           {&drawing.plan, "plan", Snapshot(textOf(drawing.plan.lines))},
                           {&drawing.list, "list", Snapshot(textOf(drawing.list.lines))}};
                   });
    const Report report =
        kit.all([](Drawing& drawing)
                { return std::make_shared<AddLine>(*drawing.marks, drawing.plan, "a wall of some length"); });
    EXPECT_TRUE(report) << report;
}

TEST(ThreadedRun, IsProved)
{
    const CommandKit<Pages> kit([] { return std::make_unique<Pages>(1, "cover"); },
                                [](const Pages& pages) { return textOf(pages); });
    const auto scan = [](Pages& pages)
    {
        auto command = std::make_shared<Scan>(pages, Pages{"one", "two", "a page with more text on it"});
        // Enough for all runs of a check.
        for (int i = 0; i < 100; ++i)
        {
            command->feed();
        }
        return command;
    };
    Report report = kit.all(scan);
    report.add(kit.progress(scan, 0.34));
    report.add(kit.all([](Pages& pages) { return std::make_shared<Add>(pages, "a page with text on it"); }));
    EXPECT_TRUE(report) << report;
}

} // namespace
