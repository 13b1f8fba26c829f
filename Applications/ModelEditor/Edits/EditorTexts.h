#pragma once

#include <cstddef>
#include <cstdint>
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

/// The same for an edit of the @p count nodes that @p xpath selects.
std::string describeSetOfSeveral(const std::string& xpath, std::size_t count, const std::string& value);
std::string describeRenameOfSeveral(const std::string& xpath, std::size_t count, const std::string& name);
std::string describeAnnotateOfSeveral(const std::string& xpath, std::size_t count, const std::string& name,
                                      const std::string& text);
std::string describeClearOfSeveral(const std::string& xpath, std::size_t count);

/// The name of an edit that replaces what @p pattern matches.
std::string describeReplace(const std::string& xpath, std::size_t count, const std::string& pattern,
                            const std::string& by);

/// What to tell about an annotation whose prefix is bound to no namespace.
std::string noteUndeclared(const std::string& prefix);

/// One line about a change: the address, the text before and the text after.
std::string describeChange(const XmlChange& change);

/// @p text for a message on one line (see shown()), cut if it is long.
std::string brief(std::string_view text);

/// `1 node`, `2 nodes`.
std::string plural(std::uint64_t count, const std::string& noun);

/// The first lines of a script that was recorded.
extern const std::string recordingHeader;

/// The end of the text that `help` prints.
extern const std::string_view editingHelp;

} // namespace ModelEditor
