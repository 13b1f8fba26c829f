#pragma once

#include "Applications/ModelEditor/Document/Descriptor.h"

#include <string>
#include <sys/stat.h>

namespace ModelEditor
{

/// Gives @p file, whose name is @p name, the owner, the group and the extended attributes of the file @p old, among
/// which is its access control list; of those that only @p file has it loses all.
///
/// @param status  of the old file.
/// @return empty if all is as it is there; otherwise what this process cannot keep.
std::string takeAttributes(const Descriptor& file, const std::string& name, const std::string& old,
                           const struct stat& status);

} // namespace ModelEditor
