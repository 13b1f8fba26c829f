#pragma once

#include <optional>
#include <string>

namespace ModelEditor
{

class Background;

/// Where command lines come from.
///
/// Thread: one at a time.
class LineSource
{
public:
    LineSource() = default;
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;
    virtual ~LineSource();

    /// The next line without its end (LF or CR LF); nothing at the end of the input.
    ///
    /// @param prompt  what a person who types it is to see before it.
    /// @throws VdException if reading fails.
    virtual std::optional<std::string> next(const std::string& prompt) = 0;

    /// Has @p background go on, and complete lines, while next() waits for a person; where nobody types does nothing.
    ///
    /// @param background  must live as long as lines are read.
    virtual void serve(Background& background);
};

} // namespace ModelEditor
