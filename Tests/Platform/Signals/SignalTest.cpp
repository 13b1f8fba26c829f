#include "Platform/Signals/Signal.h"

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/WhenDestroyed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using testing::IsEmpty;
using Valdane::allocationCount;
using Valdane::AllocationsThatFail;
using Valdane::FailingAllocation;
using Valdane::HeapUse;
using Valdane::Signals::Connection;
using Valdane::Signals::ConnectPosition;
using Valdane::Signals::Signal;
using Valdane::Signals::Slot;
using ValdaneTests::ElementsAre;
using ValdaneTests::whenDestroyed;

using NoArguments = Signal<void()>;

static_assert(!std::is_copy_constructible_v<NoArguments> && !std::is_copy_assignable_v<NoArguments>);
static_assert(!std::is_move_constructible_v<NoArguments> && !std::is_move_assignable_v<NoArguments>);
static_assert(std::is_nothrow_default_constructible_v<NoArguments>);
static_assert(sizeof(NoArguments) == sizeof(void*));
static_assert(sizeof(Signal<void(const std::string&, std::string, int)>) == sizeof(void*));
static_assert(static_cast<int>(ConnectPosition::Back) == 0 && static_cast<int>(ConnectPosition::Front) == 1);

static_assert(std::is_invocable_v<const NoArguments&>, "emitting is a const operation");
static_assert(std::is_invocable_v<const Signal<void(const std::string&)>&, const char*>);
static_assert(!std::is_invocable_v<const NoArguments&, int>);
static_assert(!std::is_invocable_v<const Signal<void(int)>&>);

template <typename SignalType, typename Function>
concept CanConnect = requires(SignalType& signal, Function function)
{
    signal.connect(function);
};

static_assert(CanConnect<NoArguments, void (*)()>);
static_assert(!CanConnect<const NoArguments, void (*)()>);
static_assert(!CanConnect<NoArguments, void (*)(int)>);
static_assert(!CanConnect<Signal<void(int)>, void (*)(std::string)>);

/// Counts how often it is copied.
struct Counted
{
    int* copies;

    explicit Counted(int& counter) : copies(&counter) {}

    Counted(const Counted& other) : copies(other.copies)
    {
        ++*copies;
    }

    Counted(Counted&& other) noexcept = default;
    Counted& operator=(const Counted&) = delete;
    Counted& operator=(Counted&&) = delete;
    ~Counted() = default;
};

class SignalTest : public testing::Test
{
protected:
    /// A slot that notes its number.
    Slot<void()> noting(int number)
    {
        return [this, number]
        {
            seen.push_back(number);
        };
    }

    std::vector<int> emit()
    {
        seen.clear();
        signal();
        return seen;
    }

    std::vector<int> seen;
    Signal<void()> signal;
};

TEST_F(SignalTest, WithoutSlotsDoesNothing)
{
    EXPECT_THAT(emit(), IsEmpty());
    {
        const Connection gone = signal.connect(noting(1));
    }
    EXPECT_THAT(emit(), IsEmpty());
}

TEST_F(SignalTest, CallsSlotsInTheOrderOfConnection)
{
    const Connection first = signal.connect(noting(1));
    const Connection second = signal.connect(noting(2), ConnectPosition::Back);
    const Connection third = signal.connect(noting(3));
    EXPECT_THAT(emit(), ElementsAre(1, 2, 3));
    EXPECT_THAT(emit(), ElementsAre(1, 2, 3));
}

TEST_F(SignalTest, CallsASlotConnectedAtTheFrontBeforeAllThatWereConnectedThen)
{
    const Connection first = signal.connect(noting(1), ConnectPosition::Front);
    const Connection second = signal.connect(noting(2));
    const Connection third = signal.connect(noting(3), ConnectPosition::Front);
    const Connection fourth = signal.connect(noting(4), ConnectPosition::Front);
    const Connection fifth = signal.connect(noting(5));
    EXPECT_THAT(emit(), ElementsAre(4, 3, 1, 2, 5));
}

TEST_F(SignalTest, KeepsTheOrderWhenTheEndsAreDisconnected)
{
    Connection first = signal.connect(noting(1));
    const Connection second = signal.connect(noting(2));
    Connection third = signal.connect(noting(3));
    first.disconnect();
    third.disconnect();
    first = signal.connect(noting(4), ConnectPosition::Front);
    third = signal.connect(noting(5));
    EXPECT_THAT(emit(), ElementsAre(4, 2, 5));
}

TEST_F(SignalTest, PassesItsArguments)
{
    Signal<void(const char*, const std::string&, bool)> failed;
    std::vector<std::string> texts;
    const Connection connection = failed.connect([&](const char* what, const std::string& name, bool again)
                                                 { texts.push_back(what + name + (again ? "!" : "?")); });
    failed("stuck ", "pump", true);
    failed("broken ", std::string("valve"), false);
    EXPECT_THAT(texts, ElementsAre("stuck pump!", "broken valve?"));
}

TEST_F(SignalTest, PassesAReferenceItselfToAllSlots)
{
    Signal<void(int&)> counting;
    const Connection first = counting.connect([](int& count) { count += 1; });
    const Connection second = counting.connect([](int& count) { count *= 10; });
    int count = 1;
    counting(count);
    EXPECT_EQ(count, 20);
}

TEST_F(SignalTest, ShowsAllSlotsOneCopyOfAnArgumentByValue)
{
    Signal<void(Counted)> byValue;
    std::vector<const Counted*> addresses;
    const auto note = [&](const Counted& counted)
    {
        addresses.push_back(&counted);
    };
    const Connection first = byValue.connect(note);
    const Connection second = byValue.connect(note);
    int copies = 0;
    const Counted argument(copies);
    byValue(argument);
    EXPECT_EQ(copies, 1);
    ASSERT_EQ(addresses.size(), 2U);
    EXPECT_EQ(addresses.at(0), addresses.at(1));
    EXPECT_NE(addresses.at(0), &argument);
}

TEST_F(SignalTest, KeepsAnArgumentByValueWhatItWasWhenASlotChangesTheOriginal)
{
    Signal<void(std::string, int)> byValue;
    std::string name = "pump";
    int number = 1;
    const Connection first = byValue.connect(
        [&](const std::string&, int)
        {
            name = "valve";
            number = 2;
        });
    std::string seenName;
    int seenNumber = 0;
    const Connection second = byValue.connect(
        [&](const std::string& text, int value)
        {
            seenName = text;
            seenNumber = value;
        });
    byValue(name, number);
    EXPECT_EQ(seenName, "pump");
    EXPECT_EQ(seenNumber, 1);
}

TEST_F(SignalTest, NeverCopiesAnArgumentByReference)
{
    Signal<void(const Counted&)> byReference;
    const Connection connection = byReference.connect([](const Counted&) {});
    int copies = 0;
    byReference(Counted(copies));
    EXPECT_EQ(copies, 0);
}

TEST_F(SignalTest, CallsSlotsOnEveryOneOfManyConnections)
{
    constexpr int Count = 10'000;
    std::vector<Connection> connections;
    std::vector<int> expected;
    for (int i = 0; i < Count; ++i)
    {
        connections.push_back(signal.connect(noting(i)));
        expected.push_back(i);
    }
    EXPECT_EQ(emit(), expected);

    expected.clear();
    for (int i = 0; i < Count; ++i)
    {
        if (i % 3 == 0)
        {
            expected.push_back(i);
        }
        else
        {
            connections.at(static_cast<std::size_t>(i)).disconnect();
        }
    }
    EXPECT_EQ(emit(), expected);
}

TEST_F(SignalTest, DisconnectsManySlotsFromWithinTheFirst)
{
    std::vector<Connection> connections;
    const Connection first = signal.connect([&] { connections.clear(); });
    for (int i = 0; i < 10'000; ++i)
    {
        connections.push_back(signal.connect(noting(i)));
    }
    EXPECT_THAT(emit(), IsEmpty());
    EXPECT_TRUE(first.connected());
}

TEST_F(SignalTest, CallsASlotConnectedDuringAnEmissionInTheNextOne)
{
    Connection added;
    const Connection connecting = signal.connect(
        [&]
        {
            seen.push_back(1);
            if (!added.connected())
            {
                added = signal.connect(noting(2));
            }
        });
    EXPECT_THAT(emit(), ElementsAre(1));
    EXPECT_THAT(emit(), ElementsAre(1, 2));
}

TEST_F(SignalTest, CanBeDestroyedByASlotTogetherWithItsOwner)
{
    struct Owner
    {
        std::string name = "pump";
        Signal<void(const std::string&)> renamed;
        Connection own;
    };

    auto owner = std::make_unique<Owner>();
    owner->own = owner->renamed.connect([&](const std::string&) { seen.push_back(1); });
    const Connection destroying = owner->renamed.connect([&](const std::string&) { owner.reset(); });
    const Connection next = owner->renamed.connect([&](const std::string&) { seen.push_back(2); });
    const std::string name = owner->name;
    owner->renamed(name);
    EXPECT_EQ(owner, nullptr);
    EXPECT_THAT(seen, ElementsAre(1));
    EXPECT_FALSE(destroying.connected());
    EXPECT_FALSE(next.connected());
}

TEST_F(SignalTest, CanBeDestroyedWithinNestedEmissions)
{
    auto shortLived = std::make_unique<Signal<void()>>();
    int depth = 0;
    const Connection recursive = shortLived->connect(
        [&]
        {
            seen.push_back(++depth);
            if (depth < 3)
            {
                (*shortLived)();
            }
            else
            {
                shortLived.reset();
            }
        });
    const Connection next = shortLived->connect(noting(100));
    (*shortLived)();
    EXPECT_EQ(shortLived, nullptr);
    EXPECT_THAT(seen, ElementsAre(1, 2, 3));
}

TEST_F(SignalTest, DestroysItsCallablesInOrderWhenItIsDestroyed)
{
    auto shortLived = std::make_unique<Signal<void()>>();
    std::vector<Connection> connections;
    connections.reserve(3);
    for (int i = 0; i < 3; ++i)
    {
        connections.push_back(
            shortLived->connect([probe = whenDestroyed([this, i] { seen.push_back(i); })] {}));
    }
    shortLived.reset();
    EXPECT_THAT(seen, ElementsAre(0, 1, 2));
}

TEST_F(SignalTest, HasNoConnectedSlotLeftWhenItsDestructionDestroysTheFirstCallable)
{
    auto shortLived = std::make_unique<Signal<void()>>();
    Signal<void()>* const dying = shortLived.get();
    Connection second;
    Connection late;
    const Connection first = shortLived->connect([probe = whenDestroyed(
                                                      [&]
                                                      {
                                                          seen.push_back(second.connected() ? 1 : 0);
                                                          late = dying->connect(noting(2));
                                                          (*dying)();
                                                          second.disconnect();
                                                      })] {});
    second = shortLived->connect(noting(3));
    shortLived.reset();
    EXPECT_THAT(seen, ElementsAre(0));
    EXPECT_FALSE(late.connected());
}

TEST_F(SignalTest, CanBeEmittedThroughAReferenceToConst)
{
    const Connection connection = signal.connect(noting(1));
    std::as_const(signal)();
    EXPECT_THAT(seen, ElementsAre(1));
}

TEST_F(SignalTest, ConnectsASlotThatEmitsInItsCopyConstructor)
{
    struct Emitting
    {
        Signal<void()>* emitted;

        explicit Emitting(Signal<void()>& target) : emitted(&target) {}

        Emitting(const Emitting& other) : emitted(other.emitted)
        {
            (*emitted)();
        }

        Emitting& operator=(const Emitting&) = delete;
        ~Emitting() = default;

        void operator()() const {}
    };

    const Connection first = signal.connect(noting(1));
    const Slot<void()> slot = Emitting(signal);
    seen.clear();
    const Connection second = signal.connect(slot);
    EXPECT_THAT(seen, ElementsAre(1));
    EXPECT_TRUE(second.connected());
}

TEST_F(SignalTest, AllocatesNothingUntilTheFirstConnect)
{
    const std::size_t before = allocationCount();
    {
        const Signal<void(int)> silent;
        silent(1);
    }
    EXPECT_EQ(allocationCount(), before);
    const Connection connection = signal.connect([] {});
    EXPECT_GT(allocationCount(), before);
}

TEST_F(SignalTest, AllocatesNothingInAnEmission)
{
    const auto owner = std::make_shared<int>();
    int calls = 0;
    const auto count = [&calls]
    {
        ++calls;
    };
    Connection disconnected;
    const Connection disconnecting = signal.connect([&] { disconnected.disconnect(); });
    const Connection plain = signal.connect(count);
    const Connection tracking = signal.connect(Slot<void()>(count).track(owner).track(owner));
    disconnected = signal.connect(count);
    const std::size_t before = allocationCount();
    signal();
    signal();
    EXPECT_EQ(allocationCount(), before);
    EXPECT_EQ(calls, 4);
}

TEST_F(SignalTest, IsUnchangedWhenAConnectRunsOutOfMemory)
{
    const auto owner = std::make_shared<int>();
    const std::vector<int> large(100);
    const Slot<void()> slot = Slot<void()>([this, large, owner] { seen.push_back(1); }).track(owner);
    const long usesBefore = owner.use_count();
    const std::uint64_t blocksBefore = HeapUse::now().blocks;
    std::size_t failures = 0;
    Connection connection;
    while (!connection.connected())
    {
        try
        {
            const FailingAllocation failure(failures, AllocationsThatFail::AllFromThereOn);
            connection = signal.connect(slot);
        }
        catch (const std::bad_alloc&)
        {
            ++failures;
            ASSERT_EQ(owner.use_count(), usesBefore);
            ASSERT_EQ(HeapUse::now().blocks, blocksBefore);
        }
        ASSERT_EQ(emit().size(), connection.connected() ? 1U : 0U);
    }
    EXPECT_GE(failures, 4U) << "the list, the node, what is tracked and the callable are allocated";
}

TEST_F(SignalTest, IsUnchangedWhenACallableCannotBeCopied)
{
    struct Uncopyable
    {
        std::shared_ptr<const bool> fails;

        explicit Uncopyable(std::shared_ptr<const bool> flag) : fails(std::move(flag)) {}

        Uncopyable(const Uncopyable& other) : fails(other.fails)
        {
            if (*fails)
            {
                throw std::runtime_error("no copy");
            }
        }

        Uncopyable& operator=(const Uncopyable&) = delete;
        ~Uncopyable() = default;

        void operator()() const {}
    };

    const auto fails = std::make_shared<bool>(false);
    const Slot<void()> slot = Uncopyable(fails);
    Connection connection = signal.connect(noting(1));
    *fails = true;
    EXPECT_THROW(connection = signal.connect(slot), std::runtime_error);
    EXPECT_THAT(emit(), ElementsAre(1));
}

} // namespace
