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
#include <vector>

namespace
{

using ModelEditor::isOf;
using ModelEditor::nameOf;
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
        {"9007199254740993", ValueType::Text},
        {"0.0", ValueType::Double},
        {"-.5", ValueType::Double},
        {"+1.", ValueType::Double},
        {"1e-6", ValueType::Double},
        {"1E+6", ValueType::Double},
        {"true", ValueType::Bool},
        {"false", ValueType::Bool},
        {"True", ValueType::Text},
        {"", ValueType::Text},
        {" 1", ValueType::Text},
        {"1 ", ValueType::Text},
        {"12a", ValueType::Text},
        {"0x1F", ValueType::Text},
        {"nan", ValueType::Text},
        {"INF", ValueType::Text},
        {"-inf", ValueType::Text},
        {"1e999", ValueType::Text},
        {"1,5", ValueType::Text},
        {"--1", ValueType::Text},
        {"+-1", ValueType::Text},
        {".", ValueType::Text},
        {"-", ValueType::Text},
        {"1.0 2.0", ValueType::Text},
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

TEST(ValueText, ATextMayStandWhereAValueOfItsTypeIsWanted)
{
    const std::pair<ValueType, std::vector<const char*>> right[] = {
        {ValueType::Int, {"0", "-7", "+7", "008"}},
        {ValueType::UnsignedInt, {"0", "4294967295", "007"}},
        {ValueType::Double, {"0", "-1.5", "1e9", ".5", "3000000000"}},
        {ValueType::Bool, {"true", "false", "0", "1"}},
        {ValueType::Text, {"", "x", "1"}},
    };
    for (const auto& [type, texts] : right)
    {
        for (const auto* const text : texts)
        {
            EXPECT_TRUE(isOf(type, text)) << nameOf(type) << " " << text;
        }
    }
    const std::pair<ValueType, std::vector<const char*>> wrong[] = {
        {ValueType::Int, {"", "5.5", "3000000000", "true", "1 "}},
        {ValueType::UnsignedInt, {"-1", "4294967296", "1.0"}},
        {ValueType::Double, {"", "x", "nan", "1e999"}},
        {ValueType::Bool, {"", "2", "True", "01"}},
    };
    for (const auto& [type, texts] : wrong)
    {
        for (const auto* const text : texts)
        {
            EXPECT_FALSE(isOf(type, text)) << nameOf(type) << " " << text;
        }
    }
}

TEST(ValueText, WhatIsNotFiniteCannotBeWritten)
{
    EXPECT_THROW(textOf(std::numeric_limits<double>::infinity()), Valdane::VdException);
    EXPECT_THROW(textOf(std::numeric_limits<double>::quiet_NaN()), Valdane::VdException);
}

} // namespace
