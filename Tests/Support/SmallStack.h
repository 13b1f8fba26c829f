#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <pthread.h>

namespace Valdane
{

/// Runs @p work on a thread with a stack of 256 KiB, and waits for its end.
inline void runOnSmallStack(const std::function<void()>& work)
{
    constexpr std::size_t stackSize = 256 * 1024;
    pthread_attr_t attributes = {};
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackSize), 0);
    const auto start = [](void* argument) -> void*
    {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_t thread = {};
    auto argument = work;
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &argument), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

} // namespace Valdane
