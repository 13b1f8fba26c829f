#pragma once

#include <array>
#include <csignal>
#include <string>

namespace ModelEditor
{

/// While it lives, a signal that would end the process does not leave a file half written.
///
/// These are SIGHUP, SIGINT and SIGTERM, each unless it is ignored or handled already. At most one at a time.
///
/// Thread: one at a time; the signals may come on any.
class EndingSignals
{
public:
    /// Lets a signal end the process, but has it remove the file @p temporary first.
    explicit EndingSignals(const std::string& temporary);

    /// Lets a signal wait until this goes.
    EndingSignals();

    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;
    ~EndingSignals();

private:
    void takeOver(void (*handler)(int));

    static constexpr std::array<int, 3> signals{SIGHUP, SIGINT, SIGTERM};

    std::array<bool, signals.size()> isTaken{};
};

} // namespace ModelEditor
