#include "Service/Editing/ActiveHistory.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;
using Told = std::vector<std::string>;

/// As an application has it.
struct Drawing
{
    explicit Drawing(ActiveHistory& history) : document(history, manager) {}

    void add()
    {
        manager.addCommand(std::make_shared<ScriptedCommand>("edit"));
    }

    CommandManager manager;
    ActiveHistory::Document document;
};

class ActiveHistoryTest : public testing::Test
{
protected:
    /// What was told while @p action ran.
    Told toldBy(const std::function<void()>& action)
    {
        Told journal;
        const auto active = history->connectToSigActiveChanged([&] { journal.emplace_back("active"); });
        const auto updated = history->connectToSigUpdated([&] { journal.emplace_back("updated"); });
        action();
        return journal;
    }

    std::optional<ActiveHistory> history{std::in_place};
    std::optional<Drawing> first{std::in_place, *history};
    std::optional<Drawing> second{std::in_place, *history};
};

TEST_F(ActiveHistoryTest, NoneIsActiveAtFirst)
{
    EXPECT_EQ(history->getActive(), nullptr);
    EXPECT_FALSE(first->document.isActive());
    EXPECT_THAT(toldBy([&] { history->deactivate(); }), IsEmpty());
}

TEST_F(ActiveHistoryTest, TheDocumentThatWasActivatedLastIsActive)
{
    EXPECT_THAT(toldBy([&] { first->document.activate(); }), ElementsAre("active", "updated"));
    EXPECT_EQ(history->getActive(), &first->manager);
    EXPECT_TRUE(first->document.isActive());
    EXPECT_THAT(toldBy([&] { first->document.activate(); }), IsEmpty());
    EXPECT_THAT(toldBy([&] { second->document.activate(); }), ElementsAre("active", "updated"));
    EXPECT_EQ(history->getActive(), &second->manager);
    EXPECT_FALSE(first->document.isActive());
    EXPECT_THAT(toldBy([&] { history->deactivate(); }), ElementsAre("active", "updated"));
    EXPECT_EQ(history->getActive(), nullptr);
    EXPECT_FALSE(second->document.isActive());
}

TEST_F(ActiveHistoryTest, HearsTheActiveManagerOnly)
{
    first->document.activate();
    EXPECT_THAT(toldBy([&] { second->add(); }), IsEmpty());
    EXPECT_THAT(toldBy([&] { first->add(); }), testing::Not(IsEmpty()));
    second->document.activate();
    EXPECT_THAT(toldBy([&] { first->manager.undo(1); }), IsEmpty());
    EXPECT_THAT(toldBy([&] { second->manager.undo(1); }), testing::Not(IsEmpty()));
}

TEST_F(ActiveHistoryTest, TellsOfGroupsButNotOfWhatHappensInThem)
{
    first->document.activate();
    EXPECT_THAT(toldBy([&] { first->manager.beginGroup("G"); }), ElementsAre("updated"));
    EXPECT_THAT(toldBy([&] { first->add(); }), IsEmpty())
        << "nothing can be undone or redone before and after";
    EXPECT_THAT(toldBy([&] { first->manager.abandonGroup(); }), ElementsAre("updated"));
}

TEST_F(ActiveHistoryTest, TellsOncePerChangeOfTheHistory)
{
    first->document.activate();
    EXPECT_THAT(toldBy([&] { first->add(); }), ElementsAre("updated"));
    EXPECT_THAT(toldBy([&] { first->manager.undo(1); }), ElementsAre("updated"));
    EXPECT_THAT(toldBy([&] { first->manager.redo(1); }), ElementsAre("updated"));
}

TEST_F(ActiveHistoryTest, ADocumentThatIsDestroyedIsNotActive)
{
    first->document.activate();
    EXPECT_THAT(toldBy([&] { second.reset(); }), IsEmpty());
    EXPECT_THAT(toldBy(
                    [&]
                    {
                        const auto look = history->connectToSigActiveChanged(
                            [&] { EXPECT_EQ(history->getActive(), nullptr); });
                        first.reset();
                    }),
                ElementsAre("active", "updated"));
    EXPECT_EQ(history->getActive(), nullptr);
}

TEST_F(ActiveHistoryTest, TwoDocumentsMayHaveOneManager)
{
    std::optional<ActiveHistory::Document> view(std::in_place, *history, first->manager);
    first->document.activate();
    EXPECT_THAT(toldBy([&] { view->activate(); }), IsEmpty()) << "the manager is the same";
    EXPECT_FALSE(first->document.isActive());
    EXPECT_TRUE(view->isActive());
    EXPECT_THAT(toldBy([&] { view.reset(); }), ElementsAre("active", "updated"));
    EXPECT_EQ(history->getActive(), nullptr);
}

TEST_F(ActiveHistoryTest, TheEndOfADocumentThatIsNotActiveLeavesItsManagerActive)
{
    std::optional<ActiveHistory::Document> view(std::in_place, *history, first->manager);
    first->document.activate();
    EXPECT_THAT(toldBy([&] { view.reset(); }), IsEmpty());
    EXPECT_EQ(history->getActive(), &first->manager);
    EXPECT_TRUE(first->document.isActive());
}

TEST_F(ActiveHistoryTest, DocumentsMayOutliveIt)
{
    first->document.activate();
    bool isTold = false;
    const auto updated = history->connectToSigUpdated([&] { isTold = true; });
    history.reset();
    EXPECT_FALSE(first->document.isActive());
    second->document.activate();
    EXPECT_FALSE(second->document.isActive());
    first->add();
    first.reset();
    EXPECT_FALSE(isTold);
}

TEST_F(ActiveHistoryTest, AManagerMayDieBeforeItsDocument)
{
    auto manager = std::make_unique<CommandManager>();
    std::optional<ActiveHistory::Document> document(std::in_place, *history, *manager);
    document->activate();
    manager.reset();
    document.reset();
    EXPECT_EQ(history->getActive(), nullptr);
}

TEST_F(ActiveHistoryTest, ASlotMayActivateAnotherDocument)
{
    first->document.activate();
    const auto connection = history->connectToSigActiveChanged(
        [&]
        {
            if (history->getActive() == nullptr)
            {
                second->document.activate();
            }
        });
    EXPECT_THAT(toldBy([&] { first.reset(); }), ElementsAre("active", "updated", "active", "updated"))
        << "what was activated last is told first";
    EXPECT_EQ(history->getActive(), &second->manager);
    EXPECT_THAT(toldBy([&] { second->add(); }), testing::Not(IsEmpty()));
}

TEST_F(ActiveHistoryTest, ASlotMayDestroyIt)
{
    bool isTold = false;
    const auto destroy = history->connectToSigActiveChanged([&] { history.reset(); });
    const auto active = history->connectToSigActiveChanged([&] { isTold = true; });
    const auto updated = history->connectToSigUpdated([&] { isTold = true; });
    first->document.activate();
    EXPECT_FALSE(history.has_value());
    EXPECT_FALSE(isTold);
    first->add();

    history.emplace();
    ActiveHistory::Document document(*history, first->manager);
    document.activate();
    const auto destroyLater = history->connectToSigUpdated([&] { history.reset(); });
    first->add();
    EXPECT_FALSE(history.has_value());
}

TEST_F(ActiveHistoryTest, ASlotMayDestroyTheDocument)
{
    const auto connection = history->connectToSigActiveChanged([&] { first.reset(); });
    // The document is destroyed by its own operation.
    first->document.activate();
    EXPECT_EQ(history->getActive(), nullptr);
    EXPECT_FALSE(first.has_value());
}

TEST_F(ActiveHistoryTest, ASlotThatThrowsDoesNotKeepItFromBeingActive)
{
    const auto connection = history->connectToSigActiveChanged(fail);
    EXPECT_THAT(toldBy([&] { EXPECT_THROW(first->document.activate(), std::runtime_error); }),
                ElementsAre("updated"))
        << "the slot comes before that of the test";
    EXPECT_EQ(history->getActive(), &first->manager);
    EXPECT_THROW(history->deactivate(), std::runtime_error);
    EXPECT_EQ(history->getActive(), nullptr);
}

TEST_F(ActiveHistoryTest, TheEndOfADocumentLetsNoExceptionOut)
{
    first->document.activate();
    const auto active = history->connectToSigActiveChanged(failStrangely);
    const auto updated = history->connectToSigUpdated(fail);
    first.reset();
    EXPECT_EQ(history->getActive(), nullptr);
}

TEST_F(ActiveHistoryTest, NothingHasChangedIfThereIsNoMemory)
{
    first->document.activate();
    std::size_t successes = 0;
    for (bool hasFailed = true; hasFailed; ++successes)
    {
        const FailingAllocation failing(successes);
        try
        {
            second->document.activate();
        }
        catch (const std::bad_alloc&)
        {
            EXPECT_EQ(history->getActive(), &first->manager);
            EXPECT_TRUE(first->document.isActive());
        }
        hasFailed = failing.hasFailed();
    }
    EXPECT_GT(successes, 1U);
    EXPECT_EQ(history->getActive(), &second->manager);
}

} // namespace
} // namespace Valdane
