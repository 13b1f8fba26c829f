#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Terminal/EditorVerb.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

// What `help` prints, in lines that any terminal can show.

namespace ModelEditor
{

namespace
{

constexpr std::size_t helpWidth = 80;
constexpr std::size_t summaryColumn = 30;

// A title stands before the verb with which its group begins.
struct HelpTitle
{
    std::string_view verb;
    std::string_view text;
};

constexpr HelpTitle helpTitles[] = {
    {"tree", "To begin: tree, find //TAG, set //TAG/@ATTRIBUTE VALUE, undo, save, quit.\n"
             "A verb may be shortened, such as hist for history; help VERB tells about one.\n\nLook:"},
    {"set", "Change values:"},
    {"insert", "Change elements:"},
    {"merge", "Several edits as one step:"},
    {"scale", "On another thread:"},
    {"undo", "History:"},
    {"modified", "Files:"},
    {"help", "And:"},
};

// The words of @p text behind @p line, with line ends so that none is too long.
std::string wrappedBehind(std::string line, std::string_view text, std::size_t indent)
{
    std::string lines;
    while (!text.empty())
    {
        const auto word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (line.size() + 1 + word.size() > helpWidth && line.size() > indent)
        {
            lines += line + "\n";
            line = std::string(indent, ' ');
        }
        line += line.empty() || line.ends_with(' ') ? "" : " ";
        line += word;
    }
    return lines + line + "\n";
}

} // namespace

std::string Editor::getHelp()
{
    std::string text;
    for (const auto& verb : Verb::getAll())
    {
        const auto* const title = std::ranges::find(helpTitles, verb.name, &HelpTitle::verb);
        if (title != std::end(helpTitles))
        {
            text.append(text.empty() ? "" : "\n").append(title->text).append("\n");
        }
        std::string usage = "  " + verb.getUsage();
        if (usage.size() + 2 > summaryColumn)
        {
            text += usage + "\n";
            usage.clear();
        }
        usage.resize(summaryColumn, ' ');
        text += wrappedBehind(usage, verb.summary, summaryColumn);
    }
    return text.append(editingHelp);
}

void Editor::help(const Words& arguments)
{
    if (arguments.empty())
    {
        out << getHelp();
        return;
    }
    const Verb& verb = Verb::find(arguments[0]);
    out << wrappedBehind(verb.getUsage() + ":", verb.summary, 2);
}

} // namespace ModelEditor
