#pragma once

#include "Applications/ModelEditor/Edits/Edits.h"

#include <string>
#include <vector>

namespace ModelEditor
{

/// The edits that the verbs `insert`, `delete`, `copy`, `move` and `wrap` stand for: they change which nodes a model
/// has, and in which order.
///
/// What is copied or moved becomes new objects, of what the nodes are at that time.
///
/// @param model  must live as long as the commands are used.
/// @param arguments  what follows the verb, as many as it wants (not checked).
/// @throws VdException if an address selects nothing, or one of the nodes cannot be edited this way; if the markup is
///         malformed, with its place.
Edit makeInsert(XmlModel& model, const std::vector<std::string>& arguments);
Edit makeDelete(XmlModel& model, const std::vector<std::string>& arguments);
Edit makeCopy(XmlModel& model, const std::vector<std::string>& arguments);
Edit makeMove(XmlModel& model, const std::vector<std::string>& arguments);
Edit makeWrap(XmlModel& model, const std::vector<std::string>& arguments);

} // namespace ModelEditor
