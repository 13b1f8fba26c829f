#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Valdane
{
class ThreadedMacroCommand;
} // namespace Valdane

namespace ModelEditor
{

class XmlModel;

/// The work that the verb `scale` stands for: `XPATH FACTOR [--continue-on-error [N]]`.
///
/// @throws VdException if that is not what @p arguments are, or the address selects something that has no type.
std::shared_ptr<Valdane::ThreadedMacroCommand> makeScale(const XmlModel& model,
                                                         const std::vector<std::string>& arguments);

/// What was wrong with the values that the last run of @p scale has left alone, in order.
std::vector<std::string> listLeftAlone(const Valdane::ThreadedMacroCommand& scale);

} // namespace ModelEditor
