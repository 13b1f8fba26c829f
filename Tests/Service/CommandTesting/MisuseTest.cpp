#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Tests/Service/CommandTesting/Page.h"
#include "Tests/Support/Failures.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using PageMaker = CommandKit<Page>::Maker;

std::string misuseReport(const PageMaker& make)
{
    return makePageKit().misuse(make).toText();
}

/// Worlds that somebody else owns, too.
CommandKit<Page> makeSharedKit(std::vector<std::shared_ptr<Page>>& pages)
{
    return {[&pages] { return pages.emplace_back(std::make_shared<Page>()); },
            [](const Page& page)
            {
                return page.toText();
            }};
}

/// Makes a command that owns the page.
std::shared_ptr<CommandBase> makeOwner(const std::shared_ptr<Page>& page)
{
    auto command = makeTextCommand(*page);
    command->onRedo = [page]
    {
        page->text = "done";
    };
    return command;
}

TEST(MisuseTest, RightCommandsHaveNoMistakes)
{
    EXPECT_EQ(misuseReport(renameTo("fan")), "Misuse of \"Rename to fan\": no mistakes\n");
    std::vector<std::shared_ptr<Page>> pages;
    EXPECT_TRUE(makeSharedKit(pages).misuse(renameTo("fan")));
    EXPECT_FALSE(pages.empty());
}

TEST(MisuseTest, ACommandThatHoldsTheWorldWeaklyHasNoMistakes)
{
    const auto weak = [](const std::shared_ptr<Page>& page)
    {
        auto command = makeTextCommand(*page);
        command->onRedo = [held = std::weak_ptr<Page>(page)]
        {
            held.lock()->text = "done";
        };
        return command;
    };
    EXPECT_TRUE(makePageKit().misuse(weak));
}

TEST(MisuseTest, NoCommandIsFound)
{
    EXPECT_EQ(misuseReport([](Page&) { return std::shared_ptr<CommandBase>(); }),
              "Misuse: 1 mistake\n"
              "  Making the command gives an empty pointer\n");
}

TEST(MisuseTest, TheSameCommandTwiceIsFound)
{
    Page page;
    const auto same = makeTextCommand(page);
    const std::string mistake =
        "Misuse of \"Write\": 1 mistake\n"
        "  Making the command twice gives the same command twice; a command can be in one "
        "place of one history only\n";
    EXPECT_EQ(misuseReport([&](Page&) { return same; }), mistake);

    std::weak_ptr<Page> known;
    std::weak_ptr<CommandBase> kept;
    EXPECT_EQ(misuseReport(
                  [&](const std::shared_ptr<Page>& world) -> std::shared_ptr<CommandBase>
                  {
                      std::shared_ptr<CommandBase> made = known.lock() == world ? kept.lock() : nullptr;
                      if (made == nullptr)
                      {
                          made = makeTextCommand(*world);
                      }
                      known = world;
                      kept = made;
                      return made;
                  }),
              mistake)
        << "one for each world";

    const std::vector<std::shared_ptr<CommandBase>> two{makeTextCommand(page), makeTextCommand(page)};
    std::size_t made = 0;
    EXPECT_EQ(misuseReport([&](Page&) { return two[made++ % 2]; }), mistake) << "one for two worlds";
}

TEST(MisuseTest, ACommandThatDoesItsWorkWhenItIsMadeIsFound)
{
    EXPECT_EQ(
        misuseReport(spoilt([](ScriptedCommand& command, Page&) { command.execute(); })),
        "Misuse of \"Write\": 1 mistake\n"
        "  Making the command changes the data, and executing it would do so again (- before, + after):\n"
        "      title: pump\n"
        "    - text: none\n"
        "    + text: done\n");
}

TEST(MisuseTest, ACommandThatOwnsTheWorldIsFound)
{
    const std::string mistake =
        "Misuse of \"Write\": 1 mistake\n"
        "  The command owns the world, so a history keeps the world alive; let the command "
        "find the world by a reference, or hold it by a weak pointer\n";
    EXPECT_EQ(misuseReport(makeOwner), mistake);
    std::vector<std::shared_ptr<Page>> pages;
    EXPECT_EQ(makeSharedKit(pages).misuse(makeOwner).toText(), mistake);
}

TEST(MisuseTest, ACommandThatOwnsItselfIsFound)
{
    std::vector<std::shared_ptr<ScriptedCommand>> cycles;
    const auto makeCycle = [&](Page& page)
    {
        auto command = makeTextCommand(page);
        cycles.push_back(command);
        return command;
    };
    EXPECT_EQ(misuseReport(makeCycle),
              "Misuse of \"Write\": 1 mistake\n"
              "  The command lives on after its manager and its world are gone: somebody "
              "else owns it, or it owns itself by way of something that it owns\n");
}

TEST(MisuseTest, ACommandThatItsWorldOwnsDiesWithIt)
{
    struct Archive : Page
    {
        std::shared_ptr<CommandBase> last;
    };

    const CommandKit<Archive> kit([] { return std::make_unique<Archive>(); },
                                  [](const Archive& archive) { return archive.toText(); });
    const auto make = [](Archive& archive)
    {
        auto command = makeTextCommand(archive);
        archive.last = command;
        return command;
    };
    EXPECT_TRUE(kit.misuse(make));
}

TEST(MisuseTest, ASnapshotThatIsAnotherOneEachTimeIsFound)
{
    int taken = 0;
    const CommandKit<Page> kit([] { return std::make_unique<Page>(); }, [&taken](const Page&)
                               { return "saved at " + std::to_string(++taken) + "\n"; });
    EXPECT_EQ(kit.misuse(renameTo("valve")).toText(),
              "Misuse of \"Rename to valve\": 1 mistake\n"
              "  Two snapshots of the same data differ; a snapshot must show the data only, and not change "
              "them (- before, + after):\n"
              "    - saved at 1\n"
              "    + saved at 2\n");
}

/// Takes back what it has done, or does what it has not done yet, when it is destroyed.
class TidyCommand : public RenameCommand
{
public:
    TidyCommand(Page& tidiedPage, bool tidiesWhenDone)
        : RenameCommand(tidiedPage, "fan"), whenDone(tidiesWhenDone)
    {
    }

    TidyCommand(const TidyCommand&) = delete;
    TidyCommand& operator=(const TidyCommand&) = delete;

    ~TidyCommand() override
    {
        if (wasExecuted && (page.title == "fan") == whenDone)
        {
            std::swap(page.title, title);
        }
    }

    void execute() override
    {
        RenameCommand::execute();
        wasExecuted = true;
    }

private:
    bool whenDone;
    bool wasExecuted = false;
};

TEST(MisuseTest, ACommandWhoseDestructionChangesTheDataIsFound)
{
    EXPECT_EQ(
        misuseReport([](Page& page) { return std::make_shared<TidyCommand>(page, true); }),
        "Misuse of \"Rename to fan\": 1 mistake\n"
        "  Destroying the command changes the data, and a history drops commands at any time (- before, + "
        "after):\n"
        "    - title: fan\n"
        "    + title: pump\n");
    EXPECT_EQ(misuseReport([](Page& page) { return std::make_shared<TidyCommand>(page, false); }),
              "Misuse of \"Rename to fan\": 1 mistake\n"
              "  Destroying the undone command changes the data, and a history drops commands at any time (- "
              "before, + after):\n"
              "    - title: pump\n"
              "    + title: fan\n");
}

TEST(MisuseTest, ADescriptionThatThrowsIsFound)
{
    class Nameless : public RenameCommand
    {
    public:
        explicit Nameless(Page& renamedPage) : RenameCommand(renamedPage, "fan") {}

        const std::string& getDescription() const override
        {
            fail();
            return RenameCommand::getDescription();
        }
    };

    EXPECT_EQ(misuseReport([](Page& page) { return std::make_shared<Nameless>(page); }),
              "Misuse of \"Rename to fan\": 1 mistake\n"
              "  getDescription() throws: no power\n");
}

TEST(MisuseTest, ADescriptionThatThrowsLaterIsFound)
{
    class Describing : public RenameCommand
    {
    public:
        Describing(Page& renamedPage, std::string last)
            : RenameCommand(renamedPage, "fan"), failing(std::move(last))
        {
        }

        const std::string& getDescription() const override
        {
            state == failing ? fail() : void();
            return RenameCommand::getDescription();
        }

        void execute() override
        {
            RenameCommand::execute();
            state = "done";
        }

        void undo() override
        {
            RenameCommand::undo();
            state = "undone";
        }

    private:
        std::string failing;
        std::string state;
    };

    const auto reportOf = [](const std::string& failing)
    {
        return misuseReport([failing](Page& page) { return std::make_shared<Describing>(page, failing); });
    };
    EXPECT_EQ(reportOf("undone"), "Misuse of \"Rename to fan\": 1 mistake\n"
                                  "  getDescription() after undo() throws: no power\n");
    EXPECT_NE(reportOf("done").find("no power\n"), std::string::npos);
}

TEST(MisuseTest, ACommandThatChangesTheDataIfItIsNeverExecutedIsFound)
{
    EXPECT_EQ(misuseReport(spoilt(
                  [](ScriptedCommand& command, Page& page)
                  {
                      command.onDestroy = [&page]
                      {
                          page.text = page.text == "none" ? "gone" : page.text;
                      };
                  })),
              "Misuse of \"Write\": 1 mistake\n"
              "  Destroying the command, which was only made, changes the data (- before, + after):\n"
              "      title: pump\n"
              "    - text: none\n"
              "    + text: gone\n");
}

TEST(MisuseTest, ARunThatTellsNobodyOfItsEndIsFound)
{
    class WriteRun : public ThreadedCommand
    {
    public:
        WriteRun(Page& writtenPage, bool tells) : ThreadedCommand("Write"), page(writtenPage), tellsEnd(tells)
        {
        }

        void run() override {}

        void finishRun() override
        {
            page.text = "done";
        }

        void sendFinishSignal(bool ok) override
        {
            tellsEnd ? ThreadedCommand::sendFinishSignal(ok) : void();
        }

        void undo() override
        {
            page.text = "none";
        }

    private:
        Page& page;
        bool tellsEnd;
    };

    EXPECT_EQ(misuseReport([](Page& page) { return std::make_shared<WriteRun>(page, true); }),
              "Misuse of \"Write\": no mistakes\n");
    EXPECT_EQ(misuseReport([](Page& page) { return std::make_shared<WriteRun>(page, false); }),
              "Misuse of \"Write\": 1 mistake\n"
              "  sendFinishSignal() does not call that of the base class, so who waits for the end of the "
              "run is not told\n");
}

TEST(MisuseTest, AnUndoThatFailsIsForTheRoundTripToTell)
{
    const auto wrong = spoilt([](ScriptedCommand& command, Page&) { command.onUndo = fail; });
    EXPECT_TRUE(makePageKit().misuse(wrong));
    EXPECT_NE(makePageKit().all(wrong).toText().find("Undo 1 throws: no power"), std::string::npos);
}

TEST(MisuseTest, WhatFailsIsTold)
{
    EXPECT_EQ(misuseReport(spoilt([](ScriptedCommand& command, Page&) { command.onExecute = fail; })),
              "Misuse of \"Write\": 1 mistake\n"
              "  execute() fails: no power\n");
}

} // namespace
} // namespace Valdane
