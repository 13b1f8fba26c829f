#pragma once

#include "Applications/ModelEditor/Terminal/LineSource.h"

#include <istream>
#include <optional>
#include <string>

namespace ModelEditor
{

/// The lines of a script or a pipe. A UTF-8 byte order mark before the first one is dropped.
///
/// Ownership: refers to the stream. Thread: one at a time.
class StreamLines : public LineSource
{
public:
    explicit StreamLines(std::istream& stream);
    ~StreamLines() override;

    std::optional<std::string> next(const std::string& prompt) override;

private:
    std::istream& input;
    bool isFirst = true;
};

} // namespace ModelEditor
