#include "Applications/ModelEditor/Terminal/Editor.h"

#include "Applications/ModelEditor/Document/Nodes.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Counts.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Applications/ModelEditor/Edits/ModelModules.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/EditorRun.h"
#include "Applications/ModelEditor/Terminal/EditorVerb.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace ModelEditor
{

namespace
{

using Valdane::VdException;

constexpr std::size_t defaultTreeDepth = 2;
constexpr std::size_t mostChangesTold = 10;

std::shared_ptr<XmlObject> requireOneElement(const XmlModel& model, const std::string& xpath)
{
    const auto nodes = requireNodes(model, xpath);
    if (nodes.size() > 1)
    {
        throw VdException(xpath + " selects " + std::to_string(nodes.size()) + " nodes; name one");
    }
    return requireElement(nodes.front());
}

} // namespace

Editor::Editor(XmlModel& edited, Writer writer, std::ostream& stream, Reader reader,
               std::shared_ptr<HistoryActions> undoAndRedo)
    : model(edited),
      write(std::move(writer)),
      read(std::move(reader)),
      out(stream),
      view(stream, [this] { model.checkInterruption(); }),
      modules(std::make_shared<ModelModules>(edited.getRoot())),
      actions(std::move(undoAndRedo))
{
    levels.emplace_back(HistoryLevel::Kind::Model, std::string(), modules, actions);
    model.setChangeListener([this](const XmlChange& change) { onChanged(change); });
}

Editor::~Editor()
{
    // The other thread uses what is about to go.
    underWay.reset();
    model.setChangeListener({});
}

Valdane::CommandManager& Editor::getManager()
{
    return levels.front().manager;
}

void Editor::activate()
{
    levels.back().activate();
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
        forgetChanges();
        throw VdException(exception.what());
    }
}

bool Editor::isUnderWay() const noexcept
{
    return underWay != nullptr;
}

void Editor::setInterruption(const Interruption* asked) noexcept
{
    model.setInterruption(asked);
}

const WakeUp& Editor::getWakeUp() const noexcept
{
    return wakeUp;
}

void Editor::finish()
{
    if (isInGroup())
    {
        const std::string what = "the group " + brief(levels.back().getName()) + " has no end";
        throw VdException(what + giveUpGroup());
    }
    if (isRecording())
    {
        endRecording();
        throw VdException("the recording was not stopped; no script is written");
    }
}

bool Editor::takeQuit() noexcept
{
    return std::exchange(quits, false);
}

void Editor::takeLimitOf(const Editor& other)
{
    levels.front().setLimit(other.levels.front().getLimit());
}

std::vector<std::string> Editor::getUnsaved() const
{
    std::vector<std::string> addresses;
    for (const auto& module : listModified(HistoryLevel::Saved))
    {
        addresses.push_back(module->getAddress());
    }
    return addresses;
}

std::string Editor::getPrompt(const std::string& modelName) const
{
    const bool isGone = model.isCurrentGone();
    const auto current = isGone ? nullptr : model.getCurrent();
    return modelName + (current == nullptr ? "" : " " + current->getAddress()) + (isGone ? " [gone]" : "") +
           (isRecording() ? " [recording]" : "") +
           (isInGroup() ? " (" + brief(levels.back().getName()) + ")" : "") + "> ";
}

Completion Editor::complete(std::string_view line) const
{
    std::vector<Completer::Verb> known;
    for (const auto& verb : Verb::getAll())
    {
        known.push_back({verb.name, verb.arguments});
    }
    return Completer(model, known, &Editor::findVerb).complete(line);
}

std::string Editor::findVerb(const std::string& name)
{
    return std::string(Verb::find(name).name);
}

void Editor::runVerb(const Words& words)
{
    const Verb& verb = Verb::find(words.front());
    const Words arguments(words.begin() + 1, words.end());
    forgetChanges();
    try
    {
        verb.requireCount(arguments);
        requirePlace(verb);
        if (verb.makeEdit != nullptr)
        {
            const Edit edit = verb.makeEdit(model, arguments);
            levels.back().execute(edit.command, getLine(verb, arguments));
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

void Editor::requirePlace(const Verb& verb) const
{
    if (underWay != nullptr && !verb.isForRuns)
    {
        throw VdException("not while " + brief(underWay->command->getDescription()) +
                          " is under way; abort it, or wait (status tells how far it is)");
    }
    if (verb.place != Verb::Place::Anywhere && isInGroup())
    {
        throw VdException("not in a group; end or abandon it first");
    }
    if (verb.place == Verb::Place::OutsideGroupAndRecording && isRecording())
    {
        throw VdException("not in a recording; stop it first");
    }
}

std::string Editor::giveUpGroup()
{
    if (!isInGroup())
    {
        return "";
    }
    const std::string name = brief(levels.back().getName());
    const auto count = abandonGroup();
    return "; the group " + name + " is ended, " + plural(count, "step") + " undone";
}

void Editor::tree(const Words& arguments)
{
    const auto last = arguments.empty() ? std::nullopt : findCount<std::size_t>(arguments.back());
    if (arguments.size() == 2 && !last)
    {
        throw VdException(shown(arguments.back()) + " is not a depth");
    }
    const bool hasXPath = arguments.size() == 2 || (arguments.size() == 1 && !last);
    const auto named = hasXPath ? requireOneElement(model, arguments.front()) : model.getCurrent();
    const auto top = named == nullptr ? model.getRoot() : named;
    view.printTree(top, last.value_or(defaultTreeDepth), getModifiedModules(HistoryLevel::Saved));
}

void Editor::changeCurrent(const Words& arguments)
{
    model.setCurrent(arguments.empty() ? nullptr : requireOneElement(model, arguments.front()));
}

void Editor::printCurrent(const Words& /*arguments*/)
{
    const auto current = model.getCurrent();
    out << (current == nullptr ? "/" : current->getAddress()) << '\n';
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

void Editor::quit(const Words& /*arguments*/)
{
    quits = true;
}

// The line of a script that does the same, wherever addresses start when it is played.
std::string Editor::getLine(const Verb& verb, const Words& arguments) const
{
    Words words{std::string(verb.name)};
    const Words kinds = splitWords(verb.arguments);
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        const bool isAddress = i < kinds.size() && (kinds[i] == "XPATH" || kinds[i] == "TARGET");
        words.push_back(isAddress && isRecording() ? absolute(arguments[i]) : arguments[i]);
    }
    return joinWords(words) + "\n";
}

// An address that starts at the document and selects the same.
std::string Editor::absolute(const std::string& xpath) const
{
    const auto current = xpath.starts_with('/') ? nullptr : model.getCurrent();
    if (current == nullptr)
    {
        return xpath;
    }
    const auto addressesFrom = [this](const std::shared_ptr<XmlObject>& start, const std::string& selecting)
    {
        std::vector<std::string> addresses;
        for (const auto& selected : model.selectFrom(start, selecting).nodes)
        {
            addresses.push_back(selected.getAddress());
        }
        return addresses;
    };
    auto whole = current->getAddress() + "/" + xpath;
    if (addressesFrom(nullptr, whole) != addressesFrom(current, xpath))
    {
        throw VdException(xpath + " cannot be recorded; start it with /");
    }
    return whole;
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

// While work is running it is the other thread that adds to them.
void Editor::forgetChanges()
{
    if (underWay == nullptr)
    {
        changes.clear();
    }
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
