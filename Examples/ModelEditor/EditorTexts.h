#pragma once

#include <string>
#include <string_view>

namespace ModelEditor
{

class XmlObject;
struct XmlChange;

/// What the editor's commands are called in the history. Long texts are cut.
std::string describeSet(const XmlObject& object, const std::string& attribute, const std::string& value);
std::string describeRename(const XmlObject& object, const std::string& name);
std::string describeAnnotate(const XmlObject& object, const std::string& name, const std::string& text);
std::string describeClear(const XmlObject& object);

/// One line about a change: the address, the text before and the text after.
std::string describeChange(const XmlChange& change);

/// The end of the text that `help` prints.
extern const std::string_view editingHelp;

} // namespace ModelEditor
