#include "Platform/ExceptionHandling/VdException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <source_location>
#include <sstream>
#include <string>
#include <type_traits>

namespace
{

using Valdane::VdException;

void throwFromHere()
{
    throw VdException("the pump is on fire");
}

TEST(VdException, IsCaughtAsAStandardExceptionWithItsMessage)
{
    try
    {
        throwFromHere();
        FAIL() << "nothing was thrown";
    }
    catch (const std::exception& exception)
    {
        EXPECT_STREQ(exception.what(), "the pump is on fire");
        EXPECT_NE(dynamic_cast<const VdException*>(&exception), nullptr);
    }
}

TEST(VdException, LocationIsFileLineAndFunctionOfTheThrow)
{
    const auto here = std::source_location::current();
    const VdException exception("x");
    std::ostringstream place;
    place << here.file_name() << ':' << here.line() + 1 << " (" << here.function_name() << ')';
    EXPECT_EQ(exception.getLocation(), place.str());
}

TEST(VdException, LocationNamesTheThrowingFunctionByARelativePath)
{
    try
    {
        throwFromHere();
        FAIL() << "nothing was thrown";
    }
    catch (const VdException& exception)
    {
        EXPECT_THAT(exception.getLocation(),
                    testing::StartsWith("Tests/Platform/ExceptionHandling/VdExceptionTest.cpp:"));
        EXPECT_THAT(exception.getLocation(), testing::HasSubstr("throwFromHere"));
    }
}

TEST(VdException, KeepsAnEmptyMessageAndAGivenLocation)
{
    const auto elsewhere = std::source_location::current();
    const VdException exception("", elsewhere);
    EXPECT_STREQ(exception.what(), "");
    EXPECT_THAT(exception.getLocation(), testing::HasSubstr(":" + std::to_string(elsewhere.line()) + " ("));
}

TEST(VdException, CopyingThrowsNothingAndSharesTheText)
{
    static_assert(std::is_nothrow_copy_constructible_v<VdException>);
    static_assert(std::is_nothrow_copy_assignable_v<VdException>);
    const VdException original("shared");
    const auto copy = std::make_unique<VdException>(original);
    EXPECT_EQ(copy->what(), original.what());
    EXPECT_EQ(copy->getLocation(), original.getLocation());
}

} // namespace
