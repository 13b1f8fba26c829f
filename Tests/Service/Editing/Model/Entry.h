#pragma once

#include "Drawing.h"
#include "Operation.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace Valdane::EditingModel
{

/// A command of the model: a single one, or a macro.
struct Entry
{
    std::uint64_t id = 0;
    Plan plan;
    /// Empty only if it is a single command.
    std::vector<Entry> parts;
    /// The layers that the application has reported for it when it came into the history.
    Layers reported = 0;
};

std::string textOf(const Entry& entry);

/// How many single commands an undo or redo of it calls.
unsigned callsOf(const Entry& entry);

bool isUndoCapable(const Entry& entry);
bool isRedoCapable(const Entry& entry);
void draw(const Entry& entry, Drawing& drawing);
void erase(const Entry& entry, Drawing& drawing);

/// Adds the numbers of its strokes.
void collectStrokes(const Entry& entry, std::set<int>& numbers);

/// Whether the first one takes in the next one, and how it looks then.
bool areAlike(const Plan& plan, const Plan& next);
void takeIn(Plan& plan, const Plan& next);

} // namespace Valdane::EditingModel
