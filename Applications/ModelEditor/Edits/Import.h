#pragma once

#include <functional>
#include <memory>
#include <string>

namespace Valdane
{
class ThreadedMacroCommand;
} // namespace Valdane

namespace ModelEditor
{

class XmlModel;

/// Gives the content of a file; throws VdException `<path>: <why>` if it cannot.
using FileReader = std::function<std::string(const std::string& path)>;

/// A command that appends the modules of the file @p path behind those of @p model: the children of its root
/// element, comments among them included, as they stand there.
///
/// The file is read when the command starts, not before; redo does not read it again. The command is then
/// called `Import 12 modules of gripper.urdf`. A start fails, with nothing being changed, with what @p read
/// throws, and with a VdException that starts with the path if
/// - the file is malformed, with the place;
/// - its root has no elements, or a text of its own;
/// - an entity is used that is not one of XML's own, and the document types of the two files differ;
/// - a name, a comment or a processing instruction has a character that the encoding of @p model lacks.
///
/// Modules get the namespace declarations of their old root that they use and @p model does not have at its
/// root. What an attribute like `xml:space` at their old root said of them gets lost.
///
/// @param model  must live as long as the command is used.
std::shared_ptr<Valdane::ThreadedMacroCommand> makeImport(XmlModel& model, const std::string& path,
                                                          FileReader read);

} // namespace ModelEditor
