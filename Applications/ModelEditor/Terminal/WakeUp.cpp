#include "Applications/ModelEditor/Terminal/WakeUp.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace ModelEditor
{

WakeUp::WakeUp() : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (descriptor < 0)
    {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

WakeUp::~WakeUp()
{
    close(descriptor);
}

void WakeUp::signal() const noexcept
{
    // What interrupts may call this in between, so errno is theirs.
    const int error = errno;
    eventfd_write(descriptor, 1);
    errno = error;
}

void WakeUp::wait() const noexcept
{
    pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
    eventfd_t count = 0;
    while (eventfd_read(descriptor, &count) != 0)
    {
        poll(&waiting, 1, -1);
    }
}

int WakeUp::getDescriptor() const noexcept
{
    return descriptor;
}

} // namespace ModelEditor
