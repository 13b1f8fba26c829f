#pragma once

#include "Applications/ModelEditor/Document/FileState.h"

#include <optional>
#include <string>

namespace ModelEditor
{

/// What was read of a file.
struct FileContent
{
    std::string bytes;
    FileState state;
};

/// How a file was written.
struct Written
{
    std::string whyInPlace{};            ///< empty if it was replaced
    std::optional<FileState> state = {}; ///< nothing if it is no regular file
};

/// The content of the file @p path.
///
/// @throws VdException `<path>: <why>` if it is no regular file, cannot be read, or is larger than the memory
/// of
///         this machine; std::bad_alloc.
std::string readFile(const std::string& path);

/// The same, with what is needed to tell later whether the file has changed.
FileContent loadFile(const std::string& path);

/// The same of a file of any kind, up to its end: also of a pipe, or of what a terminal gives.
std::string readStream(const std::string& path);

/// Makes @p bytes the content of the file @p path, durably.
///
/// The old file is replaced: the bytes are written to a temporary file in the same directory, which then takes its
/// place, with its owner, permissions, access control list and extended attributes. When the process or the machine
/// dies on the way, the old or the new content is there, whole. A symbolic link stays one: what it leads to is replaced.
///
/// A file that cannot be replaced without losing one of these is written in place: one that has other names or
/// attributes that this process cannot keep, or whose directory cannot be written. So are pipes, devices and
/// other files that are not regular, and what standard output or standard error is redirected to, behind all
/// that was written there. When the process dies on the
/// way, part of both contents is there; SIGHUP, SIGINT and SIGTERM wait until it is written.
///
/// @throws VdException `<path>: <why>`. The old file is unchanged then, as far as it can be written at all, and there is
///         no temporary file.
Written writeFile(const std::string& path, const std::string& bytes);

/// Whether @p path is a regular file that is there, and that nobody or not this process is permitted to write.
bool isReadOnly(const std::string& path);

/// Removes the temporary files that writeFile() has left beside @p path when its process was killed.
void removeTemporaries(const std::string& path);

} // namespace ModelEditor
