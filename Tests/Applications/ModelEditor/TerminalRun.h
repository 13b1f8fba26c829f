#pragma once

#include "Tests/Applications/ModelEditor/ProgramRun.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

/// What a terminal is, besides one that cannot move its cursor.
struct TerminalKind
{
    unsigned short rows = 0; ///< 0 if the terminal does not tell
    std::vector<std::pair<std::string, std::string>> environment{};
    std::string option{};
};

/// The program at a terminal of its own.
class Terminal
{
public:
    /// With a script in place of what is typed, if there is one.
    Terminal(const TestDirectory& directory, const std::string& model, const std::string& script = {},
             const TerminalKind& kind = {})
    {
        const std::string program = getProgramPath();
        const winsize size{.ws_row = kind.rows, .ws_col = 0, .ws_xpixel = 0, .ws_ypixel = 0};
        child = forkpty(&terminal, nullptr, nullptr, &size);
        if (child == -1)
        {
            // Going on would signal all processes that may be signalled: that is what -1 means there.
            throw std::system_error(errno, std::generic_category(), "no pseudo-terminal");
        }
        if (child == 0)
        {
            unsetenv("PAGER");
            unsetenv("NO_COLOR");
            setenv("TERM", "dumb", 1);
            setenv("XDG_STATE_HOME", (directory.getPath() / "state").c_str(), 1);
            for (const auto& [name, value] : kind.environment)
            {
                setenv(name.c_str(), value.c_str(), 1);
            }
            const bool isThere = chdir(directory.getPath().c_str()) == 0;
            if (isThere)
            {
                script.empty() ? execl(program.c_str(), program.c_str(), model.c_str(),
                                       kind.option.empty() ? nullptr : kind.option.c_str(), nullptr)
                               : execl(program.c_str(), program.c_str(), model.c_str(), "--script",
                                       script.c_str(), nullptr);
            }
            _exit(122);
        }
    }

    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    ~Terminal()
    {
        hangUp();
    }

    void hangUp()
    {
        if (terminal >= 0)
        {
            close(std::exchange(terminal, -1));
        }
    }

    void type(const std::string& keys) const
    {
        ASSERT_EQ(write(terminal, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    /// Kills it, as a crash would.
    void die() const
    {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }

    void interrupt() const
    {
        kill(child, SIGINT);
    }

    /// What is printed up to and with the text; all that was printed if it does not come.
    std::string waitFor(const std::string& text) const
    {
        std::string seen;
        char c = 0;
        while (!seen.ends_with(text) && read(terminal, &c, 1) == 1)
        {
            seen += c;
        }
        return seen;
    }

    /// Interrupts again and again until the text comes: nobody sees when the first one can be heard.
    std::string interruptUntil(const std::string& text) const
    {
        std::string seen;
        char c = 0;
        while (!seen.ends_with(text))
        {
            pollfd waiting{.fd = terminal, .events = POLLIN, .revents = 0};
            if (poll(&waiting, 1, 1) == 0)
            {
                interrupt();
            }
            else if (read(terminal, &c, 1) == 1)
            {
                seen += c;
            }
            else
            {
                break;
            }
        }
        return seen;
    }

    /// What is still printed.
    std::string waitForEnd(int& status) const
    {
        std::string seen;
        char c = 0;
        while (read(terminal, &c, 1) == 1)
        {
            seen += c;
        }
        int raw = 0;
        waitpid(child, &raw, 0);
        status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        return seen;
    }

private:
    int terminal = -1;
    pid_t child = -1;
};
