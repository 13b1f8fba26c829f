#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ModelEditor
{

class XmlModel;
class XmlObject;
struct Selected;
struct Selection;

/// What @p xpath selects: one node at least.
///
/// @throws VdException if it selects nothing, or is no address but a value.
std::vector<Selected> requireNodes(const XmlModel& model, const std::string& xpath);

/// The same for what @p xpath was found to select.
std::vector<Selected> requireNodes(Selection selection, const std::string& xpath);

/// What @p xpath, which selects nothing, would select if there were such an attribute; nothing if it is not of the form
/// `element/@name`, without `|`, or if there is no such element.
///
/// @throws VdException if there are several elements.
std::optional<Selected> findNewAttribute(const XmlModel& model, const std::string& xpath);

/// The element that @p selected is. @throws VdException if it is something else.
std::shared_ptr<XmlObject> requireElement(const Selected& selected);

/// The text that @p element holds, if that is all that it holds; attributes do not count.
std::optional<Selected> findOnlyText(const Selected& element);

/// @p nodes, with the texts in the place of elements that hold nothing but a text: they are meant when an element is set.
std::vector<Selected> withTexts(std::vector<Selected> nodes);

} // namespace ModelEditor
