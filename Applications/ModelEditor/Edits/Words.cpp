#include "Applications/ModelEditor/Edits/Words.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

namespace ModelEditor
{

namespace
{

constexpr std::string_view blanks = " \t\r\n\v\f";

bool isControl(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
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

std::string shown(std::string_view text)
{
    const bool isPlain =
        !text.empty() && text.front() != ' ' && text.back() != ' ' && std::ranges::none_of(text, isControl);
    if (isPlain)
    {
        return std::string(text);
    }
    std::string quoted = "\"";
    for (const char c : text)
    {
        if (c == '\n')
        {
            quoted += "\\n";
        }
        else if (isControl(c))
        {
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "\\x%02x", static_cast<unsigned int>(c));
            quoted += code.data();
        }
        else
        {
            quoted += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
        }
    }
    return quoted + "\"";
}

} // namespace ModelEditor
