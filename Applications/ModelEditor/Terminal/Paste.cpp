#include "Applications/ModelEditor/Terminal/Paste.h"

#include <cstdio>
#include <cstdlib>
#include <cwctype>

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
