#include "Applications/ModelEditor/Edits/Words.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>

namespace ModelEditor
{

namespace
{

constexpr std::string_view blanks = " \t\r\n\v\f";

// The first character of a text; without a code if the first byte does not start one in UTF-8.
struct Character
{
    std::size_t length = 1;
    std::optional<std::uint32_t> code;
};

Character firstOf(std::string_view text)
{
    constexpr std::array<std::uint32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(text.front());
    const auto length = static_cast<std::size_t>(std::countl_one(first));
    if (length == 0)
    {
        return {.length = 1, .code = first};
    }
    if (length == 1 || length > 4 || length > text.size())
    {
        return {};
    }
    std::uint32_t code = first & (0x7FU >> length);
    for (const char c : text.substr(1, length - 1))
    {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0U) != 0x80)
        {
            return {};
        }
        code = (code << 6U) | (byte & 0x3FU);
    }
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < least[length] || code > 0x10FFFF || isSurrogate ? Character() : Character{length, code};
}

// Whether a terminal obeys it: control characters, and what changes the direction of writing.
bool isObeyed(std::uint32_t code)
{
    return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x061C || code == 0x200E ||
           code == 0x200F || (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

std::string escaped(const char* pattern, std::uint32_t number)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), pattern, number);
    return text.data();
}

// Puts text on the end of the result. Escapes what visible() tells of; of what that leaves, what is in the list is given to
// the function.
template <typename Escape>
void appendVisible(std::string& result, std::string_view text, std::string_view special, Escape escape)
{
    while (!text.empty())
    {
        const auto [length, code] = firstOf(text);
        if (special.find(text.front()) != std::string_view::npos)
        {
            result += escape(text.front());
        }
        else if (!code || isObeyed(*code))
        {
            const bool isByte = !code || *code < 0x80;
            result += isByte ? escaped("\\x%02x", static_cast<unsigned char>(text.front()))
                             : escaped("\\u%04x", *code);
        }
        else
        {
            result.append(text, 0, length);
        }
        text.remove_prefix(length);
    }
}

// Takes one word off the front of the line, which does not start with a blank.
class WordReader
{
public:
    explicit WordReader(std::string_view line) : rest(line) {}

    std::string read()
    {
        while (!rest.empty() && blanks.find(rest.front()) == std::string_view::npos)
        {
            const char c = take();
            if (c == '[')
            {
                word += c;
                bracketsCanClose = bracketsCanClose && readBrackets();
            }
            else if (c == '\'' || c == '"')
            {
                readQuoted(c);
            }
            else
            {
                word += c == '\\' ? takeEscaped() : c;
            }
        }
        return word;
    }

    std::string_view getRest() const
    {
        return rest;
    }

private:
    void readQuoted(char quote)
    {
        const bool escapes = quote == '"';
        while (!rest.starts_with(quote))
        {
            if (rest.empty())
            {
                throw Valdane::VdException(std::string("missing closing quote ") + quote);
            }
            const char c = take();
            const bool isEscape = escapes && c == '\\' && (rest.starts_with('"') || rest.starts_with('\\'));
            word += isEscape ? take() : c;
        }
        take();
    }

    // Behind an opening bracket: takes all up to and with its closing one, unless a blank that is not in quotes or the end
    // comes first.
    bool readBrackets()
    {
        std::string text;
        std::size_t length = 0;
        for (std::size_t depth = 1; depth != 0; ++length)
        {
            if (length == rest.size() || blanks.find(rest[length]) != std::string_view::npos)
            {
                return false;
            }
            const char c = rest[length];
            depth += c == '[' ? 1 : 0;
            depth -= c == ']' ? 1 : 0;
            const bool isQuote = c == '\'' || c == '"';
            const std::size_t last = isQuote ? rest.find(c, length + 1) : length + (c == '\\' ? 1 : 0);
            if (last >= rest.size())
            {
                return false;
            }
            text += c == '\\' ? rest.substr(last, 1) : rest.substr(length, last + 1 - length);
            length = last;
        }
        word += text;
        rest.remove_prefix(length);
        return true;
    }

    char takeEscaped()
    {
        if (rest.empty())
        {
            throw Valdane::VdException("nothing follows the backslash at the end");
        }
        return take();
    }

    char take()
    {
        const char c = rest.front();
        rest.remove_prefix(1);
        return c;
    }

    std::string_view rest;
    std::string word;
    // Looking for a closing bracket takes one look at the word, not one for each `[`.
    bool bracketsCanClose = true;
};

bool isPlainWord(std::string_view word)
{
    return !word.empty() && word.front() != '#' && word.find_first_of(blanks) == std::string_view::npos &&
           word.find_first_of("'\"\\") == std::string_view::npos;
}

std::string inQuotes(std::string_view word)
{
    if (word.find('\'') == std::string_view::npos)
    {
        return "'" + std::string(word) + "'";
    }
    std::string text = "\"";
    for (const char c : word)
    {
        text += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    }
    return text + "\"";
}

} // namespace

std::vector<std::string> splitWords(std::string_view line)
{
    if (line.find('\0') != std::string_view::npos)
    {
        throw Valdane::VdException("the line has a NUL character");
    }
    std::vector<std::string> words;
    while (true)
    {
        line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
        if (line.empty() || line.front() == '#')
        {
            return words;
        }
        WordReader reader(line);
        words.push_back(reader.read());
        line = reader.getRest();
    }
}

std::string joinWords(const std::vector<std::string>& words)
{
    std::string line;
    for (const auto& word : words)
    {
        line += (line.empty() ? "" : " ") + (isPlainWord(word) ? word : inQuotes(word));
    }
    return line;
}

std::string visible(std::string_view text)
{
    std::string result;
    appendVisible(result, text, "\n\t", [](char c) { return c; });
    return result;
}

std::string shown(std::string_view text)
{
    constexpr std::string_view special = "\n\"\\";
    std::string quoted = "\"";
    appendVisible(quoted, text, special, [](char c) { return std::string{'\\', c == '\n' ? 'n' : c}; });
    const bool isPlain = !text.empty() && text.front() != ' ' && text.back() != ' ' &&
                         text.find_first_of("\n\t") == std::string_view::npos &&
                         visible(text).size() == text.size();
    return isPlain ? std::string(text) : quoted + "\"";
}

} // namespace ModelEditor
