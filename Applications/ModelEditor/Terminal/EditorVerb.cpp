#include "Applications/ModelEditor/Terminal/EditorVerb.h"

#include "Applications/ModelEditor/Edits/Replace.h"
#include "Applications/ModelEditor/Edits/Structure.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace ModelEditor
{

namespace
{

// How many characters must be inserted, removed or replaced to make one word of the other one.
std::size_t differencesOf(std::string_view typed, std::string_view word)
{
    std::vector<std::size_t> row(word.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (const char c : typed)
    {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < word.size(); ++i)
        {
            const std::size_t replaced = diagonal + (c == word[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({replaced, diagonal + 1, row[i] + 1});
        }
    }
    return row.back();
}

} // namespace

const std::vector<Editor::Verb>& Editor::Verb::getAll()
{
    constexpr auto any = std::numeric_limits<std::size_t>::max();
    constexpr auto outsideGroup = Place::OutsideGroup;
    constexpr auto outside = Place::OutsideGroupAndRecording;
    static const std::vector<Verb> verbs{
        {"tree", "[XPATH] [DEPTH]", 0, 2, "the elements, DEPTH levels deep (2)", {}, &Editor::tree},
        {"show", "XPATH", 1, 1, "values and their types", {}, &Editor::show},
        {"cd",
         "[XPATH]",
         0,
         1,
         "have addresses start at an element; without XPATH, at the top",
         {},
         &Editor::changeCurrent},
        {"pwd", "", 0, 0, "the element where addresses start", {}, &Editor::printCurrent},
        {"find", "XPATH", 1, 1, "address and value of all that XPATH selects", {}, &Editor::find},
        {"set",
         "XPATH VALUE [--strict]",
         2,
         3,
         "give attributes or texts a value; strictly, of their type",
         {},
         {},
         &makeSet},
        {"markup",
         "XPATH VALUE",
         2,
         2,
         "set them, with references such as &nbsp; in VALUE",
         {},
         {},
         &makeSetMarkup},
        {"replace",
         "XPATH REGEX TEXT [-i]",
         3,
         4,
         "replace what REGEX matches in attributes or texts; $1 in TEXT is its first group, -i ignores case",
         {},
         {},
         &makeReplace},
        {"rename", "XPATH NAME", 2, 2, "change the name of elements", {}, {}, &makeRename},
        {"annotate",
         "XPATH PREFIX:NAME VALUE",
         3,
         3,
         "give elements a namespaced attribute",
         {},
         {},
         &makeAnnotate},
        {"clear-annotations",
         "XPATH [PREFIX]",
         1,
         2,
         "remove what was annotated since the file was opened, or all attributes PREFIX:...",
         {},
         {},
         &makeClearAnnotations},
        {"insert",
         "XPATH MARKUP [--first|--before|--after]",
         2,
         3,
         "put markup into elements as the last children, or elsewhere",
         {},
         {},
         &makeInsert},
        {"delete",
         "XPATH",
         1,
         1,
         "remove elements, attributes, texts, comments or instructions",
         {},
         {},
         &makeDelete},
        {"copy",
         "XPATH TARGET [--first|--before|--after]",
         2,
         3,
         "put copies into the element TARGET, or elsewhere",
         {},
         {},
         &makeCopy},
        {"move",
         "XPATH TARGET [--first|--before|--after]",
         2,
         3,
         "take nodes out and put them into TARGET, or elsewhere",
         {},
         {},
         &makeMove},
        {"wrap", "XPATH NAME", 2, 2, "put a new element around each node", {}, {}, &makeWrap},
        {"merge", "EDIT", 1, any, "do one of these edits as one step with the next", {}, &Editor::merge},
        {"group", "NAME", 1, 1, "start a group: what follows is one step NAME", outsideGroup, &Editor::group},
        {"end", "", 0, 0, "end the group", {}, &Editor::end},
        {"abandon", "", 0, 0, "end the group and undo all of it", {}, &Editor::abandon},
        {"scale", "XPATH FACTOR [--continue-on-error [N]]", 2, 4,
         "multiply numbers, on another thread; leave alone what fails, all if N do", outsideGroup,
         &Editor::scale},
        {"check", "", 0, 0, "look for what is wrong or does not fit together, on another thread",
         outsideGroup, &Editor::check},
        {.name = "status",
         .arguments = "",
         .minimum = 0,
         .maximum = 0,
         .summary = "how far the work on another thread has come",
         .run = &Editor::status,
         .isForRuns = true},
        {.name = "abort",
         .arguments = "",
         .minimum = 0,
         .maximum = 0,
         .summary = "stop that work and take back what it has done; typed, not in a script",
         .run = &Editor::abortRun,
         .isForRuns = true},
        {"undo", "[N|--to-save]", 0, 1, "undo N steps (1), or all since the save", {}, &Editor::undo},
        {"redo", "[N|--to-save]", 0, 1, "redo N steps (1), or all up to the save", {}, &Editor::redo},
        {"goto", "N", 1, 1, "undo or redo until N steps are done", {}, &Editor::goTo},
        {"history",
         "[N]",
         0,
         1,
         "what can be undone and redone, the nearest N of each",
         {},
         &Editor::showHistory},
        {"limit", "[N|off]", 0, 1, "keep at most N steps in the history", outside, &Editor::limit},
        {"record", "", 0, 0, "start to record the edits", outside, &Editor::record},
        {"stop", "[FILE]", 0, 1, "list what was recorded, and write it as a script", outsideGroup,
         &Editor::stop},
        {"modified",
         "[save|export]",
         0,
         1,
         "the modules that differ from the last save",
         {},
         &Editor::modified},
        {"save", "[FILE]", 0, 1, "write the model; to FILE, also from then on", outside, &Editor::save},
        {"save!", "[FILE]", 0, 1, "the same, whoever has changed the file, also if it is read-only", outside,
         &Editor::saveAnyway},
        {"diff",
         "[FILE]",
         0,
         1,
         "what differs in the model (+) from its file (-) as that is now; or write it to FILE, for `patch`",
         {},
         &Editor::diff},
        {.name = "save-all",
         .arguments = "",
         .minimum = 0,
         .maximum = 0,
         .summary = "save each open file that has unsaved changes",
         .place = outside,
         .run = &Editor::saveAll,
         .isWhole = true},
        {"reload", "", 0, 0, "read the file again, and clear the history", outside, &Editor::reload},
        {"reload!", "", 0, 0, "the same, also if that loses changes", outside, &Editor::reloadAnyway},
        {"export", "FILE", 1, 1, "write a copy, for which `modified export` tells", outside,
         &Editor::exportCopy},
        {"import", "FILE", 1, 1, "append the modules of another model", outsideGroup, &Editor::importFile},
        {"open", "FILE", 1, 1, "load another file and make it the current one", outside, &Editor::open},
        {.name = "files",
         .arguments = "",
         .minimum = 0,
         .maximum = 0,
         .summary = "the open files: > is the current one, * has unsaved changes",
         .run = &Editor::listFiles,
         .isWhole = true},
        {.name = "use",
         .arguments = "N|FILE",
         .minimum = 1,
         .maximum = 1,
         .summary = "make another open file the current one, to which all other verbs apply",
         .place = outside,
         .run = &Editor::use,
         .isWhole = true},
        {.name = "close",
         .arguments = "",
         .minimum = 0,
         .maximum = 0,
         .summary = "close the current file",
         .place = outside,
         .run = &Editor::close,
         .isWhole = true},
        {"close!", "", 0, 0, "the same, also if that loses changes", outside, &Editor::closeAnyway},
        {.name = "help",
         .arguments = "[VERB]",
         .minimum = 0,
         .maximum = 1,
         .summary = "this text, or the line about VERB",
         .run = &Editor::help,
         .isForRuns = true},
        {"quit", "", 0, 0, "end without saving", outside, &Editor::quit},
    };
    return verbs;
}

const Editor::Verb& Editor::Verb::find(const std::string& name)
{
    const auto& verbs = getAll();
    const auto found = std::ranges::find(verbs, name, &Verb::name);
    if (found != verbs.end())
    {
        return *found;
    }
    std::vector<const Verb*> meant;
    for (const auto& verb : verbs)
    {
        if (verb.name.starts_with(name) && !verb.name.ends_with('!') && !verb.isWhole)
        {
            meant.push_back(&verb);
        }
    }
    if (meant.empty())
    {
        throw Valdane::VdException("no verb " + shown(name) + "; " + findSimilar(name) + "help lists them");
    }
    if (meant.size() > 1)
    {
        throw Valdane::VdException(shown(name) + " may be " + listNames(meant));
    }
    return *meant.front();
}

std::string Editor::Verb::findSimilar(const std::string& name)
{
    const auto distance = [&name](const Verb& verb)
    {
        return differencesOf(name, verb.name);
    };
    const auto nearest = std::ranges::min_element(getAll(), {}, distance);
    // Half of a word that differs is another word.
    const bool isSimilar = 2 * distance(*nearest) < nearest->name.size();
    return isSimilar ? "did you mean " + std::string(nearest->name) + "? " : "";
}

std::string Editor::Verb::listNames(const std::vector<const Verb*>& verbs)
{
    std::string list;
    for (const auto* const verb : verbs)
    {
        const auto* const before = verb == verbs.back() ? " or " : ", ";
        list.append(verb == verbs.front() ? "" : before).append(verb->name);
    }
    return list;
}

std::string Editor::Verb::getUsage() const
{
    return std::string(name) + (arguments.empty() ? "" : " ") + std::string(arguments);
}

void Editor::Verb::requireCount(const Words& words) const
{
    if (words.size() < minimum || words.size() > maximum)
    {
        const bool isLong = words.size() > maximum && arguments.find("XPATH") != std::string_view::npos;
        throw Valdane::VdException("write it as: " + getUsage() +
                                   (isLong ? "; what has blanks is quoted" : ""));
    }
}

} // namespace ModelEditor
