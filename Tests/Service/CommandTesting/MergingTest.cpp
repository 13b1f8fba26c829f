#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Tests/Service/CommandTesting/Page.h"
#include "Tests/Support/Failures.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace Valdane
{
namespace
{

/// Replaces the text, and takes in the next one.
class DragCommand : public CommandBase, public MergeableCommand
{
public:
    using Merge = std::function<bool(DragCommand&, const DragCommand&)>;

    DragCommand(Page& draggedPage, std::string newText, Merge mergeFunction)
        : CommandBase("Drag to " + newText),
          page(draggedPage),
          target(std::move(newText)),
          merge(std::move(mergeFunction))
    {
    }

    void execute() override
    {
        start = std::exchange(page.text, target);
    }

    void undo() override
    {
        if (onUndo)
        {
            onUndo();
        }
        page.text = start;
    }

    bool mergeWith(const CommandBase& next) override
    {
        const auto* const drag = dynamic_cast<const DragCommand*>(&next);
        return drag != nullptr && merge(*this, *drag);
    }

    bool isRedoCapable() override
    {
        return redoCapable;
    }

    Page& page;
    std::string start;
    std::string target;
    Merge merge;
    std::function<void()> onUndo;
    bool redoCapable = true;
};

bool takeIn(DragCommand& first, const DragCommand& next)
{
    first.target = next.target;
    return true;
}

bool refuse(DragCommand& /*first*/, const DragCommand& /*next*/)
{
    return false;
}

auto dragTo(const std::string& target, const DragCommand::Merge& merge)
{
    return [=](Page& page)
    {
        return std::make_shared<DragCommand>(page, target, merge);
    };
}

std::string mergingReport(const DragCommand::Merge& merge, MergeAnswer expected = MergeAnswer::Any)
{
    return makePageKit().merging(dragTo("left", merge), dragTo("right", merge), expected).toText();
}

const std::string rightMerge = "Merging of \"Drag to left\": no mistakes\n";

TEST(MergingTest, CommandsThatMergeAndThoseThatDoNotHaveNoMistakes)
{
    EXPECT_EQ(mergingReport(takeIn), rightMerge);
    EXPECT_EQ(mergingReport(takeIn, MergeAnswer::Taken), rightMerge);
    EXPECT_EQ(mergingReport(refuse), rightMerge);
    EXPECT_EQ(mergingReport(refuse, MergeAnswer::Refused), rightMerge);
    EXPECT_TRUE(makePageKit().merging(dragTo("left", takeIn), renameTo("fan"), MergeAnswer::Refused));
}

TEST(MergingTest, AMergeThatThrowsIsARefusal)
{
    EXPECT_EQ(mergingReport([](DragCommand&, const DragCommand&) -> bool { fail(); }, MergeAnswer::Refused),
              rightMerge);
    EXPECT_EQ(mergingReport([](DragCommand&, const DragCommand&) -> bool { failStrangely(); }), rightMerge);
}

TEST(MergingTest, AnotherAnswerThanExpectedIsAMistake)
{
    EXPECT_EQ(mergingReport(refuse, MergeAnswer::Taken), "Merging of \"Drag to left\": 1 mistake\n"
                                                         "  mergeWith() refuses the next command\n");
    EXPECT_EQ(mergingReport(takeIn, MergeAnswer::Refused), "Merging of \"Drag to left\": 1 mistake\n"
                                                           "  mergeWith() takes in the next command\n");
}

TEST(MergingTest, AMergedCommandThatUndoesOnlyTheNextOneIsFound)
{
    const auto takeInStart = [](DragCommand& first, const DragCommand& next)
    {
        first.start = next.start;
        first.target = next.target;
        return true;
    };
    EXPECT_EQ(mergingReport(takeInStart),
              "Merging of \"Drag to left\": 1 mistake\n"
              "  After undo() of the first command, which has taken in the next "
              "one, the data are not as before both were executed (- expected, + found):\n"
              "      title: pump\n"
              "    - text: none\n"
              "    + text: left\n");
}

TEST(MergingTest, AMergedCommandThatRedoesOnlyItselfIsFound)
{
    EXPECT_EQ(mergingReport([](DragCommand&, const DragCommand&) { return true; }),
              "Merging of \"Drag to left\": 1 mistake\n"
              "  After redo() of the first command, which has taken in the next one, the data are not as "
              "after both were executed (- expected, + found):\n"
              "      title: pump\n"
              "    - text: right\n"
              "    + text: left\n");
}

TEST(MergingTest, ARefusalThatHasChangedTheCommandIsFound)
{
    const auto takeInAndRefuse = [](DragCommand& first, const DragCommand& next)
    {
        return !takeIn(first, next);
    };
    EXPECT_EQ(mergingReport(takeInAndRefuse),
              "Merging of \"Drag to left\": 1 mistake\n"
              "  After redo() of the first command, which has refused the "
              "next one, the data are not as after it was executed (- expected, + found):\n"
              "      title: pump\n"
              "    - text: left\n"
              "    + text: right\n");
}

TEST(MergingTest, AMergeThatChangesTheDataIsFound)
{
    const auto write = [](DragCommand& first, const DragCommand&)
    {
        first.page.title = "fan";
        return false;
    };
    EXPECT_EQ(mergingReport(write),
              "Merging of \"Drag to left\": 1 mistake\n"
              "  After mergeWith() the data are not as before it (- expected, + found):\n"
              "    - title: pump\n"
              "    + title: fan\n");
}

TEST(MergingTest, TheNextCommandIsLetGoWhenItIsTakenIn)
{
    std::weak_ptr<CommandBase> next;
    bool wasThere = false;
    const auto makeFirst = [&](Page& page)
    {
        auto made = std::make_shared<DragCommand>(page, "left", takeIn);
        made->onUndo = [&]
        {
            wasThere = wasThere || !next.expired();
        };
        return made;
    };
    const auto makeNext = [&](Page& page)
    {
        auto made = std::make_shared<DragCommand>(page, "right", refuse);
        next = made;
        return made;
    };
    EXPECT_TRUE(makePageKit().merging(makeFirst, makeNext, MergeAnswer::Taken));
    EXPECT_FALSE(wasThere);
}

TEST(MergingTest, CommandsThatAreNotRedoCapableAreOnlyUndone)
{
    const auto make = [](Page& page)
    {
        auto made = std::make_shared<DragCommand>(page, "left",
                                                  [](DragCommand&, const DragCommand&) { return true; });
        made->redoCapable = false;
        return made;
    };
    EXPECT_TRUE(makePageKit().merging(make, dragTo("right", refuse)));
}

TEST(MergingTest, ACommandThatCannotMergeIsAMistake)
{
    EXPECT_EQ(makePageKit().merging(renameTo("fan"), renameTo("valve")).toText(),
              "Merging of \"Rename to fan\": 1 mistake\n"
              "  The first command is not a MergeableCommand\n");
}

} // namespace
} // namespace Valdane
