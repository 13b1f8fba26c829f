#pragma once

#include <functional>

namespace Valdane
{
class CommandCodecs;
} // namespace Valdane

namespace ModelEditor
{

class XmlModel;

/// Adds codecs for all commands that change a model. They keep what a command is to do, not what its undo needs: replay
/// begins with the file as it was loaded.
///
/// @param model  the one that commands which were read back are for; asked for each of them.
void addEditCodecs(Valdane::CommandCodecs& codecs, std::function<XmlModel&()> model);

} // namespace ModelEditor
