#include "Service/CommandTesting/CommandKit.h"
#include "Tests/Service/CommandTesting/Page.h"
#include "Tests/Support/Failures.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace Valdane
{
namespace
{

using Spoil = std::function<void(ScriptedCommand&, Page&)>;

/// The report of a macro whose second command is spoilt.
std::string macroReport(const Spoil& spoil)
{
    return makePageKit().inMacro({renameTo("fan"), spoilt(spoil), renameTo("valve")}).toText();
}

/// How often the title was changed: what an undo must take back.
auto append(const std::string& letter)
{
    return [letter](Page& page)
    {
        auto command = std::make_shared<ScriptedCommand>("Append " + letter);
        command->onExecute = [&page, letter]
        {
            page.text += letter;
        };
        command->onUndo = [&page]
        {
            page.text.pop_back();
        };
        return command;
    };
}

TEST(InMacroTest, RightCommandsHaveNoMistakes)
{
    EXPECT_EQ(macroReport([](ScriptedCommand&, Page&) {}), "In a macro of 3 commands: no mistakes\n");
    EXPECT_EQ(makePageKit().inMacro({append("a"), append("b"), append("c")}).toText(),
              "In a macro of 3 commands: no mistakes\n");
}

TEST(InMacroTest, CommandsMayRevertEachOther)
{
    EXPECT_EQ(makePageKit().inMacro({renameTo("fan"), renameTo("pump")}).toText(),
              "In a macro of 2 commands: no mistakes\n");
}

TEST(InMacroTest, CommandsThatAreNotRedoCapableAreOnlyUndone)
{
    EXPECT_EQ(macroReport(
                  [](ScriptedCommand& command, Page&)
                  {
                      command.redoCapable = false;
                      command.onRedo = fail;
                  }),
              "In a macro of 3 commands: no mistakes\n");
}

TEST(InMacroTest, AnUndoThatIsNotTheInverseIsFoundInTheRollBack)
{
    EXPECT_EQ(macroReport(
                  [](ScriptedCommand& command, Page& page)
                  {
                      command.onUndo = [&page]
                      {
                          page.text = "nothing";
                      };
                  }),
              "In a macro of 3 commands: 1 mistake\n"
              "  After the roll-back of the first 2 commands the data are not as before the macro was "
              "executed (- expected, + found):\n"
              "      title: pump\n"
              "    - text: none\n"
              "    + text: nothing\n");
}

TEST(InMacroTest, AnUndoThatDependsOnLaterDataIsFound)
{
    // Undoes right only as long as the third command is done.
    const Spoil dependent = [](ScriptedCommand& command, Page& page)
    {
        command.onUndo = [&page]
        {
            page.text = page.title == "fan" ? "none" : "nothing";
        };
    };
    EXPECT_FALSE(makePageKit().inMacro({spoilt(dependent)}));
    EXPECT_TRUE(makePageKit().inMacro({renameTo("fan"), spoilt(dependent)}));
}

TEST(InMacroTest, ARedoThatIsNotExecuteIsFoundInTheRollBackOfAnUndo)
{
    EXPECT_EQ(macroReport(
                  [](ScriptedCommand& command, Page& page)
                  {
                      command.onRedo = [&page]
                      {
                          page.text = "redone";
                      };
                  }),
              "In a macro of 3 commands: 1 mistake\n"
              "  After undo() and the redo() that rolls it back, of the first 2 commands the data are not as "
              "before the macro was undone (- expected, + found):\n"
              "      title: fan\n"
              "    - text: done\n"
              "    + text: redone\n");
}

TEST(InMacroTest, AnUndoThatIsWrongAfterARedoIsFoundInTheRollBackOfARedo)
{
    EXPECT_EQ(macroReport(
                  [](ScriptedCommand& command, Page& page)
                  {
                      command.onUndo = [&page, times = 0]() mutable
                      {
                          page.text = ++times == 1 ? "none" : "nothing";
                      };
                  }),
              "In a macro of 3 commands: 1 mistake\n"
              "  After redo() and the undo() that rolls it back, of the first 2 commands the data are not as "
              "before the macro was redone (- expected, + found):\n"
              "      title: pump\n"
              "    - text: none\n"
              "    + text: nothing\n");
}

TEST(InMacroTest, WhatFailsInTheWholeMacroIsTold)
{
    EXPECT_EQ(macroReport([](ScriptedCommand& command, Page&) { command.onExecute = failStrangely; }),
              "In a macro of 3 commands: 1 mistake\n"
              "  execute() of a macro of the first 2 commands throws something that is not derived from "
              "std::exception\n");
    EXPECT_EQ(macroReport(
                  [](ScriptedCommand& command, Page&)
                  {
                      command.onExecute = []
                      {
                          throw std::runtime_error("no disk");
                      };
                  }),
              "In a macro of 3 commands: 1 mistake\n"
              "  execute() of a macro of the first 2 commands fails: no disk\n");
    EXPECT_EQ(makePageKit().inMacro({}).toText(), "In a macro of 0 commands: 1 mistake\n"
                                                  "  There is no command\n");
}

TEST(InMacroTest, AThirdUndoThatIsWrongIsFoundInTheWholeMacro)
{
    EXPECT_EQ(macroReport(
                  [](ScriptedCommand& command, Page& page)
                  {
                      command.onUndo = [&page, times = 0]() mutable
                      {
                          page.text = ++times <= 2 ? "none" : "nothing";
                      };
                  }),
              "In a macro of 3 commands: 1 mistake\n"
              "  Round trip of \"the whole macro\":\n"
              "    After undo 3 the data are not as before execute() (- expected, + found):\n"
              "        title: pump\n"
              "      - text: none\n"
              "      + text: nothing\n");
}

} // namespace
} // namespace Valdane
