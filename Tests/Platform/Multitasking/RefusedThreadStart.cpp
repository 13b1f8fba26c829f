#include "Tests/Platform/Multitasking/RefusedThreadStart.h"

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>

namespace
{

std::atomic<bool> isRefused = false;

using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

} // namespace

// An executable's own symbol comes before the one of the system, for the libraries too.
extern "C" Create createUnlessRefused __asm__("pthread_create");

// A sanitizer must know of each thread. With clang++ its function is in the executable, where dlsym() does not find it.
extern "C" [[gnu::weak]] Create createOfSanitizer __asm__("__interceptor_pthread_create");

int createUnlessRefused(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                        void* argument)
{
    if (isRefused)
    {
        return EAGAIN;
    }
    static Create* const create = createOfSanitizer != nullptr
                                      ? createOfSanitizer
                                      : reinterpret_cast<Create*>(dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, attributes, start, argument);
}

namespace ValdaneTests
{

RefusedThreadStart::RefusedThreadStart()
{
    isRefused = true;
}

RefusedThreadStart::~RefusedThreadStart()
{
    isRefused = false;
}

} // namespace ValdaneTests
