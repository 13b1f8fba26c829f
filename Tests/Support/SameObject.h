#pragma once

#include "Tests/Support/Failures.h"

#include <gtest/gtest.h>

#include <exception>
#include <functional>

namespace Valdane
{

/// Compares the exception that comes out of @p operation with the one that @p thrower throws in it: it must be one object.
inline void expectSameObject(std::function<void()>& thrower, const std::function<void()>& operation)
{
    const std::exception* thrown = nullptr;
    thrower = [&]
    {
        try
        {
            fail();
        }
        catch (const std::exception& exception)
        {
            thrown = &exception;
            throw;
        }
    };
    try
    {
        operation();
        FAIL() << "nothing thrown";
    }
    catch (const std::exception& exception)
    {
        EXPECT_EQ(&exception, thrown);
        EXPECT_STREQ(exception.what(), "no power");
    }
    thrower = nullptr;
}

} // namespace Valdane
