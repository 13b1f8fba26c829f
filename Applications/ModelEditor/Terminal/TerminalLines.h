#pragma once

#include "Applications/ModelEditor/Terminal/LineHistory.h"
#include "Applications/ModelEditor/Terminal/LineSource.h"

#include <memory>
#include <optional>
#include <string>

namespace ModelEditor
{

/// Lines that a person types at the terminal of this process, with a prompt, line editing, completion by the tab key, and a
/// history that earlier sessions have begun. What is pasted is text, also where it has control characters.
///
/// The interrupt key empties the line, or interrupts what is under way meanwhile, which the prompt then
/// shows. At most one at a time; takes over SIGINT as long as it lives.
///
/// Thread: the main thread only.
class TerminalLines : public LineSource
{
public:
    /// @param earlier  if it cannot be read or written, that is told once on standard error, and it is left alone.
    /// @throws VdException if there is no usable terminal.
    explicit TerminalLines(LineHistory earlier);
    ~TerminalLines() override;

    /// @throws VdException if the terminal has gone, which is not the end key.
    std::optional<std::string> next(const std::string& prompt) override;
    void serve(Background& background) override;

private:
    class Editing;

    std::unique_ptr<Editing> editing;
};

} // namespace ModelEditor
