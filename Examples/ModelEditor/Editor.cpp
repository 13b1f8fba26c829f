#include "Examples/ModelEditor/Editor.h"

#include "Examples/ModelEditor/AnnotateCmd.h"
#include "Examples/ModelEditor/EditorTexts.h"
#include "Examples/ModelEditor/Markup.h"
#include "Examples/ModelEditor/ModelModules.h"
#include "Examples/ModelEditor/NamedXmlObject.h"
#include "Examples/ModelEditor/SetValue.h"
#include "Examples/ModelEditor/Words.h"
#include "Examples/ModelEditor/XmlChange.h"
#include "Examples/ModelEditor/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/SetNameCmd.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

namespace ModelEditor
{

namespace
{

using Valdane::CommandManager;
using Valdane::VdException;

constexpr std::size_t defaultTreeDepth = 2;

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

std::string plural(std::uint64_t count, const std::string& noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace

struct Editor::Verb
{
    std::string_view name;
    std::string_view arguments;
    std::size_t minimum;
    std::size_t maximum;
    std::string_view summary;
    void (Editor::*run)(const Words&);

    std::string getUsage() const
    {
        return std::string(name) + (arguments.empty() ? "" : " ") + std::string(arguments);
    }
};

Editor::Editor(XmlModel& edited, Saver toSave, std::ostream& stream)
    : model(edited),
      saver(std::move(toSave)),
      out(stream),
      view(stream),
      modules(std::make_shared<ModelModules>(edited.getRoot()))
{
    model.setChangeListener([this](const XmlChange& change) { onChanged(change); });
    manager.setModuleAccessInterface(modules);
    connectToManager();
}

Editor::~Editor()
{
    model.setChangeListener({});
}

void Editor::run(const Words& words)
{
    if (words.empty())
    {
        return;
    }
    const Verb& verb = findVerb(words.front());
    const Words arguments(words.begin() + 1, words.end());
    if (arguments.size() < verb.minimum || arguments.size() > verb.maximum)
    {
        throw VdException(std::string(verb.name) + ": write it as: " + verb.getUsage());
    }
    try
    {
        (this->*verb.run)(arguments);
    }
    catch (const VdException& exception)
    {
        throw VdException(std::string(verb.name) + ": " + exception.what());
    }
}

bool Editor::hasQuit() const noexcept
{
    return quits;
}

bool Editor::isModified() const noexcept
{
    return savePoint.isModified();
}

std::string Editor::getHelp()
{
    std::string text;
    for (const auto& verb : getVerbs())
    {
        std::string usage = "  " + verb.getUsage();
        usage.resize(std::max<std::size_t>(usage.size() + 2, 36), ' ');
        text += usage + std::string(verb.summary) + "\n";
    }
    return text.append(editingHelp);
}

const std::vector<Editor::Verb>& Editor::getVerbs()
{
    static const std::vector<Verb> verbs{
        {"tree", "[XPATH] [DEPTH]", 0, 2, "the elements, DEPTH levels deep (2)", &Editor::tree},
        {"show", "XPATH", 1, 1, "values and their types", &Editor::show},
        {"find", "XPATH", 1, 1, "address and value of all that XPATH selects", &Editor::find},
        {"set", "XPATH VALUE", 2, 2, "give an attribute or a text a value of its type", &Editor::set},
        {"rename", "XPATH NAME", 2, 2, "change the name of an element", &Editor::rename},
        {"annotate", "XPATH PREFIX:NAME VALUE", 3, 3, "give an element a namespaced attribute",
         &Editor::annotate},
        {"clear-annotations", "XPATH", 1, 1, "remove all namespaced attributes of an element",
         &Editor::clearAnnotations},
        {"undo", "[N]", 0, 1, "undo N commands (1)", &Editor::undo},
        {"redo", "[N]", 0, 1, "redo N commands (1)", &Editor::redo},
        {"history", "", 0, 0, "what can be undone and redone", &Editor::history},
        {"limit", "[N|off]", 0, 1, "keep at most N commands in the history", &Editor::limit},
        {"save", "[FILE]", 0, 1, "write the model", &Editor::save},
        {"help", "[VERB]", 0, 1, "this text, or the line about VERB", &Editor::help},
        {"quit", "", 0, 0, "end without saving", &Editor::quit},
    };
    return verbs;
}

const Editor::Verb& Editor::findVerb(const std::string& name)
{
    const auto& verbs = getVerbs();
    const auto found = std::ranges::find(verbs, name, &Verb::name);
    if (found == verbs.end())
    {
        throw VdException("no verb " + shown(name) + "; help lists them");
    }
    return *found;
}

void Editor::tree(const Words& arguments)
{
    const auto last = arguments.empty() ? std::nullopt : parse<std::size_t>(arguments.back());
    if (arguments.size() == 2 && !last)
    {
        throw VdException(shown(arguments.back()) + " is not a depth");
    }
    const bool hasXPath = arguments.size() == 2 || (arguments.size() == 1 && !last);
    const auto top = hasXPath ? selectElement(arguments.front()) : model.getRoot();
    view.printTree(top, last.value_or(defaultTreeDepth));
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

void Editor::set(const Words& arguments)
{
    execute(makeSetCommand(selectOne(arguments[0]), arguments[1]));
}

void Editor::rename(const Words& arguments)
{
    const auto object = selectElement(arguments[0]);
    if (dynamic_cast<NamedXmlObject*>(object.get()) == nullptr)
    {
        throw VdException(object->getAddress() + " has no attribute name");
    }
    execute(
        std::make_shared<Valdane::SetNameCmd>(object, arguments[1], describeRename(*object, arguments[1])));
}

void Editor::annotate(const Words& arguments)
{
    const auto& name = arguments[1];
    if (!isAnnotationName(name))
    {
        throw VdException(shown(name) + " is not a name of the form prefix:name");
    }
    const auto object = selectElement(arguments[0]);
    execute(std::make_shared<AnnotateCmd>(object, name, arguments[2],
                                          describeAnnotate(*object, name, arguments[2])));
    noteUndeclared(*object, name.substr(0, name.find(':')));
}

void Editor::clearAnnotations(const Words& arguments)
{
    const auto object = selectElement(arguments[0]);
    if (object->getDynamicAttributeCollection() == nullptr)
    {
        throw VdException(object->getAddress() + " has no annotations");
    }
    execute(std::make_shared<Valdane::ClearDynamicAttributesCmd>(object, describeClear(*object)));
}

void Editor::undo(const Words& arguments)
{
    const auto count = arguments.empty() ? 1 : parseCount<std::uint64_t>(arguments[0]);
    steps = 0;
    const bool done = manager.undo(count);
    manager.emitSigUndoRedoProcessCompleted();
    if (!done)
    {
        throw VdException("'" + manager.getUndoCommand()->getDescription() +
                          "' cannot be undone: " + failure);
    }
    if (steps < count)
    {
        out << "Nothing " << (steps == 0 ? "" : "more ") << "to undo\n";
    }
}

void Editor::redo(const Words& arguments)
{
    const auto count = arguments.empty() ? 1 : parseCount<std::uint64_t>(arguments[0]);
    steps = 0;
    const bool done = manager.redo(count);
    manager.emitSigUndoRedoProcessCompleted();
    if (!done)
    {
        throw VdException("'" + manager.getRedoCommand()->getDescription() +
                          "' cannot be redone: " + failure);
    }
    if (steps < count)
    {
        out << "Nothing " << (steps == 0 ? "" : "more ") << "to redo\n";
    }
}

// Oldest first, so that the position stands between what is done and what is undone.
void Editor::history(const Words& /*arguments*/)
{
    auto done = manager.collectUndoCommandDescriptions();
    const auto undone = manager.collectRedoCommandDescriptions();
    done.reverse();
    std::size_t number = 0;
    const auto print = [&](const std::string& description)
    {
        const std::string text = std::to_string(++number);
        out << std::string(text.size() < 4 ? 4 - text.size() : 0, ' ') << text << "  " << description << '\n';
    };
    std::ranges::for_each(done, print);
    out << "  => " << done.size() << " to undo, " << undone.size() << " to redo\n";
    std::ranges::for_each(undone, print);
}

void Editor::limit(const Words& arguments)
{
    const auto before = manager.getQueueSize();
    if (!arguments.empty() && arguments[0] == "off")
    {
        manager.setUsesMaxQueueSize(false);
    }
    else if (!arguments.empty())
    {
        manager.setMaxQueueSize(parseCount<std::uint32_t>(arguments[0]));
        manager.setUsesMaxQueueSize(true);
    }
    out << (manager.usesMaxQueueSize() ? "Limit " + std::to_string(manager.getMaxQueueSize()) : "No limit");
    const auto dropped = before - manager.getQueueSize();
    out << (dropped == 0 ? "" : ", " + plural(dropped, "command") + " dropped") << '\n';
}

void Editor::save(const Words& arguments)
{
    saver(arguments.empty() ? std::string() : arguments[0]);
    savePoint.onSaved();
}

void Editor::help(const Words& arguments)
{
    if (arguments.empty())
    {
        out << getHelp();
        return;
    }
    const Verb& verb = findVerb(arguments[0]);
    out << verb.getUsage() << ": " << verb.summary << '\n';
}

void Editor::quit(const Words& /*arguments*/)
{
    quits = true;
}

Selected Editor::selectOne(const std::string& xpath) const
{
    auto selection = model.select(xpath);
    if (selection.value)
    {
        throw VdException(xpath + " is a value, not a place in the model");
    }
    if (selection.nodes.empty())
    {
        throw VdException("nothing at " + xpath);
    }
    if (selection.nodes.size() > 1)
    {
        throw VdException(xpath + " selects " + std::to_string(selection.nodes.size()) + " nodes; name one");
    }
    return std::move(selection.nodes.front());
}

std::shared_ptr<XmlObject> Editor::selectElement(const std::string& xpath) const
{
    const auto selected = selectOne(xpath);
    if (selected.part != Part::Element)
    {
        throw VdException(xpath + " is not an element");
    }
    return selected.object;
}

void Editor::execute(const std::shared_ptr<Valdane::CommandBase>& command)
{
    changes.clear();
    if (!manager.addCommand(command))
    {
        throw VdException(failure);
    }
    printStep(command->getDescription());
}

void Editor::printStep(const std::string& line)
{
    out << line << '\n';
    for (const auto& change : changes)
    {
        out << "  " << change << '\n';
    }
    if (changes.empty())
    {
        out << "  (no change)\n";
    }
    changes.clear();
}

void Editor::noteUndeclared(const XmlObject& object, const std::string& prefix)
{
    const std::string declaration = "xmlns:" + prefix;
    bool isDeclared = prefix == "xml";
    for (auto element = object.getElement(); element && !isDeclared; element = element.parent())
    {
        isDeclared = !element.attribute(declaration.c_str()).empty();
    }
    if (!isDeclared)
    {
        out << "  note: there is no " << declaration
            << " around it; programs that know namespaces want one\n";
    }
}

void Editor::onChanged(const XmlChange& change)
{
    modules->onChanged(change.object);
    changes.push_back(describeChange(change));
}

void Editor::connectToManager()
{
    connections.push_back(manager.connectToSigCommandFailed(
        [this](const char* what, const std::string&)
        {
            failure = what;
            changes.clear();
        }));
    connections.push_back(manager.connectToSigCommandQueueChanged(
        [this](CommandManager::QueueChangeReason reason)
        {
            if (reason == CommandManager::CommandAdded)
            {
                savePoint.onCommandAdded();
            }
            else if (reason == CommandManager::CommandUndone)
            {
                ++steps;
                savePoint.onUndone();
                printStep("Undone: " + manager.getRedoCommand()->getDescription());
            }
            else if (reason == CommandManager::CommandRedone)
            {
                ++steps;
                savePoint.onRedone();
                printStep("Redone: " + manager.getUndoCommand()->getDescription());
            }
        }));
}

} // namespace ModelEditor
