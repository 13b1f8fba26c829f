#pragma once

#include "World.h"

#include <cstdint>
#include <iosfwd>
#include <rapidcheck/Gen.h>
#include <span>
#include <vector>

namespace Valdane::Model
{

/// What can be done to a manager and its surroundings.
enum class Kind
{
    Add,
    AddExecuted,
    AddToMerge,
    AddOrMerge,
    AddNothing,
    ExecuteTaken,
    QueueTaken,
    TakeLast,
    TakeAll,
    Undo,
    Redo,
    UndoAll,
    RedoAll,
    Clear,
    ForgetRedo,
    BeginGroup,
    EndGroup,
    AbandonGroup,
    SetLimit,
    UseLimit,
    SetProgress,
    Complete,
    Query,
    Save,
    MarkAll,
    Modify,
    WantSaved,
    FailQuestion,
    FailMarking,
    StartThread,
    DoWork,
    Finalize,
    Abort,
    SetMode,
    Throw,
};

struct Action
{
    Kind kind = Kind::Add;
    /// A count, a switch, a tracker or a set of modules.
    unsigned number = 0;
    /// The command, where one is made.
    Plan plan;
};

/// What an application does at the @p after-th moment from the start of an operation, or from its previous
/// reaction.
struct Reaction
{
    unsigned after = 1;
    Action action;
};

struct Operation
{
    Action action;
    std::vector<Reaction> reactions;
};

std::ostream& operator<<(std::ostream& stream, const Operation& operation);

/// @p length operations; shrinks to fewer and simpler ones.
rc::Gen<std::vector<Operation>> operations(std::size_t length);

/// The operations that @p bytes stand for: any do, and what few of them change changes few operations.
std::vector<Operation> operations(std::span<const std::uint8_t> bytes);

} // namespace Valdane::Model
