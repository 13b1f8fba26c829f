#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace ModelEditor
{

/// What has become of a file since it was read or written.
enum class FileChange
{
    None,
    Changed,
    Removed,
};

/// What a file was when it was read or written, to tell later whether another process has changed it.
///
/// Thread: constant, so any.
class FileState
{
public:
    /// @param status  as it was not later than when @p content was read, and not earlier than when it was written.
    FileState(const struct stat& status, std::string_view content);

    /// Compares it with the file @p path of now. The same content is no change, whatever else has become of the file.
    ///
    /// @throws VdException as readFile() does.
    /// Cost: reads the file, unless it is still the same one, has the same size, and was modified at the same time. One that
    ///       was modified just before its state was taken is always read: its time may not have told of a later change.
    FileChange findChange(const std::string& path) const;

private:
    bool isSure(const struct stat& now) const;

    dev_t device;
    ino_t inode;
    off_t size;
    timespec modified;
    std::size_t content;
    bool isSettled;
};

} // namespace ModelEditor
