// In a program whose global locale groups digits or has another decimal point, the attribute factory read texts by its
// rules: "1.500" became 1500 in a German one. A script of values gave other models on other desks. Texts are now
// converted by the rules of the classic locale, whatever the global one is.

#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/SetAttributecommandFactory.h"

#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <ios>
#include <locale>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

/// How a locale writes numbers.
struct Digits
{
    char point = '.';
    char separator = ',';
    std::string grouping;
};

class Punctuation : public std::numpunct<char>
{
public:
    explicit Punctuation(Digits digits) : written(std::move(digits)) {}

protected:
    char do_decimal_point() const override
    {
        return written.point;
    }

    char do_thousands_sep() const override
    {
        return written.separator;
    }

    std::string do_grouping() const override
    {
        return written.grouping;
    }

    std::string do_truename() const override
    {
        return "0";
    }

    std::string do_falsename() const override
    {
        return "1";
    }

private:
    Digits written;
};

/// Reads every number as the same one.
class FixedNumber : public std::num_get<char>
{
protected:
    iter_type do_get(iter_type /*from*/, iter_type to, std::ios_base& /*stream*/,
                     std::ios_base::iostate& state, double& value) const override
    {
        state = std::ios_base::eofbit;
        value = 42;
        return to;
    }
};

std::vector<std::locale> locales()
{
    const std::locale& classic = std::locale::classic();
    std::vector<std::locale> result{classic, std::locale(classic, new FixedNumber)};
    for (const Digits& digits : {Digits{',', '.', "\3"}, Digits{'.', ',', "\3"}, Digits{'.', '\'', "\1\2"},
                                 Digits{',', ' ', "\2"}, Digits{'e', '.', "\3"}, Digits{'0', '1', "\1"},
                                 Digits{'n', 'i', "\1"}, Digits{'-', '+', "\3"}, Digits{',', '.', ""}})
    {
        result.emplace_back(classic, new Punctuation(digits));
    }
    return result;
}

class GlobalLocale
{
public:
    explicit GlobalLocale(const std::locale& now) : previous(std::locale::global(now)) {}

    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;

    ~GlobalLocale()
    {
        std::locale::global(previous);
    }

private:
    std::locale previous;
};

/// Every text that conversions are known to disagree about, and many that look like numbers.
std::vector<std::string> texts()
{
    std::vector<std::string> result{"1.500",
                                    "1,500",
                                    "1.500,25",
                                    "1,500.25",
                                    "1'500",
                                    "1 500",
                                    "12.34",
                                    "12,34",
                                    "1.2.3",
                                    "1,2,3",
                                    "1234567",
                                    "1.234.567",
                                    "",
                                    " ",
                                    "0",
                                    "-0",
                                    "+0",
                                    "+5",
                                    "-5",
                                    "--5",
                                    "+-5",
                                    "-+5",
                                    "+",
                                    "-",
                                    "1",
                                    "2",
                                    "01",
                                    "-01",
                                    "+1",
                                    "-1",
                                    "00",
                                    "true",
                                    "false",
                                    "2147483647",
                                    "2147483648",
                                    "-2147483648",
                                    "-2147483649",
                                    "4294967295",
                                    "4294967296",
                                    "-4294967295",
                                    "-4294967296",
                                    "99999999999999999999",
                                    "00000000000000000000000000012",
                                    "1e308",
                                    "1e309",
                                    "-1e309",
                                    "1e-400",
                                    "-1e-400",
                                    "4.9e-324",
                                    "2.4e-324",
                                    "1e",
                                    "1E",
                                    "1e+",
                                    "1e-",
                                    "1.0e",
                                    "1e5",
                                    "1E+5",
                                    "1e5.0",
                                    "e5",
                                    ".5",
                                    "5.",
                                    ".",
                                    "-.5",
                                    "-.",
                                    "0x10",
                                    "0X1p3",
                                    "010",
                                    "1f",
                                    "1d",
                                    "1L",
                                    "12a",
                                    "a12",
                                    " 1",
                                    "1 ",
                                    "\t1",
                                    "1\n",
                                    "inf",
                                    "INF",
                                    "Inf",
                                    "-inf",
                                    "+inf",
                                    "infinity",
                                    "-Infinity",
                                    "infinit",
                                    "infinityx",
                                    "in",
                                    "nan",
                                    "NaN",
                                    "-nan",
                                    "+nan",
                                    "nan(",
                                    "nan()",
                                    "nan(12)",
                                    "nan)x(",
                                    "-nan(a b)",
                                    "nan(1)x",
                                    "na",
                                    "nanx",
                                    "--inf",
                                    "snan",
                                    "1.#INF",
                                    "1.7976931348623157e308",
                                    "1.7976931348623159e308",
                                    "0.1",
                                    "0.30000000000000004",
                                    "123456789012345678901234567890",
                                    "e",
                                    "n",
                                    "i",
                                    "n5",
                                    "i5",
                                    "5n5",
                                    "\xC3\xA4",
                                    "\xD9\xA1",
                                    std::string("1\0", 2),
                                    std::string("\0", 1),
                                    std::string("1\0002", 3)};
    constexpr std::string_view characters = "0123456789012345678901234567890123456789.,.,eE+-+- 'xinfaINF()";
    std::mt19937 random(20261122);
    for (int i = 0; i < 2'000; ++i)
    {
        std::string text;
        for (std::size_t length = 1 + random() % 12; length > 0; --length)
        {
            text += characters[random() % characters.size()];
        }
        result.push_back(std::move(text));
    }
    return result;
}

/// What came of a text: a value, or an exception.
template <typename T>
std::string described(const T& value)
{
    if constexpr (std::is_same_v<T, double>)
    {
        return std::to_string(std::bit_cast<std::uint64_t>(value));
    }
    else if constexpr (std::is_same_v<T, std::string>)
    {
        return value;
    }
    else
    {
        return std::to_string(value);
    }
}

std::string described(const boost::bad_lexical_cast& exception)
{
    return std::string(exception.what()) + " " + exception.source_type().name() + " " +
           exception.target_type().name();
}

template <typename T>
std::string cast(const std::string& text)
{
    try
    {
        return described(boost::lexical_cast<T>(text));
    }
    catch (const boost::bad_lexical_cast& exception)
    {
        return described(exception);
    }
}

/// An object with one attribute, whose commands only tell their value.
template <typename T>
class Conversion
{
public:
    Conversion() : attribute("value", nullptr, nullptr)
    {
        attribute.setCommandCreator(
            [this](const std::shared_ptr<Object>&, const Path&, const T& value, const std::string&)
            {
                converted = described(value);
                return nullptr;
            });
    }

    std::string operator()(const std::string& text)
    {
        try
        {
            factory.createCommand(&attribute, text, "");
            return converted;
        }
        catch (const boost::bad_lexical_cast& exception)
        {
            return described(exception);
        }
    }

private:
    std::shared_ptr<Object> root = std::make_shared<Object>("root");
    SetAttributecommandFactory factory{root};
    AttributeDescription<T> attribute;
    std::string converted;
};

template <typename T>
class TextsAreConvertedAlikeInEveryLocale : public testing::Test
{
};

using AttributeTypes = testing::Types<int, unsigned int, double, bool, std::string>;
TYPED_TEST_SUITE(TextsAreConvertedAlikeInEveryLocale, AttributeTypes);

TYPED_TEST(TextsAreConvertedAlikeInEveryLocale, AsLexicalCastDoesInTheClassicOne)
{
    const std::vector<std::string> all = texts();
    std::vector<std::string> expected;
    {
        const GlobalLocale classic(std::locale::classic());
        for (const std::string& text : all)
        {
            expected.push_back(cast<TypeParam>(text));
        }
    }
    std::size_t number = 0;
    for (const std::locale& locale : locales())
    {
        const GlobalLocale global(locale);
        Conversion<TypeParam> convert;
        for (std::size_t i = 0; i < all.size(); ++i)
        {
            ASSERT_EQ(convert(all[i]), expected[i]) << "'" << all[i] << "' in locale " << number;
        }
        ++number;
    }
}

TEST(TextsAreConvertedAlike, EvenIfLexicalCastReadsThemOtherwise)
{
    const GlobalLocale german(std::locale(
        std::locale::classic(), new Punctuation({.point = ',', .separator = '.', .grouping = "\3"})));
    ASSERT_EQ(boost::lexical_cast<int>("1.500"), 1500) << "the locale makes no difference";
    EXPECT_EQ(Conversion<double>()("1.500"), described(1.5));
    EXPECT_EQ(Conversion<double>()("2147483647.25"), described(2147483647.25));
    EXPECT_EQ(Conversion<int>()("1500"), "1500");
    EXPECT_NE(Conversion<int>()("1.500"), "1500");
    EXPECT_NE(Conversion<unsigned int>()("1.500"), "1500");
}

} // namespace
} // namespace Valdane
