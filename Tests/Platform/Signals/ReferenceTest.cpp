#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"
#include "Tests/Support/ElementsAre.h"

#include <boost/signals2.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

// Every scenario is written once, run with our signals and with Boost.Signals2, and must leave the same
// journal: the one that stands in the test. What differs on purpose has tests of its own at the end.

namespace
{

using ValdaneTests::ElementsAre;

struct Ours
{
    using Connection = Valdane::Signals::Connection;
    template <typename Signature>
    using Signal = Valdane::Signals::Signal<Signature>;
    template <typename Signature>
    using Slot = Valdane::Signals::Slot<Signature>;

    template <typename Signature>
    static Connection connect(Signal<Signature>& signal, const Slot<Signature>& slot)
    {
        return signal.connect(slot);
    }

    template <typename Signature>
    static Connection connectFront(Signal<Signature>& signal, const Slot<Signature>& slot)
    {
        return signal.connect(slot, Valdane::Signals::ConnectPosition::Front);
    }

    static void release(Connection& connection)
    {
        connection.releaseWithoutDisconnect();
    }

    template <typename Owner>
    static void track(Slot<void()>& slot, const std::shared_ptr<Owner>& owner)
    {
        slot.track(owner);
    }
};

struct Reference
{
    using Connection = boost::signals2::scoped_connection;
    template <typename Signature>
    using Signal = boost::signals2::signal<Signature>;
    template <typename Signature>
    using Slot = boost::signals2::slot<Signature>;

    template <typename Signature>
    static Connection connect(Signal<Signature>& signal, const Slot<Signature>& slot)
    {
        return Connection(signal.connect(slot));
    }

    template <typename Signature>
    static Connection connectFront(Signal<Signature>& signal, const Slot<Signature>& slot)
    {
        return Connection(signal.connect(slot, boost::signals2::at_front));
    }

    static void release(Connection& connection)
    {
        connection.release();
    }

    template <typename Owner>
    static void track(Slot<void()>& slot, const std::shared_ptr<Owner>& owner)
    {
        slot.track_foreign(owner);
    }
};

template <typename Library>
class SignalsLikeBoost : public testing::Test
{
protected:
    using Connection = typename Library::Connection;
    using NoArguments = typename Library::template Signal<void()>;
    using Slot = typename Library::template Slot<void()>;

    void note(const std::string& text)
    {
        journal.push_back(text);
    }

    Slot noting(const std::string& text)
    {
        return [this, text]
        {
            note(text);
        };
    }

    void noteConnected(const std::string& name, const Connection& connection)
    {
        note(name + (connection.connected() ? " connected" : " disconnected"));
    }

    Connection connect(const Slot& slot)
    {
        return Library::connect(signal, slot);
    }

    Connection connectFront(const Slot& slot)
    {
        return Library::connectFront(signal, slot);
    }

    std::vector<std::string> journal;
    NoArguments signal;
};

struct LibraryNames
{
    template <typename Library>
    static std::string GetName(int)
    {
        return std::is_same_v<Library, Ours> ? "Ours" : "BoostSignals2";
    }
};

using BothLibraries = testing::Types<Ours, Reference>;
TYPED_TEST_SUITE(SignalsLikeBoost, BothLibraries, LibraryNames);

TYPED_TEST(SignalsLikeBoost, CallSlotsFromFrontToBack)
{
    const auto a = this->connect(this->noting("a"));
    const auto b = this->connectFront(this->noting("b"));
    const auto c = this->connect(this->noting("c"));
    const auto d = this->connectFront(this->noting("d"));
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("d", "b", "a", "c"));
}

TYPED_TEST(SignalsLikeBoost, CallASlotThatIsConnectedDuringAnEmissionInTheNextOne)
{
    typename TestFixture::Connection back;
    typename TestFixture::Connection front;
    const auto connecting = this->connect(
        [&]
        {
            this->note("connecting");
            if (!back.connected())
            {
                back = this->connect(this->noting("back"));
                front = this->connectFront(this->noting("front"));
            }
        });
    const auto last = this->connect(this->noting("last"));
    this->signal();
    this->note("-");
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("connecting", "last", "-", "front", "connecting", "last", "back"));
}

TYPED_TEST(SignalsLikeBoost, CallASlotThatIsConnectedDuringAnEmissionInANestedOne)
{
    typename TestFixture::Connection back;
    const auto connecting = this->connect(
        [&]
        {
            this->note("connecting");
            if (!back.connected())
            {
                back = this->connect(this->noting("back"));
                this->signal();
                this->note("-");
            }
        });
    const auto last = this->connect(this->noting("last"));
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("connecting", "connecting", "last", "back", "-", "last"));
}

TYPED_TEST(SignalsLikeBoost, DoNotCallASlotThatIsDisconnectedDuringTheEmission)
{
    typename TestFixture::Connection before;
    typename TestFixture::Connection self;
    typename TestFixture::Connection after;
    before = this->connect(this->noting("before"));
    self = this->connect(
        [&]
        {
            this->note("self");
            before.disconnect();
            self.disconnect();
            after.disconnect();
            this->noteConnected("self", self);
        });
    after = this->connect(this->noting("after"));
    const auto last = this->connect(this->noting("last"));
    this->signal();
    this->note("-");
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("before", "self", "self disconnected", "last", "-", "last"));
}

TYPED_TEST(SignalsLikeBoost, DoNotCallASlotAgainThatANestedEmissionDisconnected)
{
    typename TestFixture::Connection last;
    int depth = 0;
    const auto recursive = this->connect(
        [&]
        {
            this->note("recursive");
            if (++depth == 1)
            {
                this->signal();
                last.disconnect();
            }
        });
    last = this->connect(this->noting("last"));
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("recursive", "recursive", "last"));
}

TYPED_TEST(SignalsLikeBoost, LetASlotReplaceItself)
{
    typename TestFixture::Connection connection;
    int generation = 0;
    std::function<void()> slot = [&]
    {
        this->note("generation " + std::to_string(++generation));
        connection = this->connect(slot);
    };
    connection = this->connect(slot);
    const auto last = this->connect(this->noting("last"));
    this->signal();
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("generation 1", "last", "last", "generation 2"));
}

TYPED_TEST(SignalsLikeBoost, EndTheEmissionWithASlotThatThrows)
{
    int failures = 2;
    const auto first = this->connect(this->noting("first"));
    const auto throwing = this->connect(
        [&]
        {
            this->note("throwing");
            if (failures-- > 0)
            {
                throw std::runtime_error("stuck");
            }
        });
    const auto last = this->connect(this->noting("last"));
    EXPECT_THROW(this->signal(), std::runtime_error);
    EXPECT_THROW(this->signal(), std::runtime_error);
    this->noteConnected("throwing", throwing);
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("first", "throwing", "first", "throwing", "throwing connected",
                                           "first", "throwing", "last"));
}

TYPED_TEST(SignalsLikeBoost, GoOnWithTheOuterEmissionWhenANestedOneThrows)
{
    int depth = 0;
    const auto recursive = this->connect(
        [&]
        {
            this->note("recursive");
            if (++depth == 1)
            {
                EXPECT_THROW(this->signal(), std::runtime_error);
            }
        });
    const auto throwing = this->connect(
        [&]
        {
            this->note("throwing");
            if (depth == 2)
            {
                ++depth;
                throw std::runtime_error("stuck");
            }
        });
    const auto last = this->connect(this->noting("last"));
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("recursive", "recursive", "throwing", "throwing", "last"));
}

TYPED_TEST(SignalsLikeBoost, DisconnectWithTheConnectionThatIsDestroyedOrAssignedOver)
{
    auto first = this->connect(this->noting("first"));
    auto second = this->connect(this->noting("second"));
    {
        const auto third = this->connect(this->noting("third"));
        this->signal();
    }
    first = std::move(second);
    this->noteConnected("first", first);
    this->note("-");
    this->signal();
    first = typename TestFixture::Connection();
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("first", "second", "third", "first connected", "-", "second"));
}

TYPED_TEST(SignalsLikeBoost, KeepASlotWhoseConnectionIsReleased)
{
    auto connection = this->connect(this->noting("released"));
    TypeParam::release(connection);
    this->noteConnected("connection", connection);
    connection.disconnect();
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("connection disconnected", "released"));
}

TYPED_TEST(SignalsLikeBoost, LetConnectionsOutliveTheSignal)
{
    auto shortLived = std::make_unique<typename TestFixture::NoArguments>();
    auto connection = TypeParam::connect(*shortLived, this->noting("first"));
    this->noteConnected("connection", connection);
    shortLived.reset();
    this->noteConnected("connection", connection);
    connection.disconnect();
    EXPECT_THAT(this->journal, ElementsAre("connection connected", "connection disconnected"));
}

TYPED_TEST(SignalsLikeBoost, StopCallingASlotWhoseOwnerDies)
{
    auto owner = std::make_shared<int>();
    auto tracking = this->noting("tracking");
    TypeParam::track(tracking, owner);
    bool dropping = false;
    const auto first = this->connect(
        [&]
        {
            this->note("first");
            if (dropping)
            {
                owner.reset();
            }
        });
    const auto second = this->connect(tracking);
    const auto last = this->connect(this->noting("last"));
    this->signal();
    this->noteConnected("second", second);
    dropping = true;
    this->signal();
    this->noteConnected("second", second);
    this->signal();
    EXPECT_THAT(this->journal, ElementsAre("first", "tracking", "last", "second connected", "first", "last",
                                           "second disconnected", "first", "last"));
}

TYPED_TEST(SignalsLikeBoost, KeepTheOwnerOfASlotAliveDuringItsCall)
{
    std::shared_ptr<int> owner(new int(0),
                               [this](const int* object)
                               {
                                   this->note("owner dies");
                                   std::default_delete<const int>()(object);
                               });
    typename TestFixture::Slot tracking = [&]
    {
        owner.reset();
        this->note("call ends");
    };
    TypeParam::track(tracking, owner);
    const auto connection = this->connect(tracking);
    this->signal();
    this->noteConnected("connection", connection);
    EXPECT_THAT(this->journal, ElementsAre("call ends", "owner dies", "connection disconnected"));
}

TYPED_TEST(SignalsLikeBoost, PassArgumentsToEverySlot)
{
    typename TypeParam::template Signal<void(int, const std::string&, std::string&)> described;
    const typename TypeParam::template Slot<void(int, const std::string&, std::string&)> slot =
        [this](int number, const std::string& name, std::string& text)
    {
        this->note(name + std::to_string(number) + text);
        text += '+';
    };
    const auto first = TypeParam::connect(described, slot);
    const auto second = TypeParam::connect(described, slot);
    std::string text = "!";
    described(7, "pump", text);
    EXPECT_THAT(this->journal, ElementsAre("pump7!", "pump7!+"));
    EXPECT_EQ(text, "!++");
}

/// A long pseudo-random life: slots that connect at both ends, disconnect any, emit again, drop owners and
/// throw.
template <typename Library>
class RandomLifeWith
{
public:
    explicit RandomLifeWith(unsigned seed) : random(seed) {}

    std::vector<std::string> live(int steps)
    {
        for (int i = 0; i < steps; ++i)
        {
            act();
            emit();
            if (pick(20) == 0)
            {
                signal = std::make_unique<Signal>();
            }
        }
        return journal;
    }

private:
    using Signal = typename Library::template Signal<void()>;
    using Slot = typename Library::template Slot<void()>;

    struct Member
    {
        typename Library::Connection connection;
        std::shared_ptr<int> owner;
    };

    // Not std::uniform_int_distribution: only the engine gives the same numbers everywhere.
    std::size_t pick(std::size_t count)
    {
        return random() % count;
    }

    void act()
    {
        switch (pick(members.empty() ? 2 : 6))
        {
        case 0:
        case 1:
            join();
            break;
        case 2:
            anyMember().connection.disconnect();
            break;
        case 3:
            anyMember().connection = typename Library::Connection();
            break;
        case 4:
            anyMember().owner.reset();
            break;
        default:
            swapTwo();
        }
    }

    void join()
    {
        auto owner = std::make_shared<int>();
        Slot slot = [this, name = std::to_string(members.size())]
        {
            run(name);
        };
        if (pick(2) == 0)
        {
            Library::track(slot, owner);
        }
        auto connection =
            pick(3) == 0 ? Library::connectFront(*signal, slot) : Library::connect(*signal, slot);
        members.push_back(std::make_unique<Member>(Member{std::move(connection), std::move(owner)}));
    }

    void swapTwo()
    {
        auto& one = anyMember();
        auto& other = anyMember();
        if (&one != &other)
        {
            one.connection = std::move(other.connection);
        }
    }

    void run(const std::string& name)
    {
        journal.push_back(name);
        switch (pick(8))
        {
        case 0:
        case 1:
        case 2:
            act();
            break;
        case 3:
            emit();
            break;
        case 4:
            if (pick(4) == 0)
            {
                throw std::runtime_error(name);
            }
            break;
        default:
            break;
        }
        journal.push_back("end of " + name);
    }

    void emit()
    {
        if (depth == 3)
        {
            return;
        }
        ++depth;
        try
        {
            (*signal)();
        }
        catch (const std::runtime_error& error)
        {
            journal.push_back(std::string("thrown by ") + error.what());
        }
        --depth;
        std::string connected;
        for (const auto& member : members)
        {
            connected += member->connection.connected() ? '+' : '-';
        }
        journal.push_back(connected);
    }

    Member& anyMember()
    {
        return *members[pick(members.size())];
    }

    std::mt19937 random;
    std::vector<std::string> journal;
    std::vector<std::unique_ptr<Member>> members;
    std::unique_ptr<Signal> signal = std::make_unique<Signal>();
    int depth = 0;
};

TEST(SignalsAgainstBoost, LeaveTheSameJournalInALongRandomLife)
{
    std::size_t entries = 0;
    for (unsigned seed = 1; seed <= 50; ++seed)
    {
        const auto ours = RandomLifeWith<Ours>(seed).live(25);
        const auto reference = RandomLifeWith<Reference>(seed).live(25);
        const auto difference = std::ranges::mismatch(ours, reference);
        ASSERT_TRUE(ours == reference) << "seed " << seed << ", from entry " << difference.in1 - ours.begin();
        entries += ours.size();
    }
    EXPECT_GT(entries, 10'000U) << "lives so dull that they prove nothing";
}

// What differs on purpose.

TEST(SignalsUnlikeBoost, RefuseAnEmptyFunctionWhenTheSlotIsMadeAndNotWhenItIsCalled)
{
    const std::function<void()> empty;
    EXPECT_THROW(Ours::Slot<void()>{empty}, std::bad_function_call);

    Reference::Signal<void()> reference;
    const Reference::Connection connection = reference.connect(boost::function<void()>());
    EXPECT_THROW(reference(), boost::bad_function_call);
}

template <typename Library>
std::vector<std::string> journalOfASignalDestroyedByItsFirstSlot()
{
    std::vector<std::string> journal;
    auto signal = std::make_unique<typename Library::template Signal<void()>>();
    const typename Library::template Slot<void()> destroying = [&]
    {
        signal.reset();
    };
    const typename Library::template Slot<void()> noting = [&]
    {
        journal.emplace_back("called");
    };
    const auto first = Library::connect(*signal, destroying);
    const auto second = Library::connect(*signal, noting);
    (*signal)();
    journal.emplace_back(second.connected() ? "connected" : "disconnected");
    return journal;
}

TEST(SignalsUnlikeBoost, EndTheEmissionWithASlotThatDestroysTheSignal)
{
    EXPECT_THAT(journalOfASignalDestroyedByItsFirstSlot<Ours>(), ElementsAre("disconnected"));
    EXPECT_THAT(journalOfASignalDestroyedByItsFirstSlot<Reference>(), ElementsAre("called", "disconnected"));
}

TEST(SignalsUnlikeBoost, LetAllSlotsSeeOneCopyOfAnArgumentByValue)
{
    using Owned = std::shared_ptr<int>;
    std::vector<long> useCounts;
    const auto slot = [&](const Owned& owned)
    {
        useCounts.push_back(owned.use_count());
    };

    Ours::Signal<void(Owned)> ours;
    const auto connection = ours.connect(slot);
    ours(std::make_shared<int>());
    EXPECT_THAT(useCounts, ElementsAre(1));

    useCounts.clear();
    Reference::Signal<void(Owned)> reference;
    const Reference::Connection scoped = reference.connect(slot);
    reference(std::make_shared<int>());
    EXPECT_THAT(useCounts, ElementsAre(testing::Gt(1)));
}

TEST(SignalsUnlikeBoost, DisconnectWithTheConnectionThatConnectReturned)
{
    int calls = 0;
    const auto slot = [&calls]
    {
        ++calls;
    };
    Ours::Signal<void()> ours;
    {
        const auto connection = ours.connect(slot);
    }
    ours();
    EXPECT_EQ(calls, 0);

    Reference::Signal<void()> reference;
    {
        const auto connection = reference.connect(slot);
    }
    reference();
    EXPECT_EQ(calls, 1);
}

} // namespace
