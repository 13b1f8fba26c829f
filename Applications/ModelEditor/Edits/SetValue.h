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

/// Whether references in an entered text are meant as such.
enum class Entered
{
    AsTheValueIs, ///< if the value takes markup, see XmlObject::takesMarkup()
    AsMarkup,
};

/// The command that makes @p text, as it is or as the markup that it is, the value of the attribute or text @p selected.
///
/// @param wanted  the type that @p text must have, if any. A name and a namespaced attribute have none.
/// @throws VdException if @p selected is neither an attribute nor a text, if @p text is not of the type, or if it is
///         entered as markup and the value is a CDATA section, a name or a namespaced attribute.
std::shared_ptr<Valdane::CommandBase> makeSetCommand(const Selected& selected, const std::string& text,
                                                     std::optional<ValueType> wanted,
                                                     Entered entered = Entered::AsTheValueIs);

/// The command that gives the element of @p missing that attribute, which it does not have, with the value @p text.
std::shared_ptr<Valdane::CommandBase> makeAddCommand(const Selected& missing, const std::string& text);

} // namespace ModelEditor
