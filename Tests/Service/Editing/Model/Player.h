#pragma once

#include "EditingModel.h"
#include "RealSide.h"
#include "Service/Editing/CommandGroup.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace Valdane::EditingModel
{

/// Plays operations on a real manager and on the model, and compares the two after each.
class Player
{
public:
    /// @return the first difference, with the operation after which it shows; empty if there is none.
    std::string differenceAfter(std::span<const Operation> operations);

private:
    /// Thrown when the two differ.
    struct Difference
    {
        std::string text;
    };

    /// Ends the scopes of so many groups.
    struct Left
    {
        unsigned scopes = 0;
        /// What the model has to expect when it leaves them.
        Fault fault;
    };

    /// Plays up to the end of the group, or of all operations.
    void playScope(CommandGroup* group);
    void playGroup(const Operation& begin);
    /// @return whether the group is closed.
    bool playEnd(CommandGroup& group, const Operation& operation);
    void play(const Operation& operation);
    void playIntake(const Operation& operation);
    void playWait(const Operation& operation);
    void playMove(const Operation& operation);
    void playRemoval(const Operation& operation);
    void playLimit(const Operation& operation);
    void playSave(const Operation& operation);

    /// Has both fail where @p operation says.
    Fault arm(const Operation& operation, Call call);
    void compareAnswers(const std::string& ofReal, const std::string& ofModel);
    void compare(const std::string& what, const std::string& ofReal, const std::string& ofModel) const;
    void compareState();
    void compareChanges(std::size_t tracker);
    void compareCommands(std::size_t tracker, const std::vector<std::string>& lines);

    RealSide real;
    Model model;
    std::span<const Operation> sequence;
    std::size_t next = 0;
};

} // namespace Valdane::EditingModel
