#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Logging/LogMessage.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Signals/Signal.h"
#include "Tests/Support/Faults/FailEverywhere.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Valdane::Faults::Platforms
{
namespace
{

const std::string longText = "a text that is long enough to be allocated";

/// One of each of what the library drives.
class PlatformWorld
{
public:
    PlatformWorld()
    {
        root->addChild(child);
        connections.push_back(signal.connect([this] { ++calls; }));
        whole.appendSubProgress(&part, 0, LegacyProgress::FullRange / 2);
        whole.setChangeCallback([this] { ++changes; });
        part.setChangeCallback([this] { ++changes; });
        part.moveTo(1.0);
        connections.reserve(2);
    }

    static int livingCommands()
    {
        return 0;
    }

    static bool succeeded()
    {
        return true;
    }

    std::string takeState()
    {
        std::string state = std::to_string(whole.fraction()) + ", " + std::to_string(part.fraction()) + ", " +
                            messageOf(whole) + ", " + messageOf(part) + ", children " +
                            std::to_string(root->getChildCount());
        changes = 0;
        part.reset();
        part.setComplete();
        calls = 0;
        signal();
        state += "\nchanges " + std::to_string(changes) + ", calls " + std::to_string(calls) + ", at " +
                 std::to_string(whole.fraction());
        for (const auto& object : root->getChildren())
        {
            const Path path = object->getPath(RequestedPathType::FromRoot);
            state += "\n" + path.toString() +
                     (root->getObject(path, GetObjectBehavior::EmptyIfMissing) == object ? "" : " is lost");
        }
        return state;
    }

    Signals::Signal<void()> signal;
    LegacyProgress whole;
    LegacyProgress part;
    std::shared_ptr<Object> root = std::make_shared<Object>("root");
    std::shared_ptr<Object> child = std::make_shared<Object>(longText);
    std::shared_ptr<Object> other = std::make_shared<Object>(longText + " too");
    std::vector<Signals::Connection> connections;
    int changes = 0;
    int calls = 0;
    Answer answer = Answer::None;

private:
    static std::string messageOf(const LegacyProgress& progress)
    {
        return progress.getLastMessage() == nullptr ? "no message" : "a message";
    }
};

using Row = FaultRow<PlatformWorld>;

class PlatformFaults : public testing::TestWithParam<Row>
{
};

TEST_P(PlatformFaults, LeaveWhatIsPromised)
{
    failEverywhere(GetParam());
}

void complete(PlatformWorld& world)
{
    world.part.setComplete();
}

void sendMessage(LegacyProgress& progress)
{
    progress.sendMessage(LogMessage(longText, LogMessage::Type::Error, longText));
}

/// The position is right, but not all have been told of it.
void resetSilently(PlatformWorld& world)
{
    world.part.setChangeCallback(nullptr);
    world.part.reset();
    world.part.setChangeCallback([&world] { ++world.changes; });
}

const std::vector<Row> rows = {
    {.name = "Connecting",
     .operation =
         [](PlatformWorld& world)
     {
         world.connections.push_back(world.signal.connect([&world] { ++world.calls; }));
     }},
    {.name = "Connecting to a signal without slots",
     .operation =
         [](PlatformWorld&)
     {
         Signals::Signal<void()> signal;
         const Signals::Connection connection = signal.connect([] {});
     }},
    {.name = "Emitting", .operation = [](PlatformWorld& world) { world.signal(); }, .allocates = false},
    {.name = "Hanging a progress",
     .operation = [](PlatformWorld& world)
     { world.whole.appendSubProgress(&world.part, 0, LegacyProgress::FullRange / 4); },
     .allocates = false},
    {.name = "Completing a progress",
     .operation = complete,
     .mayLeave = {[](PlatformWorld& world)
                  {
                      // The parent is where it was.
                      world.whole.appendSubProgress(nullptr, 0, 0);
                      LegacyProgress aside;
                      aside.appendSubProgress(&world.part, 0, 1);
                      complete(world);
                      world.whole.appendSubProgress(&world.part, 0, LegacyProgress::FullRange / 2);
                  },
                  complete}},
    {.name = "Resetting a progress",
     .operation = [](PlatformWorld& world) { world.part.reset(); },
     .mayLeave = {resetSilently}},
    {.name = "A message",
     .operation = [](PlatformWorld& world) { sendMessage(world.part); },
     .mayLeave = {[](PlatformWorld& world)
                  {
                      LegacyProgress aside;
                      aside.appendSubProgress(&world.part, 0, 1);
                      sendMessage(world.part);
                      world.whole.appendSubProgress(&world.part, 0, LegacyProgress::FullRange / 2);
                  },
                  [](PlatformWorld& world)
                  {
                      sendMessage(world.part);
                  }}},
    {.name = "Adding a child",
     .operation =
         [](PlatformWorld& world)
     {
         world.root->addChild(world.other);
     }},
    {.name = "Finding an object",
     .operation =
         [](PlatformWorld& world)
     {
         const Path path = world.child->getPath(RequestedPathType::FromRoot);
         world.root->getObject(path, GetObjectBehavior::EmptyIfMissing);
     }},
    {.name = "The text of an attribute's path",
     .operation =
         [](PlatformWorld& world)
     {
         world.child->getPath(world.root.get(), longText, RequestedPathType::FromRoot).toString();
     }},
};

INSTANTIATE_TEST_SUITE_P(All, PlatformFaults, testing::ValuesIn(rows), nameOfTest<PlatformWorld>);

} // namespace
} // namespace Valdane::Faults::Platforms
