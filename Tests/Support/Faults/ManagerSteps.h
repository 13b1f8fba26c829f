#pragma once

#include "Tests/Support/Faults/FailEverywhere.h"
#include "Tests/Support/Faults/ManagerWorld.h"

#include <cstdint>
#include <string>

namespace Valdane::Faults
{

using ManagerRow = FaultRow<ManagerWorld>;

inline ManagerRow::Step filledWith(const std::string& letters)
{
    return [letters](ManagerWorld& world)
    {
        world.fill(letters);
    };
}

inline ManagerRow::Step both(const ManagerRow::Step& first, const ManagerRow::Step& second)
{
    return [=](ManagerWorld& world)
    {
        first(world);
        second(world);
    };
}

inline ManagerRow::Step undo(std::uint64_t count)
{
    return [count](ManagerWorld& world)
    {
        world.answer = answerOf(world.manager.undo(count));
    };
}

inline ManagerRow::Step redo(std::uint64_t count)
{
    return [count](ManagerWorld& world)
    {
        world.answer = answerOf(world.manager.redo(count));
    };
}

/// What is left of a command that did its work, and then could not be kept.
inline ManagerRow::Step applied(char letter)
{
    return [letter](ManagerWorld& world)
    {
        world.applyAside(letter);
    };
}

inline ManagerRow::Step reverted(char letter)
{
    return [letter](ManagerWorld& world)
    {
        world.document->revert(letter);
    };
}

inline void forgetRedo(ManagerWorld& world)
{
    world.forgetRedo();
}

/// The history a b c, with room for no more.
inline void fillToTheLimit(ManagerWorld& world)
{
    world.manager.setMaxQueueSize(3);
    world.manager.setUsesMaxQueueSize(true);
    world.fill("abc");
}

/// The history a b with c to redo, saved by one tracker between a and b, and a module marked outside of it.
inline void fillAndSave(ManagerWorld& world)
{
    world.fill("a");
    world.manager.adjustOnSave(0);
    world.fill("bC");
    world.document->modified.insert(moduleOf('w'));
}

/// The history a b, and two commands that wait for the next one.
inline void fillToMerge(ManagerWorld& world)
{
    world.fill("ab");
    world.fillMerge();
}

} // namespace Valdane::Faults
