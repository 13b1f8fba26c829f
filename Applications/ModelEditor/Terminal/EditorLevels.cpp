#include "Applications/ModelEditor/Document/Encoding.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Counts.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Applications/ModelEditor/Edits/LineDiff.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/EditorVerb.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <optional>
#include <utility>

// The verbs about the history and its levels, and those about what was saved.

namespace ModelEditor
{

namespace
{

using Valdane::VdException;

// The file that is named, if one is. Without a name the writer takes the model's own file, which somebody who gives an
// empty one, from a variable without a value for instance, does not expect.
std::optional<std::string> findPath(const Editor::Words& arguments)
{
    if (arguments.empty())
    {
        return {};
    }
    if (arguments[0].empty())
    {
        throw VdException("the name of the file is empty");
    }
    return arguments[0];
}

HistoryLevel::Tracker parseTracker(const Editor::Words& arguments)
{
    if (arguments.empty() || arguments[0] == "save")
    {
        return HistoryLevel::Saved;
    }
    if (arguments[0] != "export")
    {
        throw VdException(shown(arguments[0]) + " is neither save nor export");
    }
    return HistoryLevel::Exported;
}

bool isToSave(const Editor::Words& arguments)
{
    return !arguments.empty() && arguments[0] == "--to-save";
}

// Without its encoding, if it is in one.
std::string textOfFile(const std::string& bytes)
{
    try
    {
        return Encoding::of(bytes).decode(bytes);
    }
    catch (const VdException&)
    {
        return bytes;
    }
}

std::string indented(const std::string& lines)
{
    std::string result;
    for (std::size_t start = 0; start < lines.size();)
    {
        const auto end = lines.find('\n', start) + 1;
        result.append("  ").append(lines, start, end - start);
        start = end;
    }
    return result;
}

} // namespace

void Editor::merge(const Words& arguments)
{
    const Verb& verb = Verb::find(arguments.front());
    if (verb.makeEdit == nullptr)
    {
        throw VdException(std::string(verb.name) + " is no edit");
    }
    const Words words(arguments.begin() + 1, arguments.end());
    verb.requireCount(words);
    const Edit edit = verb.makeEdit(model, words);
    levels.back().executeToMerge(edit.command, getLine(verb, words));
    printEdit(edit);
}

void Editor::group(const Words& arguments)
{
    if (arguments[0].empty())
    {
        throw VdException("a group needs a name");
    }
    beginLevel(HistoryLevel::Kind::Group, arguments[0]);
}

void Editor::end(const Words& /*arguments*/)
{
    requireGroup();
    auto& level = levels.back();
    level.settle();
    const std::string name = level.getName();
    const auto count = level.history.getPosition();
    endLevel(name, joinWords({"group", name}) + "\n" + indented(level.getScript()) + "end\n");
    out << "Group " << brief(name) << ": " << plural(count, "step")
        << (count == 0 ? ", no entry\n" : " as one\n");
}

void Editor::abandon(const Words& /*arguments*/)
{
    requireGroup();
    const std::string name = brief(levels.back().getName());
    const auto count = abandonGroup();
    out << "Group " << name << " abandoned, " << plural(count, "step") << " undone\n";
}

void Editor::undo(const Words& arguments)
{
    if (isToSave(arguments))
    {
        const auto saved = requireSavedPosition();
        if (saved > levels.back().history.getPosition())
        {
            throw VdException("the save is ahead; redo --to-save leads to it");
        }
        moveTo(saved);
        return;
    }
    const auto count = arguments.empty() ? 1 : parseCount<std::uint64_t>(arguments[0]);
    printEndOfHistory(moveBack(count), count, "undo");
}

void Editor::redo(const Words& arguments)
{
    if (isToSave(arguments))
    {
        const auto saved = requireSavedPosition();
        if (saved < levels.back().history.getPosition())
        {
            throw VdException("the save is behind; undo --to-save leads to it");
        }
        moveTo(saved);
        return;
    }
    const auto count = arguments.empty() ? 1 : parseCount<std::uint64_t>(arguments[0]);
    printEndOfHistory(moveForward(count), count, "redo");
}

void Editor::goTo(const Words& arguments)
{
    auto& level = levels.back();
    level.settle();
    const auto position = parseCount<std::uint64_t>(arguments[0]);
    const auto count = level.history.getRowCount();
    if (position > count)
    {
        throw VdException("the history has " + plural(count, "step"));
    }
    moveTo(position);
}

void Editor::moveTo(std::uint64_t wanted)
{
    const auto position = levels.back().history.getPosition();
    wanted < position ? moveBack(position - wanted) : moveForward(wanted - position);
}

std::uint64_t Editor::moveBack(std::uint64_t count)
{
    return levels.back().undo(count, [this](const std::string& step) { printStep(step); });
}

std::uint64_t Editor::moveForward(std::uint64_t count)
{
    return levels.back().redo(count, [this](const std::string& step) { printStep(step); });
}

// The place in the history that was saved. A group and a recording have none of their own.
std::uint64_t Editor::requireSavedPosition()
{
    if (levels.size() > 1)
    {
        throw VdException(isInGroup() ? "not in a group; end or abandon it first"
                                      : "not in a recording; stop it first");
    }
    levels.back().settle();
    const auto saved = levels.back().manager.getSavedPosition(HistoryLevel::Saved);
    if (!saved)
    {
        throw VdException("no step leads to what was saved");
    }
    return *saved;
}

void Editor::showHistory(const Words& arguments)
{
    view.printHistory(levels, arguments.empty() ? std::numeric_limits<std::uint64_t>::max()
                                                : parseCount<std::uint64_t>(arguments[0]));
}

void Editor::limit(const Words& arguments)
{
    auto& level = levels.back();
    std::uint64_t dropped = 0;
    if (!arguments.empty())
    {
        dropped = level.setLimit(
            arguments[0] == "off" ? std::nullopt : std::optional(parseCount<std::uint32_t>(arguments[0])));
    }
    const auto now = level.getLimit();
    out << (now ? "Limit " + std::to_string(*now) : "No limit")
        << (dropped == 0 ? "" : ", " + plural(dropped, "step") + " dropped") << '\n';
}

void Editor::record(const Words& /*arguments*/)
{
    beginLevel(HistoryLevel::Kind::Recording, {});
}

void Editor::stop(const Words& arguments)
{
    const auto path = findPath(arguments);
    if (!isRecording())
    {
        throw VdException("there is no recording");
    }
    const auto [count, script] = endRecording();
    out << "Recorded " << plural(count, "step") << (count == 0 ? "\n" : ", now one in the history:\n")
        << script;
    if (path)
    {
        write({.verb = "stop", .path = *path, .bytes = recordingHeader + script});
    }
}

void Editor::modified(const Words& arguments)
{
    const auto all = listModified(parseTracker(arguments));
    for (const auto& module : all)
    {
        view.printModule(*module);
    }
    out << plural(all.size(), "module") << '\n';
}

void Editor::save(const Words& arguments)
{
    writeModel({.verb = "save", .path = findPath(arguments).value_or("")}, HistoryLevel::Saved);
}

void Editor::saveAnyway(const Words& arguments)
{
    writeModel({.verb = "save!", .path = findPath(arguments).value_or(""), .isForced = true},
               HistoryLevel::Saved);
}

void Editor::diff(const Words& arguments)
{
    constexpr std::size_t mostLines = 300;
    const auto path = findPath(arguments);
    const auto file = read();
    if (path)
    {
        write({.verb = "diff", .path = *path, .bytes = patchOf(file.path, file.bytes, model.toBytes())});
        return;
    }
    const auto lines = differencesOf(textOfFile(file.bytes), textOfFile(model.toBytes()), mostLines);
    lines.empty() ? void(out << "No difference from " << file.path << '\n')
                  : view.printDifferences("--- " + file.path + "\n+++ the model\n" + lines);
}

void Editor::exportCopy(const Words& arguments)
{
    writeModel({.verb = "export", .path = findPath(arguments).value()}, HistoryLevel::Exported);
}

bool Editor::isInGroup() const
{
    return levels.back().getKind() == HistoryLevel::Kind::Group;
}

bool Editor::isRecording() const
{
    return std::ranges::find(levels, HistoryLevel::Kind::Recording, &HistoryLevel::getKind) != levels.end();
}

void Editor::requireGroup() const
{
    if (!isInGroup())
    {
        throw VdException("there is no group");
    }
}

void Editor::beginLevel(HistoryLevel::Kind kind, const std::string& name)
{
    levels.back().settle();
    levels.emplace_back(kind, name, modules, actions);
}

void Editor::leaveLevel()
{
    std::prev(levels.end(), 2)->activate();
    levels.pop_back();
}

void Editor::endLevel(const std::string& description, const std::string& script)
{
    levels.back().becomeStepOf(*std::prev(levels.end(), 2), description, script);
    leaveLevel();
}

std::uint64_t Editor::abandonGroup()
{
    const auto count = moveBack(std::numeric_limits<std::uint64_t>::max());
    leaveLevel();
    return count;
}

Editor::Recording Editor::endRecording()
{
    auto& level = levels.back();
    level.settle();
    Recording recording{.count = level.history.getPosition(), .script = level.getScript()};
    endLevel("Recording of " + plural(recording.count, "step"), recording.script);
    return recording;
}

void Editor::printEndOfHistory(std::uint64_t done, std::uint64_t wanted, const std::string& toWhat)
{
    if (done < wanted)
    {
        const std::string recording = isRecording() ? " in this recording" : "";
        const std::string where = isInGroup() ? " in this group" : recording;
        out << "Nothing " << (done == 0 ? "" : "more ") << "to " << toWhat << where << '\n';
    }
}

// What waits to be merged is made a step first, because what is saved must be a place in the history.
void Editor::writeModel(Output output, HistoryLevel::Tracker tracker)
{
    levels.back().settle();
    output.bytes = model.toBytes();
    write(std::move(output));
    levels.back().saveState.saved(tracker);
}

std::set<const Valdane::Object*> Editor::getModifiedModules(HistoryLevel::Tracker tracker) const
{
    std::set<const Valdane::Object*> modified;
    for (const auto& level : levels)
    {
        modified.merge(level.manager.getModifiedModules(tracker));
    }
    return modified;
}

std::vector<std::shared_ptr<XmlObject>> Editor::listModified(HistoryLevel::Tracker tracker) const
{
    if (std::ranges::none_of(levels,
                             [&](const HistoryLevel& level) { return level.saveState.isModified(tracker); }))
    {
        return {};
    }
    const auto modifiedModules = getModifiedModules(tracker);
    std::vector<std::shared_ptr<XmlObject>> all{model.getRoot()};
    std::ranges::copy(model.getRoot()->getElements(), std::back_inserter(all));
    std::erase_if(all, [&](const auto& module) { return !modifiedModules.contains(module.get()); });
    return all;
}

} // namespace ModelEditor
