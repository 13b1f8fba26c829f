#pragma once

namespace Valdane
{

/// What CommandKit::roundTrip() does and expects.
struct RoundTripOptions
{
    /// How many times the command is undone and redone.
    int times = 3;

    /// That the command leaves the snapshot as it is. If it does not say so, such a command is a mistake: nothing
    /// would be proved of its undo().
    bool changesNothing = false;
};

} // namespace Valdane
