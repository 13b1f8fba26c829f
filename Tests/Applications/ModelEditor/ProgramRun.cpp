#include "Tests/Applications/ModelEditor/ProgramRun.h"

#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <array>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

void limit(__rlimit_resource resource, const std::optional<std::uint64_t>& most)
{
    if (most)
    {
        const rlimit both{*most, *most};
        setrlimit(resource, &both);
    }
}

void redirect(int number, const std::string& path, int flags)
{
    const int opened = open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (opened < 0 || dup2(opened, number) < 0)
    {
        _exit(120);
    }
}

void redirectToClosedPipe(int number)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0 || dup2(ends[1], number) < 0 || close(ends[0]) != 0)
    {
        _exit(123);
    }
}

[[noreturn]] void become(const ProgramRun& run, const TestDirectory& streams)
{
    std::string program = getProgramPath();
    std::vector<std::string> arguments = run.arguments;
    std::vector<char*> pointers{program.data()};
    for (auto& argument : arguments)
    {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    redirect(STDIN_FILENO, streams.getPath() / "in", O_RDONLY);
    redirect(STDOUT_FILENO, run.fillsOutput ? "/dev/full" : (streams.getPath() / "out").string(),
             O_WRONLY | O_CREAT);
    if (run.closesOutput)
    {
        redirectToClosedPipe(STDOUT_FILENO);
    }
    redirect(STDERR_FILENO, streams.getPath() / "err", O_WRONLY | O_CREAT);
    if (chdir(run.directory.getPath().c_str()) != 0)
    {
        _exit(121);
    }
    limit(RLIMIT_FSIZE, run.largestFile);
    limit(RLIMIT_AS, run.memory);
    execv(program.c_str(), pointers.data());
    _exit(122);
}

} // namespace

ProgramResult execute(const ProgramRun& run)
{
    const TestDirectory streams;
    streams.write("in", run.input);
    streams.write("out", "");
    const pid_t child = fork();
    if (child == 0)
    {
        become(run, streams);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), streams.read("out"),
            streams.read("err")};
}

std::string getProgramPath()
{
    return besideTests(MODEL_EDITOR_FROM_TESTS).string();
}
