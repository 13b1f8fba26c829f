#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

TestDirectory::TestDirectory()
{
    std::string name = (fs::temp_directory_path() / "model-editor-test.XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
    {
        throw std::runtime_error("no temporary directory");
    }
    path = name;
}

TestDirectory::~TestDirectory()
{
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

const fs::path& TestDirectory::getPath() const
{
    return path;
}

std::string TestDirectory::write(const std::string& name, const std::string& bytes) const
{
    std::ofstream(path / name, std::ios::binary) << bytes;
    return (path / name).string();
}

std::string TestDirectory::read(const std::string& name) const
{
    return readTestFile(path / name);
}

std::vector<std::string> TestDirectory::list() const
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path))
    {
        names.push_back(entry.path().filename().string());
    }
    std::ranges::sort(names);
    return names;
}

std::string readTestFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        throw std::runtime_error("cannot read " + path.string());
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

fs::path besideTests(const std::string& relative)
{
    return (fs::read_symlink("/proc/self/exe").parent_path() / relative).lexically_normal();
}
