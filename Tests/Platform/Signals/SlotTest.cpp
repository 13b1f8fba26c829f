#include "Platform/Signals/Slot.h"

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Signal.h"
#include "Tests/Support/ElementsAre.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/smart_ptr/weak_ptr.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using Valdane::Signals::Connection;
using Valdane::Signals::Signal;
using Valdane::Signals::Slot;
using ValdaneTests::ElementsAre;

// What fits converts, and what does not fit takes part in no overload resolution.

template <typename Function, typename Signature>
constexpr bool fits = std::is_convertible_v<Function, Slot<Signature>>;

struct MoveOnlyFunction
{
    std::unique_ptr<int> state;

    void operator()() const {}
};

static_assert(fits<void (*)(), void()>);
static_assert(fits<int (*)(int), void(int)>, "results are ignored");
static_assert(fits<void (*)(long), void(int)>, "arguments convert");
static_assert(fits<void (*)(const std::string&), void(std::string)>);
static_assert(fits<void (*)(std::string), void(const std::string&)>);
static_assert(fits<void (*)(std::string&), void(std::string&)>);
static_assert(fits<void (*)(const std::unique_ptr<int>&), void(std::unique_ptr<int>)>);
static_assert(!fits<void (*)(), void(int)>);
static_assert(!fits<void (*)(int), void()>);
static_assert(!fits<void (*)(std::string), void(int)>);
static_assert(!fits<void (*)(std::string&), void(const std::string&)>);
static_assert(!fits<void (*)(std::string&), void(std::string)>, "slots cannot change a value for the others");
static_assert(!fits<void (*)(std::string&&), void(std::string)>, "slots cannot take a value from the others");
static_assert(!fits<MoveOnlyFunction, void()>, "connecting copies");
static_assert(!fits<Slot<void()>, void(int)>);
static_assert(!fits<int, void()>);
static_assert(!fits<std::nullptr_t, void()>);
static_assert(std::is_copy_constructible_v<Slot<void()>> && std::is_copy_assignable_v<Slot<void()>>);

// A slot tracks shared and weak pointers of both families, and nothing else.

template <typename Pointer>
concept Trackable = requires(Slot<void()>& slot, Pointer pointer)
{
    {
        slot.track(pointer)
        } -> std::same_as<Slot<void()>&>;
};

static_assert(Trackable<std::shared_ptr<int>> && Trackable<std::weak_ptr<const int>>);
static_assert(Trackable<boost::shared_ptr<int>> && Trackable<boost::weak_ptr<const int>>);
static_assert(!Trackable<int*> && !Trackable<std::unique_ptr<int>> && !Trackable<std::nullptr_t>);

struct Gauge
{
    int value = 0;

    int read()
    {
        return ++value;
    }
};

int freeFunctionCalls = 0;

void freeFunction()
{
    ++freeFunctionCalls;
}

TEST(Slot, IsMadeFromEveryKindOfCallable)
{
    Signal<void(Gauge&)> signal;
    const Connection member = signal.connect(&Gauge::read);
    const Connection lambda = signal.connect([](Gauge& gauge) { gauge.value += 10; });
    const Connection function = signal.connect(std::function<void(Gauge&)>([](Gauge& g) { g.value += 100; }));
    const Connection generic = signal.connect([](auto&&... gauges) { ((gauges.value += 1000), ...); });
    Gauge gauge;
    signal(gauge);
    EXPECT_EQ(gauge.value, 1111);
}

TEST(Slot, IsMadeFromAFreeFunction)
{
    freeFunctionCalls = 0;
    Signal<void()> signal;
    const Connection byName = signal.connect(freeFunction);
    const Connection byPointer = signal.connect(&freeFunction);
    signal();
    EXPECT_EQ(freeFunctionCalls, 2);
}

TEST(Slot, RefusesAnEmptyFunction)
{
    EXPECT_THROW(Slot<void()>(std::function<void()>()), std::bad_function_call);
    EXPECT_THROW(Slot<void()>(static_cast<void (*)()>(nullptr)), std::bad_function_call);
    EXPECT_THROW(Slot<void(Gauge&)>(static_cast<int (Gauge::*)()>(nullptr)), std::bad_function_call);
}

TEST(Slot, IsConnectedByCopySoThatConnectionsDoNotShareState)
{
    std::vector<int> seen;
    const Slot<void()> slot = [&seen, count = 0]() mutable
    {
        seen.push_back(++count);
    };
    Signal<void()> signal;
    const Connection first = signal.connect(slot);
    signal();
    const Connection second = signal.connect(slot);
    signal();
    EXPECT_THAT(seen, ElementsAre(1, 2, 1));
}

TEST(Slot, MayBeDestroyedOnceItIsConnected)
{
    int calls = 0;
    Signal<void()> signal;
    std::optional<Slot<void()>> slot([&calls] { ++calls; });
    const Connection connection = signal.connect(*slot);
    slot.reset();
    signal();
    EXPECT_EQ(calls, 1);
}

// Owners, and the four kinds of pointers by which they are tracked.

struct StandardPointers
{
    template <typename T>
    using Shared = std::shared_ptr<T>;
    template <typename T>
    using Weak = std::weak_ptr<T>;

    template <typename T, typename... Args>
    static Shared<T> make(Args&&... args)
    {
        return std::make_shared<T>(std::forward<Args>(args)...);
    }
};

struct BoostPointers
{
    template <typename T>
    using Shared = boost::shared_ptr<T>;
    template <typename T>
    using Weak = boost::weak_ptr<T>;

    template <typename T, typename... Args>
    static Shared<T> make(Args&&... args)
    {
        return boost::make_shared<T>(std::forward<Args>(args)...);
    }
};

/// Does something when it is destroyed.
struct Owner
{
    std::function<void()> farewell = [] {
    };

    explicit Owner(std::function<void()> atTheEnd) : farewell(std::move(atTheEnd)) {}

    Owner() = default;
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    ~Owner()
    {
        farewell();
    }
};

template <typename Pointers>
class TrackingSlot : public testing::Test
{
protected:
    template <typename T>
    using Weak = typename Pointers::template Weak<T>;
    template <typename T>
    using Shared = typename Pointers::template Shared<T>;

    Shared<Owner> owner = Pointers::template make<Owner>();
    int calls = 0;
    Signal<void()> signal;
    Slot<void()> slot = [this]
    {
        ++calls;
    };
};

struct PointerNames
{
    template <typename Pointers>
    static std::string GetName(int)
    {
        return std::is_same_v<Pointers, StandardPointers> ? "Standard" : "Boost";
    }
};

using BothFamilies = testing::Types<StandardPointers, BoostPointers>;
TYPED_TEST_SUITE(TrackingSlot, BothFamilies, PointerNames);

TYPED_TEST(TrackingSlot, IsCalledAsLongAsAnOwnerIsLeft)
{
    const Connection connection = this->signal.connect(this->slot.track(this->owner));
    auto secondOwner = this->owner;
    this->owner.reset();
    this->signal();
    EXPECT_EQ(this->calls, 1);
    EXPECT_TRUE(connection.connected());

    secondOwner.reset();
    EXPECT_FALSE(connection.connected());
    this->signal();
    EXPECT_EQ(this->calls, 1);
    EXPECT_FALSE(connection.connected());
}

TYPED_TEST(TrackingSlot, TracksThroughAWeakPointerToo)
{
    const typename TestFixture::template Weak<const Owner> weak = this->owner;
    const Connection connection = this->signal.connect(this->slot.track(weak));
    this->signal();
    EXPECT_EQ(this->calls, 1);
    this->owner.reset();
    this->signal();
    EXPECT_EQ(this->calls, 1);
    EXPECT_FALSE(connection.connected());
}

TYPED_TEST(TrackingSlot, DoesNotKeepItsOwnerAliveOutsideOfCalls)
{
    const Connection connection = this->signal.connect(this->slot.track(this->owner));
    this->signal();
    EXPECT_EQ(this->owner.use_count(), 1);
}

TYPED_TEST(TrackingSlot, KeepsItsOwnersAliveDuringTheCall)
{
    auto second = TypeParam::template make<Owner>();
    typename TestFixture::template Weak<Owner> firstWatch = this->owner;
    typename TestFixture::template Weak<Owner> secondWatch = second;
    bool aliveInTheCall = false;
    Slot<void()> dropping = [&]
    {
        this->owner.reset();
        second.reset();
        aliveInTheCall = !firstWatch.expired() && !secondWatch.expired();
    };
    const Connection connection = this->signal.connect(dropping.track(this->owner).track(second));
    this->signal();
    EXPECT_TRUE(aliveInTheCall);
    EXPECT_TRUE(firstWatch.expired());
    EXPECT_TRUE(secondWatch.expired());
    EXPECT_FALSE(connection.connected());
}

TYPED_TEST(TrackingSlot, IsNotCalledIfAnEarlierSlotDropsItsOwner)
{
    const Connection dropping = this->signal.connect([this] { this->owner.reset(); });
    const Connection connection = this->signal.connect(this->slot.track(this->owner));
    this->signal();
    EXPECT_EQ(this->calls, 0);
    EXPECT_TRUE(dropping.connected());
}

TYPED_TEST(TrackingSlot, EndsWithTheFirstOfSeveralOwners)
{
    for (const int expiring : {0, 1, 2})
    {
        std::vector<typename TestFixture::template Shared<Owner>> owners;
        Slot<void()> tracking = this->slot;
        for (int i = 0; i < 3; ++i)
        {
            owners.push_back(TypeParam::template make<Owner>());
            tracking.track(owners.back());
        }
        this->calls = 0;
        const Connection connection = this->signal.connect(tracking);
        this->signal();
        EXPECT_EQ(this->calls, 1);
        owners.at(static_cast<std::size_t>(expiring)).reset();
        EXPECT_FALSE(connection.connected()) << expiring;
        this->signal();
        EXPECT_EQ(this->calls, 1) << expiring;
    }
}

TYPED_TEST(TrackingSlot, OfAnEmptyPointerIsNeverCalled)
{
    const typename TestFixture::template Shared<Owner> nobody;
    const Connection connection = this->signal.connect(this->slot.track(nobody));
    EXPECT_FALSE(connection.connected());
    this->signal();
    EXPECT_EQ(this->calls, 0);
}

TYPED_TEST(TrackingSlot, LooksAtTheOwnerAndNotAtTheAddressOfAnAliasingPointer)
{
    const typename TestFixture::template Shared<int> nullButOwned(this->owner, nullptr);
    int unowned = 0;
    const typename TestFixture::template Shared<int> notNullButUnowned(
        typename TestFixture::template Shared<Owner>(), &unowned);
    const Connection owned = this->signal.connect(Slot<void()>(this->slot).track(nullButOwned));
    const Connection orphan = this->signal.connect(Slot<void()>(this->slot).track(notNullButUnowned));
    this->signal();
    EXPECT_EQ(this->calls, 1);
    EXPECT_TRUE(owned.connected());
    EXPECT_FALSE(orphan.connected());
}

TYPED_TEST(TrackingSlot, LeavesConnectionsThatWereMadeBeforeAlone)
{
    const Connection before = this->signal.connect(this->slot);
    const Connection after = this->signal.connect(this->slot.track(this->owner));
    this->owner.reset();
    this->signal();
    EXPECT_EQ(this->calls, 1);
    EXPECT_TRUE(before.connected());
    EXPECT_FALSE(after.connected());
}

TYPED_TEST(TrackingSlot, LosesItsCallableInTheNextEmissionAfterItsOwnerExpired)
{
    auto captured = std::make_shared<int>();
    const Connection connection = this->signal.connect(Slot<void()>([captured] {}).track(this->owner));
    EXPECT_EQ(captured.use_count(), 2);
    this->owner.reset();
    EXPECT_EQ(captured.use_count(), 2);
    this->signal();
    EXPECT_EQ(captured.use_count(), 1);
}

TYPED_TEST(TrackingSlot, LosesItsCallableWhenItIsDisconnectedAfterItsOwnerExpired)
{
    auto captured = std::make_shared<int>();
    Connection connection = this->signal.connect(Slot<void()>([captured] {}).track(this->owner));
    this->owner.reset();
    connection.disconnect();
    EXPECT_EQ(captured.use_count(), 1);
}

TYPED_TEST(TrackingSlot, MayDestroyTheSignalThroughTheLastReferenceToItsOwner)
{
    auto shortLived = std::make_unique<Signal<void()>>();
    auto last = TypeParam::template make<Owner>([&shortLived] { shortLived.reset(); });
    const Connection dropping = shortLived->connect(Slot<void()>([&last] { last.reset(); }).track(last));
    const Connection next = shortLived->connect(this->slot);
    (*shortLived)();
    EXPECT_EQ(shortLived, nullptr);
    EXPECT_EQ(this->calls, 0);
    EXPECT_FALSE(dropping.connected());
    EXPECT_FALSE(next.connected());
}

TYPED_TEST(TrackingSlot, ReleasesItsOwnerIfTheCallThrows)
{
    const Connection connection =
        this->signal.connect(Slot<void()>([] { throw std::runtime_error("stuck"); }).track(this->owner));
    EXPECT_THROW(this->signal(), std::runtime_error);
    EXPECT_EQ(this->owner.use_count(), 1);
    EXPECT_TRUE(connection.connected());
}

TEST(Slot, TracksOwnersOfBothFamiliesAtOnce)
{
    auto standard = std::make_shared<int>();
    auto boosted = boost::make_shared<int>();
    int calls = 0;
    Signal<void()> signal;
    const Connection connection =
        signal.connect(Slot<void()>([&] { ++calls; }).track(standard).track(boosted));
    signal();
    EXPECT_EQ(calls, 1);
    boosted.reset();
    signal();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(standard.use_count(), 1);
}

} // namespace
