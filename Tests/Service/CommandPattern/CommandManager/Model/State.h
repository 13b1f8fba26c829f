#pragma once

#include "World.h"

#include <array>
#include <cstdint>
#include <list>
#include <ostream>
#include <string>

namespace Valdane::Model
{

/// All that a manager tells about itself.
struct State
{
    std::list<std::string> undoable;
    std::list<std::string> redoable;
    std::string undoCommand;
    std::string redoCommand;
    std::uint64_t size = 0;
    std::uint32_t maxSize = 0;
    bool canUndo = false;
    bool canRedo = false;
    bool usesMaxSize = false;
    bool isProcessing = false;
    std::string slot;
    bool isThreadUnderWay = false;
    std::array<Modules, 2> modified = {};
    std::array<Modules, 2> toBeSaved = {};
    std::array<int, 2> saved = {}; ///< negative where there is none
    std::uint64_t position = 0;
    std::list<Modules> modulesOfCommands;
    std::list<std::string> groups;

    bool operator==(const State&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const State& state)
{
    for (const std::string& group : state.groups)
    {
        stream << '(' << group << ' ';
    }
    for (const std::string& description : state.undoable)
    {
        stream << description << ' ';
    }
    stream << "| ";
    for (const std::string& description : state.redoable)
    {
        stream << description << ' ';
    }
    return stream << "next " << state.undoCommand << '/' << state.redoCommand << " size " << state.size << '/'
                  << state.maxSize << " can " << state.canUndo << state.canRedo << " limited "
                  << state.usesMaxSize << " processing " << state.isProcessing << " slot " << state.slot
                  << " thread " << state.isThreadUnderWay << " modified " << state.modified[0] << ' '
                  << state.modified[1] << " to be saved " << state.toBeSaved[0] << ' ' << state.toBeSaved[1]
                  << " saved " << state.saved[0] << ' ' << state.saved[1] << " position " << state.position
                  << " with modules of " << state.modulesOfCommands.size();
}

/// Put before each entry of the journal: the flag, and what is in the worker slot.
inline std::string prefixOf(bool isProcessing, const std::string& slot)
{
    return (isProcessing ? "*" : " ") + slot + " ";
}

} // namespace Valdane::Model
