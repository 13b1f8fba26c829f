#include "Applications/ModelEditor/Document/ValueText.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <utility>

namespace
{

using ModelEditor::textLike;
using ModelEditor::textOf;
using ModelEditor::typeOf;
using ModelEditor::valueOf;
using ModelEditor::ValueType;

TEST(ValueText, TheTypeIsWhatTheWholeTextIs)
{
    const std::pair<const char*, ValueType> cases[] = {
        {"0", ValueType::Int},
        {"-0", ValueType::Int},
        {"+7", ValueType::Int},
        {"007", ValueType::Int},
        {"2147483647", ValueType::Int},
        {"-2147483648", ValueType::Int},
        {"2147483648", ValueType::UnsignedInt},
        {"4294967295", ValueType::UnsignedInt},
        {"+2147483648", ValueType::Double},
        {"4294967296", ValueType::Double},
        {"-2147483649", ValueType::Double},
        {"999999999999999", ValueType::Double},
        {"9007199254740993", ValueType::String},
        {"0.0", ValueType::Double},
        {"-.5", ValueType::Double},
        {"+1.", ValueType::Double},
        {"1e-6", ValueType::Double},
        {"1E+6", ValueType::Double},
        {"true", ValueType::Bool},
        {"false", ValueType::Bool},
        {"True", ValueType::String},
        {"", ValueType::String},
        {" 1", ValueType::String},
        {"1 ", ValueType::String},
        {"12a", ValueType::String},
        {"0x1F", ValueType::String},
        {"nan", ValueType::String},
        {"INF", ValueType::String},
        {"-inf", ValueType::String},
        {"1e999", ValueType::String},
        {"1,5", ValueType::String},
        {"--1", ValueType::String},
        {"+-1", ValueType::String},
        {".", ValueType::String},
        {"-", ValueType::String},
        {"1.0 2.0", ValueType::String},
    };
    for (const auto& [text, type] : cases)
    {
        EXPECT_EQ(typeOf(text), type) << text;
    }
}

TEST(ValueText, ADoubleIsWrittenSoThatItReadsAsTheSameDouble)
{
    std::mt19937_64 random(7);
    for (int i = 0; i < 10000; ++i)
    {
        const auto value = std::bit_cast<double>(random());
        if (std::isfinite(value))
        {
            const std::string text = textOf(value);
            ASSERT_EQ(std::bit_cast<std::uint64_t>(valueOf<double>(text).value_or(NAN)),
                      std::bit_cast<std::uint64_t>(value));
            ASSERT_EQ(typeOf(text), ValueType::Double) << text;
        }
    }
    EXPECT_EQ(textOf(0.1), "0.1");
    EXPECT_EQ(textOf(4.0), "4.0");
    EXPECT_EQ(textOf(-0.0), "-0.0");
    EXPECT_EQ(textOf(1e22), "1e+22");
}

TEST(ValueText, OtherTypesAreWrittenPlainly)
{
    EXPECT_EQ(textOf(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(textOf(4294967295U), "4294967295");
    EXPECT_EQ(textOf(true), "true");
    EXPECT_EQ(textOf(false), "false");
    EXPECT_EQ(textOf(std::string(" x ")), " x ");
}

TEST(ValueText, WhatIsNotFiniteCannotBeWritten)
{
    EXPECT_THROW(textOf(std::numeric_limits<double>::infinity()), Valdane::VdException);
    EXPECT_THROW(textOf(std::numeric_limits<double>::quiet_NaN()), Valdane::VdException);
}

TEST(ValueText, TheOriginalTextStandsForItsValueOnly)
{
    EXPECT_EQ(textLike("1.00", 1.0), "1.00");
    EXPECT_EQ(textLike("1.00", 1.5), "1.5");
    EXPECT_EQ(textLike("0.0", -0.0), "-0.0");
    EXPECT_EQ(textLike("+007", 7), "+007");
    EXPECT_EQ(textLike("+007", 8), "8");
    EXPECT_EQ(textLike("4000000000", 4000000000U), "4000000000");
    EXPECT_EQ(textLike("true", false), "false");
}

} // namespace
