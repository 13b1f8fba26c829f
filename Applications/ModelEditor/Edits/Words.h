#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ModelEditor
{

/// The words of a command line, quoted as in a shell.
///
/// In single quotes every character stands for itself; in double quotes a backslash takes the meaning from
/// `"` and `\`; elsewhere from any character. Between `[` and its `]` quotes belong to the word, with blanks
/// in them, as in `//link[@name='wrist 1']`; a `[` without its `]` in the word is a character like any other, and so
/// are those behind it in that word.
/// A `#` at the start of a word makes the rest of the line a comment.
///
/// @throws VdException if a quote is not closed, a backslash ends the line, or the line has a NUL character.
std::vector<std::string> splitWords(std::string_view line);

/// The line that splitWords() splits into @p words, which have no line end and no NUL character.
std::string joinWords(const std::vector<std::string>& words);

/// @p text for people, lines or a part of one: with escapes in the place of all that a terminal does not show but obeys.
///
/// That is control characters except for line ends and tabs (`\x1b`, `\u009b`), marks that change the direction of writing
/// (`\u202e`), and bytes that are not UTF-8 (`\xff`).
std::string visible(std::string_view text);

/// @p text for a message on one line: as it is, or in double quotes with escapes if it is empty, has white
/// space at an end or a character anywhere that visible() replaces, a line end or a tab.
std::string shown(std::string_view text);

} // namespace ModelEditor
