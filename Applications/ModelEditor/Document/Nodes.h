#pragma once

#include <memory>
#include <string>
#include <vector>

namespace ModelEditor
{

class XmlModel;
class XmlObject;
struct Selected;

/// What @p xpath selects: one node at least.
///
/// @throws VdException if it selects nothing, or is no address but a value.
std::vector<Selected> requireNodes(const XmlModel& model, const std::string& xpath);

/// The element that @p selected is. @throws VdException if it is something else.
std::shared_ptr<XmlObject> requireElement(const Selected& selected);

} // namespace ModelEditor
