#include "Service/CommandTesting/RandomHistories.h"

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/MergeableCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

struct Notes
{
    std::string text;
};

/// Puts a letter at a place of the text.
class InsertLetter : public CommandBase, public MergeableCommand
{
public:
    InsertLetter(Notes& editedNotes, std::size_t where, char what)
        : CommandBase("Insert " + std::string(1, what) + " at " + std::to_string(where)),
          notes(editedNotes),
          place(where),
          letters(1, what)
    {
    }

    void execute() override
    {
        notes.text.insert(place, letters);
    }

    void undo() override
    {
        notes.text.erase(place, letters.size());
    }

    bool mergeWith(const CommandBase& next) override
    {
        const auto* const insert = dynamic_cast<const InsertLetter*>(&next);
        if (insert == nullptr || insert->place != place + letters.size())
        {
            return false;
        }
        letters += insert->letters;
        return true;
    }

protected:
    Notes& notes;
    std::size_t place;
    std::string letters;
};

using testing::StartsWith;
using Kit = CommandKit<Notes>;

struct NotesKit
{
    Kit kit{[] { return std::make_unique<Notes>(); },
            [](const Notes& notes)
            {
                return notes.text;
            }};

    Kit::Generator generatorOf(auto make) const
    {
        return [make](Notes& notes, Choices& choices) -> std::shared_ptr<CommandBase>
        {
            const auto place = static_cast<std::size_t>(choices.below(notes.text.size() + 1));
            return make(notes, place, static_cast<char>('a' + choices.below(26)));
        };
    }
};

/// Takes away the last letter instead of its own.
class TakesTheLast : public InsertLetter
{
public:
    using InsertLetter::InsertLetter;

    void undo() override
    {
        notes.text.pop_back();
    }

    bool mergeWith(const CommandBase&) override
    {
        return false;
    }
};

class RandomHistoriesTest : public testing::Test, protected NotesKit
{
protected:
    Kit::Generator inserting = generatorOf([](Notes& notes, std::size_t place, char letter)
                                           { return std::make_shared<InsertLetter>(notes, place, letter); });
    Kit::Generator takingTheLast =
        generatorOf([](Notes& notes, std::size_t place, char letter)
                    { return std::make_shared<TakesTheLast>(notes, place, letter); });
};

TEST_F(RandomHistoriesTest, OfRightCommandsHaveNoMistakes)
{
    const Report report = atRandom(kit, {inserting});
    EXPECT_TRUE(report) << report;
    EXPECT_EQ(report.getSubject(), "Random histories with the seed 1");
}

TEST_F(RandomHistoriesTest, ShrinkToTheShortest)
{
    const Report report = atRandom(kit, {inserting, takingTheLast});
    ASSERT_EQ(report.getMistakes().size(), 1U);
    EXPECT_THAT(report.getMistakes().front(), StartsWith("History of 2 steps:\n"));
}

TEST_F(RandomHistoriesTest, AreTheSameForTheSameSeed)
{
    EXPECT_EQ(atRandom(kit, {inserting, takingTheLast}, {.seed = 7}).toText(),
              atRandom(kit, {inserting, takingTheLast}, {.seed = 7}).toText());
    EXPECT_EQ(atRandom(kit, {inserting}, {.seed = 7}).toText(),
              "Random histories with the seed 7: no mistakes\n");
}

TEST_F(RandomHistoriesTest, ProveNothingWithoutAGenerator)
{
    EXPECT_EQ(atRandom(kit, {}).toText(), "Random histories with the seed 1: 1 mistake\n"
                                          "  There is no generator of commands\n");
}

TEST_F(RandomHistoriesTest, AreOthersForAnotherSeed)
{
    const auto lettersOf = [this](std::uint64_t seed)
    {
        std::string letters;
        const auto noting = generatorOf(
            [&letters](Notes& notes, std::size_t place, char letter)
            {
                letters += letter;
                return std::make_shared<InsertLetter>(notes, place, letter);
            });
        EXPECT_TRUE(atRandom(kit, {noting}, {.seed = seed, .histories = 10}));
        return letters;
    };
    EXPECT_EQ(lettersOf(1), lettersOf(1));
    EXPECT_NE(lettersOf(1), lettersOf(2));
}

TEST_F(RandomHistoriesTest, AreAsManyAndAsLongAsTheOptionsSay)
{
    int worlds = 0;
    const Kit counting(
        [&worlds]
        {
            ++worlds;
            return std::make_unique<Notes>();
        },
        [](const Notes& notes) { return notes.text; });
    const auto nothing = [](Notes&, Choices&) -> std::shared_ptr<CommandBase>
    {
        return nullptr;
    };
    EXPECT_TRUE(atRandom(counting, {nothing}, {.histories = 5}));
    EXPECT_EQ(worlds, 5);
    EXPECT_FALSE(atRandom(kit, {inserting, takingTheLast}));
    EXPECT_TRUE(atRandom(kit, {inserting, takingTheLast}, {.longest = 1})) << "the mistake needs two steps";
}

using HistoryReplayTest = RandomHistoriesTest;

TEST_F(HistoryReplayTest, ShowsAnUndoThatTakesAwayWhatIsNotItsOwn)
{
    EXPECT_EQ(
        kit.replay({inserting, takingTheLast}, {HistoryStep::add(0, 0), HistoryStep::add(1, 2)}).toText(),
        "History of 2 steps: 1 mistake\n"
        "  After undo at the end the data are not what they were before the command (- expected, + found):\n"
        "    - a\n"
        "    + w\n"
        "    The history:\n"
        "      HistoryStep::add(0, 0), // Insert a at 0\n"
        "      HistoryStep::add(1, 2), // Insert w at 0\n");
}

TEST_F(HistoryReplayTest, ShowsAWrongUndoInGroupsThatAreAbandonedOrLeftOpen)
{
    EXPECT_EQ(kit.replay({inserting, takingTheLast}, {HistoryStep::add(0, 0), HistoryStep::beginGroup(),
                                                      HistoryStep::add(1, 2), HistoryStep::abandonGroup()})
                  .toText(),
              "History of 4 steps: 1 mistake\n"
              "  After HistoryStep::abandonGroup() the data are not what they were when the group was opened "
              "(- expected, + found):\n"
              "    - a\n"
              "    + w\n"
              "    The history:\n"
              "      HistoryStep::add(0, 0), // Insert a at 0\n"
              "      HistoryStep::beginGroup(),\n"
              "      HistoryStep::add(1, 2), // Insert w at 0\n"
              "      HistoryStep::abandonGroup(),\n");
    EXPECT_FALSE(kit.replay({inserting, takingTheLast},
                            {HistoryStep::add(0, 0), HistoryStep::beginGroup(), HistoryStep::add(1, 2)}));
}

TEST_F(HistoryReplayTest, PlaysEveryKindOfStep)
{
    const Report report = kit.replay(
        {inserting}, {HistoryStep::endGroup(),   HistoryStep::abandonGroup(),   HistoryStep::redo(2),
                      HistoryStep::undo(2),      HistoryStep::add(0, 1),        HistoryStep::addOrMerge(0, 2),
                      HistoryStep::add(0, 3),    HistoryStep::save(),           HistoryStep::beginGroup(),
                      HistoryStep::add(0, 4),    HistoryStep::undo(1),          HistoryStep::limit(1),
                      HistoryStep::beginGroup(), HistoryStep::addOrMerge(0, 5), HistoryStep::abandonGroup(),
                      HistoryStep::add(0, 6),    HistoryStep::endGroup(),       HistoryStep::undo(2),
                      HistoryStep::limit(3),     HistoryStep::redo(1),          HistoryStep::add(0, 7),
                      HistoryStep::add(0, 8),    HistoryStep::undo(1),          HistoryStep::limit(0),
                      HistoryStep::add(0, 9),    HistoryStep::limit(2),         HistoryStep::add(0, 10),
                      HistoryStep::beginGroup(), HistoryStep::beginGroup(),     HistoryStep::add(0, 11)});
    EXPECT_TRUE(report) << report;
}

TEST_F(HistoryReplayTest, AStepOfAGeneratorThatIsNotThereIsAMistake)
{
    EXPECT_EQ(kit.replay({inserting}, {HistoryStep::undo(1), HistoryStep::add(1, 0)}).toText(),
              "History of 2 steps: 1 mistake\n"
              "  There is no generator 1; there are 1\n"
              "    The history:\n"
              "      HistoryStep::undo(1),\n"
              "      HistoryStep::add(1, 0),\n");
}

TEST_F(HistoryReplayTest, ShowsACommandThatDependsOnMoreThanTheData)
{
    int executed = 0;
    const auto counting = generatorOf(
        [&](Notes& notes, std::size_t place, char)
        { return std::make_shared<InsertLetter>(notes, place, static_cast<char>('a' + executed++)); });
    EXPECT_EQ(kit.replay({counting}, {HistoryStep::add(0, 0)}).toText(),
              "History of 1 step: 1 mistake\n"
              "  Executed from the start in a new world, HistoryStep::add(0, 0) included, the data are not "
              "those of "
              "this history (- expected, + found):\n"
              "    - a\n"
              "    + b\n"
              "    The history:\n"
              "      HistoryStep::add(0, 0), // Insert a at 0\n");
}

/// Takes in what does not follow it.
class MergesAnything : public InsertLetter
{
public:
    using InsertLetter::InsertLetter;

    bool mergeWith(const CommandBase& next) override
    {
        letters += dynamic_cast<const MergesAnything&>(next).letters;
        return true;
    }
};

TEST_F(HistoryReplayTest, ShowsACommandThatFailsInANewWorld)
{
    class Once : public InsertLetter
    {
    public:
        Once(Notes& editedNotes, bool& wasDone) : InsertLetter(editedNotes, 0, 'a'), isDone(wasDone) {}

        void execute() override
        {
            if (std::exchange(isDone, true))
            {
                throw std::runtime_error("already done");
            }
            InsertLetter::execute();
        }

    private:
        bool& isDone;
    };

    bool isDone = false;
    const Kit::Generator once([&isDone](Notes& notes, Choices&)
                              { return std::make_shared<Once>(notes, isDone); });
    EXPECT_EQ(kit.replay({once}, {HistoryStep::add(0, 0)}).toText(),
              "History of 1 step: 1 mistake\n"
              "  Executed from the start in a new world, a command of the generator 0 fails: it depends on "
              "more than the "
              "data, or an undo has left something behind\n"
              "    The history:\n"
              "      HistoryStep::add(0, 0), // Insert a at 0\n");
}

TEST_F(HistoryReplayTest, ShowsAMergeThatIsNotBoth)
{
    const auto merging = generatorOf([](Notes& notes, std::size_t place, char letter)
                                     { return std::make_shared<MergesAnything>(notes, place, letter); });
    EXPECT_EQ(
        kit.replay({merging}, {HistoryStep::add(0, 0), HistoryStep::addOrMerge(0, 2)}).toText(),
        "History of 2 steps: 1 mistake\n"
        "  After redo at the end the data are not what they were after the command (- expected, + found):\n"
        "    - wa\n"
        "    + aw\n"
        "    The history:\n"
        "      HistoryStep::add(0, 0), // Insert a at 0\n"
        "      HistoryStep::addOrMerge(0, 2), // Insert w at 0\n");
}

TEST_F(HistoryReplayTest, MergesNothingAcrossASave)
{
    const auto merging = generatorOf([](Notes& notes, std::size_t place, char letter)
                                     { return std::make_shared<MergesAnything>(notes, place, letter); });
    const Report report =
        kit.replay({merging}, {HistoryStep::add(0, 0), HistoryStep::save(), HistoryStep::addOrMerge(0, 2)});
    EXPECT_TRUE(report) << report;
}

TEST_F(HistoryReplayTest, ForgetsWhatIsAboveTheLimit)
{
    const std::vector<HistoryStep> steps{HistoryStep::add(0, 0), HistoryStep::add(1, 2),
                                         HistoryStep::add(0, 1)};
    EXPECT_FALSE(kit.replay({inserting, takingTheLast}, steps));
    std::vector<HistoryStep> limited = steps;
    limited.push_back(HistoryStep::limit(1));
    const Report report = kit.replay({inserting, takingTheLast}, limited);
    EXPECT_TRUE(report) << report;
}

/// Leaves the letter when the call-out fails.
class LeavesAMess : public InsertLetter
{
public:
    LeavesAMess(Notes& editedNotes, std::size_t where, char what, const Kit& failingKit)
        : InsertLetter(editedNotes, where, what), kit(failingKit)
    {
    }

    void execute() override
    {
        InsertLetter::execute();
        kit.failAt("tell the server");
    }

private:
    const Kit& kit;
};

TEST_F(HistoryReplayTest, ShowsWhatAFailureLeaves)
{
    const auto failing = generatorOf([this](Notes& notes, std::size_t place, char letter)
                                     { return std::make_shared<LeavesAMess>(notes, place, letter, kit); });
    const Report right = kit.replay({failing}, {HistoryStep::addFailing(0, 0, 1), HistoryStep::add(0, 1)});
    EXPECT_TRUE(right) << right;
    for (const std::uint64_t seed : {0U, 1U}) // a standard exception, another one
    {
        EXPECT_THAT(
            kit.replay({failing}, {HistoryStep::addFailing(0, seed, 0)}).toText(),
            StartsWith("History of 1 step: 1 mistake\n"
                       "  After HistoryStep::addFailing(0, " +
                       std::to_string(seed) +
                       ", 0) the data are not what they were before it, although the command has failed "
                       "(- expected, + found):\n"));
    }
}

/// Takes the letter away again, but only after a standard exception.
class RollsBackForExceptionsOnly : public LeavesAMess
{
public:
    using LeavesAMess::LeavesAMess;

    void execute() override
    {
        try
        {
            LeavesAMess::execute();
        }
        catch (const std::exception&)
        {
            undo();
            throw;
        }
    }
};

TEST_F(HistoryReplayTest, LetsMacrosFailOnlyWithWhatTheyRollBackFor)
{
    class TellsFirst : public InsertLetter
    {
    public:
        TellsFirst(Notes& editedNotes, const Kit& failingKit)
            : InsertLetter(editedNotes, 0, 'b'), kit(failingKit)
        {
        }

        void execute() override
        {
            kit.failAt("tell the server");
            InsertLetter::execute();
        }

    private:
        const Kit& kit;
    };

    const Kit::Generator macro(
        [this](Notes& notes, Choices&)
        {
            auto both = std::make_shared<MacroCommand>("both");
            both->addCommand(std::make_shared<InsertLetter>(notes, 0, 'a'));
            both->addCommand(std::make_shared<TellsFirst>(notes, kit));
            return both;
        });
    for (const std::uint64_t seed : {0U, 1U})
    {
        const Report report =
            kit.replay({macro}, {HistoryStep::addFailing(0, seed, 0), HistoryStep::add(0, 0)});
        EXPECT_TRUE(report) << report;
    }
}

TEST_F(HistoryReplayTest, LetsCallsFailWithWhatIsNoExceptionIfTheSeedIsOdd)
{
    const auto failing =
        generatorOf([this](Notes& notes, std::size_t place, char letter)
                    { return std::make_shared<RollsBackForExceptionsOnly>(notes, place, letter, kit); });
    EXPECT_TRUE(kit.replay({failing}, {HistoryStep::addFailing(0, 0, 0)}));
    EXPECT_FALSE(kit.replay({failing}, {HistoryStep::addFailing(0, 1, 0)}));
}

/// An undo that fails.
class CannotBeUndone : public InsertLetter
{
public:
    using InsertLetter::InsertLetter;

    void undo() override
    {
        throw std::runtime_error("the server does not answer");
    }
};

TEST_F(HistoryReplayTest, ShowsAnUndoThatFails)
{
    const auto failing = generatorOf([](Notes& notes, std::size_t place, char letter)
                                     { return std::make_shared<CannotBeUndone>(notes, place, letter); });
    EXPECT_EQ(kit.replay({failing}, {HistoryStep::add(0, 0), HistoryStep::undo(1)}).toText(),
              "History of 2 steps: 1 mistake\n"
              "  HistoryStep::undo(1) fails: the server does not answer\n"
              "    The history:\n"
              "      HistoryStep::add(0, 0), // Insert a at 0\n"
              "      HistoryStep::undo(1),\n");
    EXPECT_EQ(kit.replay({failing},
                         {HistoryStep::beginGroup(), HistoryStep::add(0, 0), HistoryStep::abandonGroup()})
                  .getMistakes()
                  .size(),
              1U);
}

/// Dropped by an undo, with all that could be redone.
class CannotBeRedone : public InsertLetter
{
public:
    using InsertLetter::InsertLetter;

    bool isRedoCapable() override
    {
        return false;
    }
};

TEST_F(HistoryReplayTest, AllowsCommandsThatCannotBeRedone)
{
    const auto dropped = generatorOf([](Notes& notes, std::size_t place, char letter)
                                     { return std::make_shared<CannotBeRedone>(notes, place, letter); });
    const Report report = atRandom(kit, {inserting, dropped}, {.histories = 30});
    EXPECT_TRUE(report) << report;
}

TEST_F(HistoryReplayTest, SkipsAGeneratorThatHasNoCommandNow)
{
    const Kit::Generator none = [](Notes&, Choices&) -> std::shared_ptr<CommandBase>
    {
        return nullptr;
    };
    const Report report = kit.replay({none, inserting}, {HistoryStep::add(0, 0), HistoryStep::add(1, 0)});
    EXPECT_TRUE(report) << report;
}

} // namespace
} // namespace Valdane
