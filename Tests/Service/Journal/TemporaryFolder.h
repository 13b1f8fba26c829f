#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace Valdane
{

/// A folder that exists as long as the object.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "valdane-journal-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
        {
            throw std::runtime_error("no temporary folder");
        }
        folder = pattern;
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    const std::filesystem::path& path() const
    {
        return folder;
    }

private:
    std::filesystem::path folder;
};

} // namespace Valdane
