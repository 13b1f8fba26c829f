#pragma once

#include <regex>
#include <string>

namespace ModelEditor
{

/// A regular expression in the syntax of ECMAScript, for texts in UTF-8.
///
/// It works on characters, not on bytes. A match that takes too many steps, or too much stack, is given up: expressions
/// come from people, and some of them would take years.
///
/// Thread: constant, so any; a match may need 6 MiB of stack.
class RegularExpression
{
public:
    /// @throws VdException `bad REGEX at character <n>: <what is wrong>`, or if it is very large.
    RegularExpression(const std::string& pattern, bool ignoresCase);

    /// @p text with every match replaced by @p by, in which `$1` is the first group, `$&` the match, and `$$` a dollar.
    ///
    /// @throws VdException if a match is given up; std::bad_alloc.
    std::string replaceAll(const std::string& text, const std::string& by) const;

private:
    std::wregex compiled;
};

} // namespace ModelEditor
