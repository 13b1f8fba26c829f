#pragma once

#include <string>
#include <string_view>

namespace ModelEditor
{

/// The keys that enter what was pasted: a line end is the return key, and before another control character stands the key
/// that takes the meaning from the next one (Control-V).
std::wstring keysOf(std::wstring_view pasted);

/// The characters of @p text; its bytes if they are none in the locale of this process.
std::wstring wide(const std::string& text);

/// Reads the next character of standard input, which waits for it. @return 1; 0 at the end, and -1 for a failure.
int readCharacter(wchar_t& character);

/// Has the terminal mark what is pasted with sequences around it, or no longer. Does nothing where $TERM is missing or dumb.
void markPastes(bool isOn);

} // namespace ModelEditor
