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

class EditCommands;
struct Selected;

/// @throws VdException that says what @p selected is, if that is not an attribute or text that has a type.
void requireValue(const Selected& selected);

/// Whether references in an entered text are meant as such.
enum class Entered
{
    AsTheValueIs, ///< if the value takes markup, see XmlObject::takesMarkup()
    AsMarkup,
};

/// The command that makes @p text, as it is or as the markup that it is, the value of the attribute or text @p selected.
///
/// @param wanted  the type that @p text must have, if any.
/// @throws what requireValue() throws; VdException if @p text is not of the type, or if it is entered as markup and the
///         value is a CDATA section.
std::shared_ptr<Valdane::CommandBase> makeSetCommand(const Selected& selected, const std::string& text,
                                                     std::optional<ValueType> wanted,
                                                     Entered entered = Entered::AsTheValueIs);

/// Adds the command that sets @p selected, which may also be a name or a namespaced attribute. These have no type.
///
/// @throws what makeSetCommand() throws.
void addSet(EditCommands& commands, const Selected& selected, const std::string& text,
            std::optional<ValueType> wanted, Entered entered = Entered::AsTheValueIs);

/// Adds the command that gives the element of @p missing that attribute, which it does not have, with the value @p text.
void addAttribute(EditCommands& commands, const Selected& missing, const std::string& text);

} // namespace ModelEditor
