#include "Service/CommandPattern/CommandManager.h"
#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/Journal.h"
#include "Tests/Service/CommandPattern/Scale.h"
#include "Tests/Service/Journal/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

namespace Valdane
{
namespace
{

struct NumberWithJournal
{
    explicit NumberWithJournal(const TemporaryFolder& folder)
    {
        codecs.add<AddCommand>(
            "add", 1, CommandCodecs::Keeps::Undo, [](const AddCommand&) { return nlohmann::json(1); },
            [this](const nlohmann::json&, std::uint32_t) { return std::make_shared<AddCommand>(number); });
        journal.emplace(codecs, folder.path() / "a.journal",
                        Journal::Options{.durability = Journal::Durability::WhenIdle});
    }

    std::int64_t number = 0;
    CommandCodecs codecs;
    CommandManager manager;
    std::optional<Journal> journal;
};

} // namespace

/// A journal of all commands, and what comes back of it.
void scaleJournal(std::size_t size, Meter& meter)
{
    const TemporaryFolder folder;
    {
        NumberWithJournal first(folder);
        first.journal->start(first.manager, {.document = "number", .digest = "0"});
        meter.run("execute and write",
                  [&]
                  {
                      for (std::size_t i = 0; i < size; ++i)
                      {
                          first.manager.addCommand(std::make_shared<AddCommand>(first.number));
                          // What waits to be written takes memory.
                          if (i % 1000 == 0)
                          {
                              first.journal->flush();
                          }
                      }
                      first.journal->flush();
                  });
        meter.run("undo all", [&] { first.manager.undoAll(); });
        meter.run("redo all", [&] { first.manager.redoAll(); });
        meter.run("write", [&] { first.journal->flush(); });
        EXPECT_EQ(first.journal->getFailure(), "");
    }
    NumberWithJournal second(folder);
    meter.run("recover", [&] { second.journal->recover(second.manager, "0"); });
    EXPECT_EQ(second.number, static_cast<std::int64_t>(size));
    EXPECT_EQ(second.manager.getPosition(), size);
}

} // namespace Valdane
