#pragma once

#include <string>

namespace ModelEditor
{

/// The content of the file @p path.
///
/// @throws VdException `<path>: <why>` if it is no regular file, cannot be read, or is larger than the memory
/// of
///         this machine; std::bad_alloc.
std::string readFile(const std::string& path);

/// Makes @p bytes the content of the file @p path, whole or not at all, and durably.
///
/// They are written to a temporary file in the same directory, which then takes the place of the old file
/// with its permissions and, where the process may do that, its owner. A symbolic link stays one: what it
/// leads to is replaced. On Windows the new file has the permissions that its directory gives. When the
/// process or the machine dies on the way, the old or the new content is there, and perhaps the temporary
/// file.
///
/// @throws VdException `<path>: <why>`. The old file is unchanged then and there is no temporary file.
void replaceFile(const std::string& path, const std::string& bytes);

} // namespace ModelEditor
