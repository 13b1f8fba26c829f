#include "Examples/ModelEditor/Editor.h"

#include "Examples/ModelEditor/EditorTexts.h"
#include "Examples/ModelEditor/EditorVerb.h"
#include "Examples/ModelEditor/Edits.h"
#include "Examples/ModelEditor/HistoryView.h"
#include "Examples/ModelEditor/ModelModules.h"
#include "Examples/ModelEditor/Nodes.h"
#include "Examples/ModelEditor/Words.h"
#include "Examples/ModelEditor/Works.h"
#include "Examples/ModelEditor/XmlChange.h"
#include "Examples/ModelEditor/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/LogMessage.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

namespace ModelEditor
{

namespace
{

using Valdane::VdException;

constexpr std::size_t defaultTreeDepth = 2;
constexpr std::size_t mostChangesTold = 10;

template <typename T>
std::optional<T> parse(const std::string& text)
{
    T value{};
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return whole ? std::optional<T>(value) : std::nullopt;
}

template <typename T>
T parseCount(const std::string& text)
{
    const auto count = parse<T>(text);
    if (!count)
    {
        throw VdException(shown(text) + " is not a count");
    }
    return *count;
}

std::shared_ptr<XmlObject> requireOneElement(const XmlModel& model, const std::string& xpath)
{
    const auto nodes = requireNodes(model, xpath);
    if (nodes.size() > 1)
    {
        throw VdException(xpath + " selects " + std::to_string(nodes.size()) + " nodes; name one");
    }
    return requireElement(nodes.front());
}

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

EditHistory::Tracker parseTracker(const Editor::Words& arguments)
{
    if (arguments.empty() || arguments[0] == "save")
    {
        return EditHistory::Saved;
    }
    if (arguments[0] != "export")
    {
        throw VdException(shown(arguments[0]) + " is neither save nor export");
    }
    return EditHistory::Exported;
}

} // namespace

// What works on another thread.
struct Editor::Run
{
    std::string verb;
    Work work;
    bool isAborted = false;
    std::string failure;
    std::uint64_t concluded = 0;
};

Editor::Editor(XmlModel& edited, Writer writer, std::ostream& stream)
    : model(edited),
      write(std::move(writer)),
      out(stream),
      view(stream),
      modules(std::make_shared<ModelModules>(edited.getRoot())),
      history(modules, [this](const std::string& step) { printStep(step); })
{
    model.setChangeListener([this](const XmlChange& change) { onChanged(change); });
}

Editor::~Editor()
{
    // The other thread uses what is about to go.
    abort();
    while (underWay != nullptr && !goOn())
    {
        wakeUp.wait();
    }
    model.setChangeListener({});
}

void Editor::run(const std::string& line)
{
    try
    {
        const auto words = splitWords(line);
        if (!words.empty())
        {
            runVerb(words);
        }
    }
    catch (const std::exception& exception)
    {
        fail(exception.what());
    }
}

bool Editor::isUnderWay() const noexcept
{
    return underWay != nullptr;
}

const WakeUp& Editor::getWakeUp() const noexcept
{
    return wakeUp;
}

bool Editor::goOn()
{
    try
    {
        ++underWay->concluded;
        return history.getCurrent().goOn();
    }
    catch (const VdException& exception)
    {
        underWay->failure = exception.what();
        return true;
    }
}

void Editor::conclude()
{
    const auto run = std::exchange(underWay, nullptr);
    if (!run->failure.empty())
    {
        throw VdException(run->verb + ": " + run->failure);
    }
    if (run->isAborted)
    {
        throw VdException(run->verb + ": aborted; nothing has changed");
    }
    out << run->work.get().getDescription() << '\n';
    printChanges();
    if (run->work.tellResult)
    {
        out << run->work.tellResult();
    }
}

void Editor::abort()
{
    if (underWay != nullptr)
    {
        underWay->isAborted = true;
        history.getCurrent().abort();
    }
}

std::string Editor::getStep() const
{
    const auto message = underWay->work.get().getProgressPtr()->getLastMessage();
    return message == nullptr ? std::string() : message->getText();
}

int Editor::getPercentConcluded() const
{
    const auto& macro = underWay->work.macro;
    return macro == nullptr ? 0 : static_cast<int>(underWay->concluded * 100 / macro->size());
}

int Editor::getPercent() const
{
    return static_cast<int>(underWay->work.get().getProgressPtr()->fraction() * 100);
}

void Editor::finish()
{
    if (history.getGroup())
    {
        fail("the group " + brief(*history.getGroup()) + " has no end");
    }
    if (history.isRecording())
    {
        history.endRecording();
        throw VdException("the recording was not stopped; no script is written");
    }
}

bool Editor::takeQuit() noexcept
{
    return std::exchange(quits, false);
}

std::vector<std::string> Editor::getUnsaved() const
{
    std::vector<std::string> addresses;
    for (const auto& module : listModified(EditHistory::Saved))
    {
        addresses.push_back(module->getAddress());
    }
    return addresses;
}

std::string Editor::getPrompt() const
{
    const auto& group = history.getGroup();
    return std::string("model") + (history.isRecording() ? " [recording]" : "") +
           (group ? " (" + brief(*group) + ")" : "") + "> ";
}

std::string Editor::getHelp()
{
    std::string text;
    for (const auto& verb : Verb::getAll())
    {
        std::string usage = "  " + verb.getUsage();
        usage.resize(std::max<std::size_t>(usage.size() + 2, 36), ' ');
        text += usage + std::string(verb.summary) + "\n";
    }
    return text.append(editingHelp);
}

void Editor::runVerb(const Words& words)
{
    const Verb& verb = Verb::find(words.front());
    const Words arguments(words.begin() + 1, words.end());
    if (underWay == nullptr)
    {
        changes.clear(); // else it is the other thread that adds to them
    }
    try
    {
        verb.requireCount(arguments);
        requirePlace(verb);
        if (verb.makeWork != nullptr)
        {
            start(verb, words);
        }
        else if (verb.makeEdit != nullptr)
        {
            const Edit edit = verb.makeEdit(model, arguments);
            history.getCurrent().execute(edit.command, joinWords(words) + "\n");
            printEdit(edit);
        }
        else
        {
            (this->*verb.run)(arguments);
        }
    }
    catch (const VdException& exception)
    {
        throw VdException(std::string(verb.name) + ": " + exception.what());
    }
}

void Editor::start(const Verb& verb, const Words& words)
{
    const Words arguments(words.begin() + 1, words.end());
    auto run = std::make_unique<Run>(Run{.verb = std::string(verb.name),
                                         .work = verb.makeWork(model, arguments),
                                         .isAborted = false,
                                         .failure = {},
                                         .concluded = 0});
    history.getCurrent().start(run->work, joinWords(words) + "\n", [this] { wakeUp.signal(); });
    underWay = std::move(run);
}

void Editor::requirePlace(const Verb& verb) const
{
    if (underWay != nullptr && !verb.isForRuns)
    {
        throw VdException("not while " + brief(underWay->work.get().getDescription()) +
                          " is under way; abort it, or wait (status tells how far it is)");
    }
    if (verb.place != Verb::Place::Anywhere && history.getGroup())
    {
        throw VdException("not in a group; end or abandon it first");
    }
    if (verb.place == Verb::Place::OutsideGroupAndRecording && history.isRecording())
    {
        throw VdException("not in a recording; stop it first");
    }
}

void Editor::fail(const std::string& what)
{
    const auto group = history.getGroup();
    if (!group)
    {
        throw VdException(what);
    }
    changes.clear();
    const auto count = history.abandonGroup();
    throw VdException(what + "; the group " + brief(*group) + " is ended, " + plural(count, "step") +
                      " undone");
}

void Editor::tree(const Words& arguments)
{
    const auto last = arguments.empty() ? std::nullopt : parse<std::size_t>(arguments.back());
    if (arguments.size() == 2 && !last)
    {
        throw VdException(shown(arguments.back()) + " is not a depth");
    }
    const bool hasXPath = arguments.size() == 2 || (arguments.size() == 1 && !last);
    const auto top = hasXPath ? requireOneElement(model, arguments.front()) : model.getRoot();
    view.printTree(top, last.value_or(defaultTreeDepth), history.getModifiedModules(EditHistory::Saved));
}

void Editor::show(const Words& arguments)
{
    const auto selection = model.select(arguments.front());
    if (selection.value)
    {
        out << shown(*selection.value) << '\n';
    }
    else if (selection.nodes.empty())
    {
        throw VdException("nothing at " + arguments.front());
    }
    for (const auto& selected : selection.nodes)
    {
        view.printDetails(selected);
    }
}

void Editor::find(const Words& arguments)
{
    const auto selection = model.select(arguments.front());
    if (selection.value)
    {
        out << shown(*selection.value) << '\n';
        return;
    }
    for (const auto& selected : selection.nodes)
    {
        view.printLine(selected);
    }
    out << plural(selection.nodes.size(), "node") << '\n';
}

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
    history.getCurrent().executeToMerge(edit.command, joinWords(arguments) + "\n");
    printEdit(edit);
}

void Editor::group(const Words& arguments)
{
    history.beginGroup(arguments[0]);
}

void Editor::end(const Words& /*arguments*/)
{
    const std::string name = brief(history.getGroup().value_or(""));
    const auto count = history.endGroup();
    out << "Group " << name << ": " << plural(count, "step") << (count == 0 ? ", no entry\n" : " as one\n");
}

void Editor::abandon(const Words& /*arguments*/)
{
    const std::string name = brief(history.getGroup().value_or(""));
    const auto count = history.abandonGroup();
    out << "Group " << name << " abandoned, " << plural(count, "step") << " undone\n";
}

void Editor::status(const Words& /*arguments*/)
{
    if (underWay == nullptr)
    {
        out << "Nothing is under way\n";
        return;
    }
    const auto step = getStep();
    out << underWay->work.get().getDescription() << ", " << getPercent() << " %" << (step.empty() ? "" : ": ")
        << step << '\n';
}

void Editor::abortRun(const Words& /*arguments*/)
{
    if (underWay == nullptr)
    {
        throw VdException("nothing is under way");
    }
    abort();
}

void Editor::undo(const Words& arguments)
{
    const auto count = arguments.empty() ? 1 : parseCount<std::uint64_t>(arguments[0]);
    printEndOfHistory(history.getCurrent().undo(count), count, "undo");
}

void Editor::redo(const Words& arguments)
{
    const auto count = arguments.empty() ? 1 : parseCount<std::uint64_t>(arguments[0]);
    printEndOfHistory(history.getCurrent().redo(count), count, "redo");
}

void Editor::showHistory(const Words& /*arguments*/)
{
    printHistory(out, history);
}

void Editor::limit(const Words& arguments)
{
    auto& scope = history.getCurrent();
    std::uint64_t dropped = 0;
    if (!arguments.empty())
    {
        dropped = scope.setLimit(
            arguments[0] == "off" ? std::nullopt : std::optional(parseCount<std::uint32_t>(arguments[0])));
    }
    const auto now = scope.getLimit();
    out << (now ? "Limit " + std::to_string(*now) : "No limit")
        << (dropped == 0 ? "" : ", " + plural(dropped, "step") + " dropped") << '\n';
}

void Editor::record(const Words& /*arguments*/)
{
    history.beginRecording();
}

void Editor::stop(const Words& arguments)
{
    const auto path = findPath(arguments);
    const auto recording = history.endRecording();
    out << "Recorded " << plural(recording.count, "step")
        << (recording.count == 0 ? "\n" : ", now one in the history:\n") << recording.script;
    if (path)
    {
        write({.verb = "stop", .path = *path, .bytes = recordingHeader + recording.script});
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
    writeModel("save", findPath(arguments).value_or(""), EditHistory::Saved);
}

void Editor::exportCopy(const Words& arguments)
{
    writeModel("export", findPath(arguments).value(), EditHistory::Exported);
}

void Editor::help(const Words& arguments)
{
    if (arguments.empty())
    {
        out << getHelp();
        return;
    }
    const Verb& verb = Verb::find(arguments[0]);
    out << verb.getUsage() << ": " << verb.summary << '\n';
}

void Editor::quit(const Words& /*arguments*/)
{
    quits = true;
}

void Editor::printEdit(const Edit& edit)
{
    printStep(edit.command->getDescription());
    out << edit.note;
}

void Editor::printStep(const std::string& line)
{
    out << line << '\n';
    if (changes.empty())
    {
        out << "  (no change)\n";
    }
    printChanges();
}

void Editor::printChanges()
{
    const auto changed = std::exchange(changes, {});
    for (std::size_t i = 0; i < std::min(changed.size(), mostChangesTold); ++i)
    {
        out << "  " << changed[i] << '\n';
    }
    if (changed.size() > mostChangesTold)
    {
        out << "  and " << plural(changed.size() - mostChangesTold, "more change") << '\n';
    }
}

void Editor::printEndOfHistory(std::uint64_t done, std::uint64_t wanted, const std::string& toWhat)
{
    if (done < wanted)
    {
        const std::string where = history.getGroup()      ? " in this group"
                                  : history.isRecording() ? " in this recording"
                                                          : "";
        out << "Nothing " << (done == 0 ? "" : "more ") << "to " << toWhat << where << '\n';
    }
}

// What waits to be merged is made a step first, because what is saved must be a place in the history.
void Editor::writeModel(const std::string& verb, const std::string& path, EditHistory::Tracker tracker)
{
    history.getCurrent().settle();
    write({.verb = verb, .path = path, .bytes = model.toBytes()});
    history.onSaved(tracker);
}

std::vector<std::shared_ptr<XmlObject>> Editor::listModified(EditHistory::Tracker tracker) const
{
    const auto modifiedModules = history.getModifiedModules(tracker);
    std::vector<std::shared_ptr<XmlObject>> all{model.getRoot()};
    for (const auto& child : model.getRoot()->getChildren())
    {
        all.push_back(std::static_pointer_cast<XmlObject>(child));
    }
    std::erase_if(all, [&](const auto& module) { return !modifiedModules.contains(module.get()); });
    return all;
}

void Editor::onChanged(const XmlChange& change)
{
    modules->onChanged(change.object);
    if (change.child != nullptr)
    {
        modules->onChanged(*change.child);
    }
    changes.push_back(describeChange(change));
}

} // namespace ModelEditor
