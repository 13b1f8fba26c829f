#include "Applications/ModelEditor/Terminal/Completion.h"

#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Document/XmlObject.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <system_error>
#include <unordered_map>
#include <utility>

namespace ModelEditor
{

namespace
{

constexpr std::string_view blanks = " \t";

std::optional<std::vector<std::string>> findWords(std::string_view line)
{
    try
    {
        return splitWords(line);
    }
    catch (const Valdane::VdException&)
    {
        return {};
    }
}

// Where the last word starts. A `[` that is not closed yet keeps blanks in its word.
std::size_t startOfLastWord(std::string_view line)
{
    std::size_t start = 0;
    char quote = 0;
    int depth = 0;
    for (std::size_t i = 0; i < line.size(); ++i)
    {
        const char c = line[i];
        if (quote != 0)
        {
            quote = c == quote ? '\0' : quote;
        }
        else if (c == '\'' || c == '"')
        {
            quote = c;
        }
        else if (c == '\\')
        {
            ++i;
        }
        else if (blanks.find(c) != std::string_view::npos && depth == 0)
        {
            start = i + 1;
        }
        else
        {
            depth += c == '[' ? 1 : 0;
            depth -= c == ']' && depth > 0 ? 1 : 0;
        }
    }
    return start;
}

// The last `/` that is not in a predicate.
std::size_t lastSlash(std::string_view address)
{
    std::size_t found = std::string_view::npos;
    int depth = 0;
    for (std::size_t i = 0; i < address.size(); ++i)
    {
        depth += address[i] == '[' ? 1 : 0;
        depth -= address[i] == ']' ? 1 : 0;
        found = address[i] == '/' && depth == 0 ? i : found;
    }
    return found;
}

using Steps = std::set<std::string>;

void addAttributes(pugi::xml_node element, Steps& steps)
{
    for (const auto attribute : element.attributes())
    {
        steps.insert(std::string("@") + attribute.name());
    }
}

std::string stepOf(const std::string& tag, const std::string& name)
{
    return tag + "[@name='" + name + "']";
}

// Of several with the same tag, the number or the name says which is meant.
void addChildren(pugi::xml_node parent, const std::string& step, Steps& steps)
{
    const auto bracket = step.find('[');
    std::unordered_map<std::string, std::size_t> counts;
    for (const auto child : parent.children())
    {
        if (child.type() != pugi::node_element)
        {
            continue;
        }
        const std::string tag = child.name();
        const auto number = ++counts[tag];
        if (bracket == std::string::npos || tag != step.substr(0, bracket))
        {
            continue;
        }
        const std::string name = child.attribute("name").value();
        const bool isWanted = step.compare(bracket, 2, "[@") == 0;
        if (!isWanted)
        {
            steps.insert(tag + '[' + std::to_string(number) + ']');
        }
        else if (!name.empty() && name.find('\'') == std::string::npos && visible(name) == name)
        {
            steps.insert(stepOf(tag, name));
        }
    }
    for (const auto& [tag, count] : counts)
    {
        if (bracket == std::string::npos)
        {
            steps.insert(tag + (count > 1 ? "[" : ""));
        }
    }
}

Steps allTags(pugi::xml_node document)
{
    Steps steps;
    for (auto node = document; node; node = nextNode(node))
    {
        if (node.type() == pugi::node_element)
        {
            steps.insert(node.name());
        }
    }
    return steps;
}

std::vector<std::string> startingWith(const std::string& prefix, const Steps& steps,
                                      const std::string& before)
{
    std::vector<std::string> found;
    for (auto step = steps.lower_bound(prefix); step != steps.end() && step->starts_with(prefix); ++step)
    {
        found.push_back(before + *step);
    }
    return found;
}

std::vector<std::string> files(const std::string& word)
{
    namespace fs = std::filesystem;
    const auto words = findWords(word);
    if (!words || words->size() > 1)
    {
        return {};
    }
    const std::string typed = words->empty() ? "" : words->front();
    const auto slash = typed.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : typed.substr(0, slash + 1);
    const std::string start = typed.substr(folder.size());
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end; !error && entry != end;
         entry.increment(error))
    {
        const std::string name = entry->path().filename();
        std::error_code unknown;
        if (name.starts_with(start) && (!start.empty() || !name.starts_with('.')))
        {
            found.push_back(joinWords({folder + name}) + (entry->is_directory(unknown) ? "/" : ""));
        }
    }
    return found;
}

Steps namesOf(const std::vector<Completer::Verb>& verbs)
{
    Steps names;
    for (const auto& verb : verbs)
    {
        names.emplace(verb.name);
    }
    return names;
}

std::string commonStart(const std::vector<std::string>& words)
{
    std::string common = words.front();
    for (const auto& word : words)
    {
        const auto end = std::ranges::mismatch(common, word).in1;
        common.erase(end, common.end());
    }
    // Not in the middle of a character.
    while (!common.empty() && common.size() < words.front().size() &&
           (static_cast<unsigned char>(words.front()[common.size()]) & 0xC0U) == 0x80)
    {
        common.pop_back();
    }
    return common;
}

} // namespace

std::string listOf(const Completion& completion)
{
    std::string list;
    for (const auto& word : completion.words)
    {
        list += visible(word) + '\n';
    }
    const auto hidden = completion.count - completion.words.size();
    return list + (hidden > 0 ? "... and " + std::to_string(hidden) + " more\n" : "");
}

Completer::Completer(const XmlModel& edited, const std::vector<Verb>& known, FindVerb find)
    : model(edited), verbs(known), nameOfVerb(std::move(find))
{
}

Completion Completer::complete(std::string_view line) const
{
    Completion completion;
    completion.start = startOfLastWord(line);
    const auto before = findWords(line.substr(0, completion.start));
    if (!before)
    {
        return completion;
    }
    const std::string word(line.substr(completion.start));
    const auto wanted = before->empty() ? Wanted{.kind = "VERB", .options = {}} : findWanted(*before);
    const bool isAddress = wanted.kind == "XPATH" || wanted.kind == "TARGET";
    try
    {
        const bool isOption = word.starts_with('-') && !wanted.options.empty();
        if (isOption)
        {
            completion.words = startingWith(word, wanted.options, {});
        }
        else if (isAddress)
        {
            completion.words = addresses(word);
        }
        else if (wanted.kind == "FILE")
        {
            completion.words = files(word);
        }
        else if (wanted.kind == "VERB")
        {
            completion.words = startingWith(word, namesOf(verbs), {});
        }
    }
    catch (const Valdane::VdException&)
    {
        return completion; // of an address that is wrong
    }
    completion.count = completion.words.size();
    if (completion.count == 0)
    {
        return completion;
    }
    const bool areNumbered =
        completion.words.front().ends_with(']') && !completion.words.front().ends_with("']");
    std::ranges::sort(completion.words, {},
                      [areNumbered](const std::string& found)
                      { return std::pair(areNumbered ? found.size() : 0, std::string_view(found)); });
    completion.common = commonStart(completion.words);
    completion.ending = completion.count == 1 && !isAddress && !completion.common.ends_with('/') ? " " : "";
    completion.words.resize(std::min(completion.count, mostCompletions));
    return completion;
}

std::vector<Completer::Verb>::const_iterator Completer::findVerb(const std::string& word) const
{
    try
    {
        return std::ranges::find(verbs, nameOfVerb(word), &Verb::name);
    }
    catch (const Valdane::VdException&)
    {
        return verbs.end();
    }
}

// What the usage of the verb that has the words @p before calls the word behind them, and the verb's options.
Completer::Wanted Completer::findWanted(const std::vector<std::string>& before) const
{
    auto verb = findVerb(before.front());
    std::size_t place = before.size() - 1;
    if (verb != verbs.end() && verb->name == "merge")
    {
        if (place == 0)
        {
            return {.kind = "VERB", .options = {}};
        }
        verb = findVerb(before[1]);
        --place;
    }
    if (verb == verbs.end())
    {
        return {};
    }
    std::string usage(verb->arguments);
    std::erase_if(usage, [](char c) { return c == '[' || c == ']'; });
    std::ranges::replace(usage, '|', ' ');
    Wanted wanted;
    for (const auto& kind : splitWords(usage))
    {
        if (kind.starts_with('-'))
        {
            wanted.options.insert(kind);
        }
        else if (place-- == 0)
        {
            wanted.kind = kind;
        }
    }
    return wanted;
}

std::vector<std::string> Completer::addresses(const std::string& word) const
{
    const auto slash = lastSlash(word);
    const std::string before = slash == std::string::npos ? "" : word.substr(0, slash + 1);
    const std::string step = word.substr(before.size());
    const auto document = model.getRoot()->getElement().root();
    if (before.ends_with("//"))
    {
        return startingWith(step, allTags(document), before);
    }
    Steps steps;
    const auto addFrom = [&](pugi::xml_node parent)
    {
        step.starts_with('@') ? addAttributes(parent, steps) : addChildren(parent, step, steps);
    };
    if (before == "/")
    {
        addFrom(document);
    }
    else if (before.empty())
    {
        const auto current = model.getCurrent();
        addFrom(current == nullptr ? document : current->getElement());
    }
    else
    {
        for (const auto& selected : model.select(before.substr(0, slash)).nodes)
        {
            addFrom(selected.node);
        }
    }
    return startingWith(step, steps, before);
}

} // namespace ModelEditor
