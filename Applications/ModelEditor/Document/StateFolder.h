#pragma once

#include <string>

namespace ModelEditor
{

/// The folder where this program keeps what a session leaves for the next one: `$XDG_STATE_HOME/model-editor`, or that in
/// `~/.local/state`; empty if there is neither. It may not be there yet.
std::string findStateFolder();

} // namespace ModelEditor
