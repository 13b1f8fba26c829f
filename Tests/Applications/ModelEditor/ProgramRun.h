#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class TestDirectory;

/// One run of the real program in a directory.
struct ProgramRun
{
    const TestDirectory& directory;
    std::vector<std::string> arguments;
    std::string input = {};
    std::optional<std::uint64_t> largestFile = {};
    std::optional<std::uint64_t> memory = {};
    bool fillsOutput = false;  ///< standard output is a full device
    bool closesOutput = false; ///< standard output is a pipe that nobody reads
};

struct ProgramResult
{
    int status;
    std::string out;
    std::string err;
};

ProgramResult execute(const ProgramRun& run);

std::string getProgramPath();
