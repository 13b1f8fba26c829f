#pragma once

#include "Applications/ModelEditor/Edits/Edits.h"

#include <string>
#include <vector>

namespace ModelEditor
{

/// Replaces what a regular expression matches in attributes and texts: `XPATH REGEX TEXT [-i]`.
///
/// @throws VdException if that is not what @p arguments are, or a match is given up.
Edit makeReplace(const XmlModel& model, const std::vector<std::string>& arguments);

} // namespace ModelEditor
