#pragma once

#include <ostream>

namespace ModelEditor
{

class EditHistory;

/// Prints what can be undone, oldest first, the position, and what can be redone: of the whole history and,
/// under a line of their own, of a recording and a group in it.
void printHistory(std::ostream& out, const EditHistory& history);

} // namespace ModelEditor
