// An exception whose what() is null crashed the manager and both macros when they wrote it to the log, and a
// listener that made a text of it.

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Logging/LogMessage.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

class WithoutText : public std::exception
{
public:
    const char* what() const noexcept override
    {
        return nullptr;
    }
};

class AnExceptionWithoutAText : public testing::Test
{
protected:
    AnExceptionWithoutAText()
    {
        failing->onExecute = []
        {
            throw WithoutText();
        };
    }

    std::shared_ptr<ScriptedCommand> failing = std::make_shared<ScriptedCommand>("failing");
    CommandManager manager;
    std::vector<std::string> told;
    Signals::Connection failed =
        manager.connectToSigCommandFailed([this](const char* what, const std::string& description)
                                          { told.push_back(description + ": " + what); });
};

TEST_F(AnExceptionWithoutAText, OfACommandIsToldWithAnEmptyText)
{
    EXPECT_FALSE(manager.addCommand(failing));
    EXPECT_THAT(told, ElementsAre("failing: "));
}

TEST_F(AnExceptionWithoutAText, OfASubCommandToo)
{
    auto macro = std::make_shared<MacroCommand>("macro");
    macro->addCommand(failing);
    EXPECT_FALSE(manager.addCommand(macro));
    EXPECT_THAT(told, ElementsAre("macro: "));
}

TEST_F(AnExceptionWithoutAText, IsAnEmptyMessageOfAThreadedMacroThatSkipsIt)
{
    auto macro = std::make_shared<ThreadedMacroCommand>("macro", true);
    macro->addCommand(failing);

    manager.addThreadedCommand(macro);

    EXPECT_THAT(told, ElementsAre());
    ASSERT_NE(macro->getProgress()->getLastMessage(), nullptr);
    EXPECT_EQ(macro->getProgress()->getLastMessage()->getText(), "");
}

} // namespace
} // namespace Valdane
