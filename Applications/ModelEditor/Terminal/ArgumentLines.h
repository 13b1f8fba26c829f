#pragma once

#include "Applications/ModelEditor/Terminal/LineSource.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace ModelEditor
{

/// The lines that stand on the command line of the program.
///
/// Thread: one at a time.
class ArgumentLines : public LineSource
{
public:
    explicit ArgumentLines(std::vector<std::string> given);
    ~ArgumentLines() override;

    std::optional<std::string> next(const std::string& prompt) override;

private:
    std::vector<std::string> lines;
    std::size_t position = 0;
};

} // namespace ModelEditor
