#pragma once

#include <memory>
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

/// Whether a value keeps the type that its text has now.
enum class Types
{
    Free,
    Strict,
};

/// The command that makes @p text, as it is, the value of the attribute or text @p selected. A name and a namespaced
/// attribute have no type.
///
/// @throws VdException if @p selected is neither an attribute nor a text, or if @p text is not of its type
///         and types are strict.
std::shared_ptr<Valdane::CommandBase> makeSetCommand(const Selected& selected, const std::string& text,
                                                     Types types);

} // namespace ModelEditor
