// Feeds every file of the directories that are named to the fuzz target.

#include "FuzzTarget.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace
{

std::vector<fs::path> filesIn(const fs::path& place)
{
    if (fs::is_regular_file(place))
    {
        return {place};
    }
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(place))
    {
        files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
}

// The name is told first: the target does not come back when something is wrong.
void replay(const fs::path& path)
{
    std::cout << path.string() << std::endl;
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file)
    {
        throw std::runtime_error("cannot read " + path.string());
    }
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        std::size_t count = 0;
        for (const char* const place : std::vector<const char*>(argv + 1, argv + argc))
        {
            for (const auto& path : filesIn(place))
            {
                replay(fs::absolute(path));
                ++count;
            }
        }
        std::cout << count << " inputs\n";
        return count == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
    }
    catch (const std::exception& exception)
    {
        std::cerr << exception.what() << '\n';
        return EXIT_FAILURE;
    }
}
