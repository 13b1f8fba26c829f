#include "Tests/Platform/Multitasking/RefusedThreadStart.h"

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>

namespace
{

std::atomic<bool> refused = false;

} // namespace

// An executable's own symbol comes before the one of the system, for the libraries too.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument) noexcept
{
    if (refused)
    {
        return EAGAIN;
    }
    static const auto create =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, attributes, start, argument);
}

namespace ValdaneTests
{

RefusedThreadStart::RefusedThreadStart()
{
    refused = true;
}

RefusedThreadStart::~RefusedThreadStart()
{
    refused = false;
}

} // namespace ValdaneTests
