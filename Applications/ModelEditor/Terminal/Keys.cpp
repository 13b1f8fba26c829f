#include "Applications/ModelEditor/Terminal/Keys.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <unistd.h>

namespace ModelEditor
{

std::wstring keysOf(std::wstring_view pasted)
{
    constexpr wchar_t quotesNext = 22;
    std::wstring keys;
    wchar_t before = 0;
    for (const wchar_t character : pasted)
    {
        const bool endsLine = character == L'\n' || character == L'\r';
        if (character == L'\n' && before == L'\r')
        {
            before = character;
            continue;
        }
        before = character;
        if (!endsLine && std::iswcntrl(static_cast<std::wint_t>(character)) != 0)
        {
            keys += quotesNext;
        }
        keys += endsLine ? L'\n' : character;
    }
    return keys;
}

std::wstring wide(const std::string& text)
{
    std::wstring characters(text.size(), 0);
    const auto count = std::mbstowcs(characters.data(), text.c_str(), characters.size());
    return count == static_cast<std::size_t>(-1) ? std::wstring(text.begin(), text.end())
                                                 : characters.substr(0, count);
}

int readCharacter(wchar_t& character)
{
    constexpr auto isIncomplete = static_cast<std::size_t>(-2);
    constexpr auto isInvalid = static_cast<std::size_t>(-1);
    std::mbstate_t state{};
    char byte = 0;
    while (true)
    {
        const auto count = read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count <= 0)
        {
            return static_cast<int>(count);
        }
        const auto result = std::mbrtowc(&character, &byte, 1, &state);
        if (result == isInvalid)
        {
            character = static_cast<unsigned char>(byte);
        }
        if (result != isIncomplete)
        {
            return 1;
        }
    }
}

void markPastes(bool isOn)
{
    const char* const terminal = std::getenv("TERM");
    if (terminal != nullptr && std::string_view(terminal) != "dumb")
    {
        std::fputs(isOn ? "\033[?2004h" : "\033[?2004l", stdout);
        std::fflush(stdout);
    }
}

} // namespace ModelEditor
