#pragma once

#include "Drawing.h"

#include <cstddef>
#include <iosfwd>
#include <random>
#include <string>
#include <vector>

namespace Valdane::EditingModel
{

/// What can be done to a manager, and to what follows it.
enum class Kind
{
    Add,
    AddOrMerge,
    AddToStep,
    AddToMerge,
    EndStep,
    Wait,
    BeginGroup,
    Commit,
    Abandon,
    Leave,
    Undo,
    Redo,
    MoveTo,
    TakeNewest,
    TakeAll,
    ForgetRedo,
    Clear,
    SetLimit,
    UseLimit,
    Save,
};

/// What a command is like.
struct Plan
{
    std::string description;
    Strokes strokes;
    /// Two that follow each other merge if they have the same shape, unless that is 0.
    unsigned shape = 0;
    bool isUndoCapable = true;
    bool isRedoCapable = true;
};

/// The calls of a command that may throw.
enum class Call
{
    Execute,
    Undo,
    Redo,
    Merge,
};

/// Lets one call of an operation throw.
struct Fault
{
    Call call = Call::Execute;
    /// Which of these calls; 0 if none throws.
    unsigned at = 0;
    /// Whether it throws what is not derived from std::exception.
    bool isStrange = false;

    /// Whether one of the next @p count calls throws. Only one does.
    bool hits(Call calls, unsigned count)
    {
        if (at == 0 || call != calls)
        {
            return false;
        }
        const bool isHit = at <= count;
        at = isHit ? 0 : at - count;
        return isHit;
    }
};

struct Operation
{
    Kind kind = Kind::Add;
    /// A count, a position, a tracker, a key or a time.
    unsigned number = 0;
    Plan plan;
    /// The call that throws is chosen by the kind; for one that merges, by this.
    Fault fault;
};

inline std::string answerOf(bool isDone)
{
    return isDone ? "yes" : "no";
}

std::ostream& operator<<(std::ostream& stream, const Operation& operation);

std::vector<Operation> operations(std::mt19937_64& random, std::size_t length);

} // namespace Valdane::EditingModel
