#pragma once

#include "Operation.h"

#include <string>
#include <vector>

namespace Valdane::Model
{

/// Plays @p sequence on a real manager and on the model.
///
/// @return where the two part ways, in lines; empty if they never do.
std::string differenceAfter(const std::vector<Operation>& sequence);

} // namespace Valdane::Model
