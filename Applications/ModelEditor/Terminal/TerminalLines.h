#pragma once

#include "Applications/ModelEditor/Terminal/LineSource.h"

#include <memory>
#include <optional>
#include <string>

namespace ModelEditor
{

/// Lines that a person types at the terminal of this process, with a prompt, line editing and a history.
///
/// The interrupt key empties the line, or interrupts what is under way meanwhile, which the prompt then
/// shows. At most one at a time; takes over SIGINT as long as it lives.
///
/// Thread: the main thread only.
class TerminalLines : public LineSource
{
public:
    /// @throws VdException if there is no usable terminal.
    TerminalLines();
    ~TerminalLines() override;

    /// @throws VdException if the terminal has gone, which is not the end key.
    std::optional<std::string> next(const std::string& prompt) override;
    void serve(Background& background) override;

private:
    class Editing;

    std::unique_ptr<Editing> editing;
};

} // namespace ModelEditor
