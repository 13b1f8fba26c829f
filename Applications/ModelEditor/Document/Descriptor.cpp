#include "Applications/ModelEditor/Document/Descriptor.h"

#include <cerrno>
#include <cstddef>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace ModelEditor
{

Descriptor::Descriptor(int opened) noexcept : number(opened) {}

Descriptor::~Descriptor()
{
    if (isOpen())
    {
        ::close(number);
    }
}

bool Descriptor::isOpen() const noexcept
{
    return number >= 0;
}

int Descriptor::get() const noexcept
{
    return number;
}

int Descriptor::write(std::string_view bytes) const noexcept
{
    while (!bytes.empty())
    {
        const ssize_t count = ::write(number, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
        {
            return errno;
        }
        bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return 0;
}

int Descriptor::close() noexcept
{
    return ::close(std::exchange(number, -1)) == 0 ? 0 : errno;
}

} // namespace ModelEditor
