#include "Applications/ModelEditor/Document/ComputeApart.h"

#include "Applications/ModelEditor/Document/Descriptor.h"
#include "Applications/ModelEditor/Document/Interruption.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ModelEditor
{

namespace
{

[[noreturn]] void answer(const std::function<std::string()>& work, const Descriptor& to,
                         pid_t asking) noexcept
{
    // Who asks may be ended by a signal, and then waits no more.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != asking)
    {
        _exit(1);
    }
    // The key that interrupts is meant for whoever waits.
    std::signal(SIGINT, SIG_IGN);
    try
    {
        _exit(to.write(work()) == 0 ? 0 : 1);
    }
    catch (...)
    {
        _exit(1);
    }
}

// Ends the process, which may be over, when it goes.
class Worker
{
public:
    explicit Worker(pid_t process) : id(process) {}

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    ~Worker()
    {
        if (id > 0)
        {
            kill(id, SIGKILL);
            wait();
        }
    }

    // Whether it has done its work.
    bool wait() noexcept
    {
        int status = 0;
        while (waitpid(id, &status, 0) < 0 && errno == EINTR)
        {
        }
        id = 0;
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    pid_t id;
};

} // namespace

std::string computeApart(const std::function<std::string()>& work, const Interruption& interruption)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
    {
        return work();
    }
    const Descriptor from(ends[0]);
    Descriptor to(ends[1]);
    const pid_t own = getpid();
    const pid_t id = fork();
    if (id == 0)
    {
        answer(work, to, own);
    }
    if (id < 0)
    {
        return work();
    }
    Worker worker(id);
    to.close();

    std::string bytes;
    std::array<char, 65536> buffer{};
    while (true)
    {
        std::array<pollfd, 2> waiting{{{.fd = from.get(), .events = POLLIN, .revents = 0},
                                       {.fd = interruption.getDescriptor(), .events = POLLIN, .revents = 0}}};
        poll(waiting.data(), waiting.size(), -1);
        interruption.check();
        if (waiting[0].revents == 0)
        {
            continue;
        }
        const auto count = read(from.get(), buffer.data(), buffer.size());
        if (count == 0)
        {
            break;
        }
        bytes.append(buffer.data(), count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    if (!worker.wait())
    {
        throw std::bad_alloc();
    }
    return bytes;
}

} // namespace ModelEditor
