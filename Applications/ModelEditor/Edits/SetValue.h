#pragma once

#include "Applications/ModelEditor/Document/ValueText.h"

#include <memory>
#include <optional>
#include <string>

namespace Valdane
{
class CommandBase;
} // namespace Valdane

namespace ModelEditor
{

struct Selected;

/// @throws VdException that says what @p selected is, if that is not an attribute or text that has a type.
void requireValue(const Selected& selected);

/// The command that makes @p text, as it is, the value of the attribute or text @p selected.
///
/// @param wanted  the type that @p text must have, if any. A name and a namespaced attribute have none.
/// @throws VdException if @p selected is neither an attribute nor a text, or if @p text is not of the type.
std::shared_ptr<Valdane::CommandBase> makeSetCommand(const Selected& selected, const std::string& text,
                                                     std::optional<ValueType> wanted);

} // namespace ModelEditor
