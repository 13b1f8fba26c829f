#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Valdane
{
class CommandBase;
} // namespace Valdane

namespace ModelEditor
{

class XmlModel;

/// A change of a model that is ready to be executed.
struct Edit
{
    std::shared_ptr<Valdane::CommandBase> command; ///< a macro if the address selects several nodes
    std::string note;                              ///< what the user should know about it; often empty
};

/// The edits that the verbs `set`, `markup`, `rename`, `annotate` and `clear-annotations` stand for.
///
/// @param arguments  what follows the verb, as many as it wants (not checked).
/// @throws VdException if the address selects nothing, or one of the nodes cannot be edited this way.
Edit makeSet(const XmlModel& model, const std::vector<std::string>& arguments);
Edit makeSetMarkup(const XmlModel& model, const std::vector<std::string>& arguments);
Edit makeRename(const XmlModel& model, const std::vector<std::string>& arguments);
Edit makeAnnotate(const XmlModel& model, const std::vector<std::string>& arguments);
Edit makeClearAnnotations(const XmlModel& model, const std::vector<std::string>& arguments);

} // namespace ModelEditor
