#include "Applications/ModelEditor/Edits/RegularExpression.h"

#include "Applications/ModelEditor/Document/CodePoint.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

// The library's matcher tries all ways, one call deeper for each character of a repetition, and knows no limit of either.
// But it sees the text only through iterators; these count, and throw. Copies count as well: a way that ends without a look
// at the text, as `(?!)` does, copies all groups.

namespace ModelEditor
{

namespace
{

using Valdane::VdException;

// Bytes that are no UTF-8 are told apart from all characters, and come back as they were.
constexpr std::uint32_t firstOfBytes = 0x110000;

std::wstring toCharacters(std::string_view text)
{
    std::wstring characters;
    while (!text.empty())
    {
        const auto next = firstCodePoint(text);
        const auto value = next ? next->value : firstOfBytes + static_cast<unsigned char>(text.front());
        characters += static_cast<wchar_t>(value);
        text.remove_prefix(next ? next->length : 1);
    }
    return characters;
}

std::string toBytes(std::wstring_view characters)
{
    std::string text;
    for (const auto character : characters)
    {
        const auto value = std::bit_cast<std::uint32_t>(character);
        text +=
            value < firstOfBytes ? toUtf8(value) : std::string(1, static_cast<char>(value - firstOfBytes));
    }
    return text;
}

// How much one call may do.
struct MatchBudget
{
    std::uint64_t steps;
    const char* stack;
};

void spend(MatchBudget& budget)
{
    constexpr std::ptrdiff_t mostStack = std::ptrdiff_t{4} * 1024 * 1024;
    if (budget.steps == 0)
    {
        throw VdException("REGEX takes too long; write it with fewer repetitions within repetitions");
    }
    --budget.steps;
    const auto* const here = static_cast<const char*>(__builtin_frame_address(0));
    if (budget.stack - here > mostStack)
    {
        throw VdException("the text is too long for REGEX; write it so that it matches shorter parts");
    }
}

class CountingIterator
{
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = wchar_t;
    using difference_type = std::ptrdiff_t;
    using pointer = const wchar_t*;
    using reference = const wchar_t&;

    CountingIterator() = default;

    CountingIterator(const wchar_t* at, MatchBudget& spent) : place(at), budget(&spent) {}

    CountingIterator(const CountingIterator& other) : place(other.place), budget(other.budget)
    {
        count();
    }

    CountingIterator& operator=(const CountingIterator& other) // NOLINT(bugprone-unhandled-self-assignment)
    {
        place = other.place;
        budget = other.budget;
        count();
        return *this;
    }

    ~CountingIterator() = default;

    reference operator*() const
    {
        count();
        return *place;
    }

    CountingIterator& operator++()
    {
        ++place;
        return *this;
    }

    CountingIterator operator++(int)
    {
        auto before = *this;
        ++place;
        return before;
    }

    CountingIterator& operator--()
    {
        --place;
        return *this;
    }

    CountingIterator operator--(int)
    {
        auto before = *this;
        --place;
        return before;
    }

    bool operator==(const CountingIterator& other) const
    {
        count();
        return place == other.place;
    }

private:
    // Those that stand for no place have none to count on.
    void count() const
    {
        if (budget != nullptr)
        {
            spend(*budget);
        }
    }

    const wchar_t* place = nullptr;
    MatchBudget* budget = nullptr;
};

// The library copies what is repeated, and follows copies that match nothing one call deeper for each.
void requireSmall(const std::wstring& pattern)
{
    constexpr std::size_t longest = 1000;
    constexpr std::size_t most = 5000;
    constexpr std::size_t mostDigits = 5;
    static const std::wregex counts(L"\\{(?:\\d+,)?(\\d+)");
    // First, because the library looks for a count one call deeper for each digit.
    if (pattern.size() > longest)
    {
        throw VdException("REGEX is too large");
    }
    std::size_t size = pattern.size();
    for (std::wsregex_iterator count(pattern.begin(), pattern.end(), counts), end;
         count != end && size <= most; ++count)
    {
        const auto digits = (*count)[1].str();
        size *= digits.size() > mostDigits ? most + 1 : std::max(std::stoul(digits), 1UL);
    }
    if (size > most)
    {
        throw VdException("REGEX is too large");
    }
}

std::optional<std::regex_constants::error_type> compileError(const std::wstring& pattern)
{
    try
    {
        static_cast<void>(std::wregex(pattern));
        return std::nullopt;
    }
    catch (const std::regex_error& error)
    {
        return error.code();
    }
}

// The library does not tell where a mistake is. It is where the expression begins to be wrong in this way, and does not
// become right again.
std::size_t placeOf(std::regex_constants::error_type wanted, const std::wstring& pattern)
{
    std::size_t place = pattern.size();
    for (auto length = pattern.size(); length > 0; --length)
    {
        const auto error = compileError(pattern.substr(0, length));
        if (!error)
        {
            break;
        }
        place = *error == wanted ? length : place;
    }
    return place;
}

std::string meaningOf(std::regex_constants::error_type error)
{
    switch (error)
    {
    case std::regex_constants::error_paren:
        return "a ( or ) without the other one, or nothing to repeat";
    case std::regex_constants::error_brack:
        return "a [ without its ]";
    case std::regex_constants::error_brace:
    case std::regex_constants::error_badbrace:
        return "no count between { and }";
    case std::regex_constants::error_range:
        return "a range that ends before it begins";
    case std::regex_constants::error_escape:
        return "a backslash with nothing that it can escape";
    case std::regex_constants::error_backref:
        return "no such group";
    case std::regex_constants::error_badrepeat:
        return "nothing to repeat";
    case std::regex_constants::error_ctype:
    case std::regex_constants::error_collate:
        return "no such class of characters";
    default:
        return "it is too large";
    }
}

std::wregex compileRegex(const std::wstring& pattern, bool ignoresCase)
{
    requireSmall(pattern);
    try
    {
        const auto flags = std::wregex::ECMAScript;
        return std::wregex(pattern, ignoresCase ? flags | std::wregex::icase : flags);
    }
    catch (const std::regex_error& error)
    {
        throw VdException("bad REGEX at character " + std::to_string(placeOf(error.code(), pattern)) + ": " +
                          meaningOf(error.code()) + ": " + toBytes(pattern));
    }
}

} // namespace

RegularExpression::RegularExpression(const std::string& pattern, bool ignoresCase)
    : compiled(compileRegex(toCharacters(pattern), ignoresCase))
{
}

std::string RegularExpression::replaceAll(const std::string& text, const std::string& by) const
{
    constexpr std::uint64_t fewestSteps = 5'000'000;
    constexpr std::uint64_t stepsForACharacter = 100;
    const auto characters = toCharacters(text);
    MatchBudget budget{.steps = fewestSteps + (stepsForACharacter * characters.size()),
                       .stack = static_cast<const char*>(__builtin_frame_address(0))};
    std::wstring result;
    std::regex_replace(std::back_inserter(result), CountingIterator(characters.data(), budget),
                       CountingIterator(characters.data() + characters.size(), budget), compiled,
                       toCharacters(by));
    return toBytes(result);
}

} // namespace ModelEditor
