#include "Applications/ModelEditor/Terminal/Pager.h"

#include "Applications/ModelEditor/Document/Descriptor.h"
#include "Applications/ModelEditor/Terminal/Colour.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <sstream>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace ModelEditor
{

namespace
{

constexpr std::array<std::string_view, 6> lookingVerbs{"tree", "show", "find", "history", "diff", "help"};

// What a shell answers for a program that it cannot find or start.
constexpr int notStarted = 126;
constexpr int notFound = 127;

// Nobody has asked for that one, so nobody is told if it is not there.
const std::string usualPager = "command -v less >/dev/null || exit 127; less -FRX";

std::optional<std::string> findPager()
{
    const char* const wanted = std::getenv("PAGER");
    const std::string program = wanted == nullptr ? usualPager : wanted;
    return program.empty() || program == "cat" || !isAbleTerminal(STDOUT_FILENO) ? std::nullopt
                                                                                 : std::optional(program);
}

// A line that names no verb prints nothing.
bool onlyLooks(const std::string& line)
{
    constexpr std::string_view blanks = " \t";
    const auto start = std::min(line.find_first_not_of(blanks), line.size());
    const auto word = line.substr(start, line.find_first_of(blanks, start) - start);
    try
    {
        return std::ranges::find(lookingVerbs, Editor::findVerb(word)) != lookingVerbs.end();
    }
    catch (const Valdane::VdException&)
    {
        return false;
    }
}

// A terminal that does not tell how large it is can show all.
bool fitsOnScreen(std::string_view text)
{
    constexpr std::size_t usualWidth = 80;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0)
    {
        return true;
    }
    const std::size_t width = size.ws_col == 0 ? usualWidth : size.ws_col;
    // The prompt takes one.
    std::size_t rows = 1;
    while (!text.empty() && rows <= size.ws_row)
    {
        const auto length = std::min(text.find('\n'), text.size());
        rows += 1 + (length == 0 ? 0 : (length - 1) / width);
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return rows <= size.ws_row;
}

// Starts a shell that reads what is written to the pipe. @return its number, if it could be started.
std::optional<pid_t> startShell(const std::string& command, int input)
{
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    const std::array<char*, 4> arguments{shell.data(), option.data(), text.data(), nullptr};
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    // The pager ends as usual when it writes to what is gone. The interrupt key stays ignored, so that only a
    // pager that has asked for it gets it, and not the shell.
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    sigset_t pipeSignal{};
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &pipeSignal);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t child = 0;
    const int error = posix_spawn(&child, "/bin/sh", &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? std::optional(child) : std::nullopt;
}

// False if the pager is not there.
bool showPaged(const std::string& program, std::string_view text)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
    {
        return false;
    }
    Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    // Colours pass through `less` only if it is told so.
    const auto child = startShell("export LESS=\"${LESS-FRX}\"; " + program, readEnd.get());
    readEnd.close();
    if (!child)
    {
        return false;
    }
    // A failure means that the pager was left early.
    static_cast<void>(writeEnd.write(text));
    writeEnd.close();
    int status = 0;
    while (waitpid(*child, &status, 0) < 0 && errno == EINTR)
    {
    }
    return !WIFEXITED(status) || (WEXITSTATUS(status) != notStarted && WEXITSTATUS(status) != notFound);
}

// While it lives, what is written to a stream goes into a text.
class HeldOutput
{
public:
    explicit HeldOutput(std::ostream& stream) : out(stream), state(stream.rdstate()), before(out.rdbuf(&text))
    {
    }

    HeldOutput(const HeldOutput&) = delete;
    HeldOutput& operator=(const HeldOutput&) = delete;

    ~HeldOutput()
    {
        out.rdbuf(before);
        // The text could be written; what failed earlier is still to be told.
        out.setstate(state);
    }

    std::string take()
    {
        return std::move(text).str();
    }

private:
    std::ostream& out;
    std::ios::iostate state;
    std::stringbuf text;
    std::streambuf* before;
};

} // namespace

Pager::Pager(std::ostream& stream) : out(stream) {}

void Pager::run(const std::string& line, const std::function<void()>& work)
{
    const auto program = findPager();
    if (!program || !onlyLooks(line))
    {
        work();
        return;
    }
    std::exception_ptr failure;
    const auto text = collect(work, failure);
    out.flush();
    if (fitsOnScreen(text) || !showPaged(*program, text))
    {
        out << text << std::flush;
    }
    if (failure)
    {
        std::rethrow_exception(failure);
    }
}

std::string Pager::collect(const std::function<void()>& work, std::exception_ptr& failure)
{
    HeldOutput held(out);
    try
    {
        work();
    }
    catch (...)
    {
        failure = std::current_exception();
    }
    return held.take();
}

} // namespace ModelEditor
