#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace ModelEditor
{

class XmlModel;

/// What the last word of a line that is being typed may become.
struct Completion
{
    std::size_t start = 0;          ///< where the word starts
    std::string common;             ///< what all that it may become begin with; empty if there is nothing
    std::vector<std::string> words; ///< the first of them, sorted
    std::size_t count = 0;          ///< how many there are
    std::string ending;             ///< what follows the only one: a blank, or `/` behind a directory
};

/// How many words are listed.
constexpr std::size_t mostCompletions = 50;

/// The words for people, a line for each, and how many there are beside these.
std::string listOf(const Completion& completion);

/// Completes the last word of @p line: a verb, or what its verb wants there.
///
/// An address is completed step by step: by the tags of the elements that the part before the last `/` selects, by a number
/// behind `[` and by names behind `[@`, or by attributes. After `//` all tags of the document come.
///
/// Cost: linear in the elements that are looked at, which are at most those of the document.
class Completer
{
public:
    struct Verb
    {
        std::string_view name;
        std::string_view arguments; ///< as its usage says, such as `XPATH [FILE]`
    };

    /// The name of the verb that a word means, which may be shortened. @throws VdException if it means none.
    using FindVerb = std::function<std::string(const std::string&)>;

    /// Refers to @p edited and @p known, which must live longer.
    Completer(const XmlModel& edited, const std::vector<Verb>& known, FindVerb find);

    /// @param line  what is typed before the cursor. Throws nothing but std::bad_alloc.
    Completion complete(std::string_view line) const;

private:
    struct Wanted
    {
        std::string kind;
        std::set<std::string> options;
    };

    std::vector<Verb>::const_iterator findVerb(const std::string& word) const;
    Wanted findWanted(const std::vector<std::string>& before) const;
    std::vector<std::string> addresses(const std::string& word) const;

    const XmlModel& model;
    const std::vector<Verb>& verbs;
    FindVerb nameOfVerb;
};

} // namespace ModelEditor
