#pragma once

#include "Applications/ModelEditor/Document/FileState.h"

#include <string>
#include <vector>

namespace ModelEditor
{

/// Whether both paths lead to one file, which may have several names; one that is gone has that which is given.
bool isSameFile(const std::string& one, const std::string& other);

/// The files that a session has loaded or saved, to tell before one is overwritten whether another process has changed it.
///
/// Thread: the application's main thread only.
class KnownFiles
{
public:
    /// Remembers what the file @p path is now, whatever was known of it before.
    void note(const std::string& path, const FileState& state);

    /// Whether that file, maybe under another name, was noted.
    bool isKnown(const std::string& path) const;

    /// `<path> was changed by another process ...` if it is no longer what was noted; empty if it is, or was not noted.
    ///
    /// @throws what FileState::findChange() throws.
    std::string tellChange(const std::string& path) const;

private:
    struct KnownFile
    {
        std::string path;
        FileState state;
    };

    std::vector<KnownFile>::const_iterator find(const std::string& path) const;

    std::vector<KnownFile> files;
};

} // namespace ModelEditor
