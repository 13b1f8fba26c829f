#pragma once

#include "Applications/ModelEditor/Document/Descriptor.h"
#include "Applications/ModelEditor/Document/EndingSignals.h"

#include <filesystem>
#include <string>

namespace ModelEditor
{

/// A new file beside another one, whose place it is to take. It is removed when this goes before it has done
/// so, also when a signal ends the process meanwhile.
///
/// Its name tells of which file and process it is; see removeLeftBehind(). At most one at a time.
///
/// Thread: one at a time.
class TemporaryFile
{
public:
    /// Makes it for @p target; isOpen() tells whether that went well, and if not, errno why.
    explicit TemporaryFile(const std::filesystem::path& target);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    bool isOpen() const noexcept;
    const Descriptor& getFile() const noexcept;
    const std::string& getName() const noexcept;

    /// Makes it durable and closes it. @return 0 or an error.
    int finish() noexcept;

    /// Gives it the name of @p target, whose content is gone then. @return 0 or an error.
    int takeName(const std::filesystem::path& target) noexcept;

    /// Removes those for @p target whose process has died without a chance to do so.
    ///
    /// Does nothing if the directory cannot be read. @throws std::exception
    static void removeLeftBehind(const std::filesystem::path& target);

private:
    std::string name;
    EndingSignals signals;
    Descriptor file;
    bool isThere;
};

} // namespace ModelEditor
