#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// A new directory that goes with everything in it.
class TestDirectory
{
public:
    TestDirectory();
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;
    ~TestDirectory();

    const std::filesystem::path& getPath() const;
    std::string write(const std::string& name, const std::string& bytes) const;
    std::string read(const std::string& name) const;
    /// The names of all that is in it, sorted.
    std::vector<std::string> list() const;

private:
    std::filesystem::path path;
};

std::string readTestFile(const std::filesystem::path& path);

/// A file that lies beside the test program, or the program itself.
std::filesystem::path besideTests(const std::string& relative);
