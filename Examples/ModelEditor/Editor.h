#pragma once

#include "Examples/ModelEditor/ModelView.h"
#include "Examples/ModelEditor/SavePoint.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandManager.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace Valdane
{
class CommandBase;
} // namespace Valdane

namespace ModelEditor
{

class ModelModules;
class XmlModel;
class XmlObject;
struct Selected;
struct XmlChange;

/// Carries out command lines on a model: the verbs that `help` lists.
///
/// All that changes the model is a command of one command manager, and can be undone.
///
/// Ownership: refers to model and stream, which must live longer. Thread: the application's main thread only.
class Editor
{
public:
    using Words = std::vector<std::string>;
    /// Saves the model; takes the path that `save` was given, empty if none.
    using Saver = std::function<void(const std::string& path)>;

    Editor(XmlModel& edited, Saver toSave, std::ostream& stream);
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;
    ~Editor();

    /// Carries out the line that consists of @p words; none is fine.
    ///
    /// @throws VdException `<verb>: <what is wrong>`; the model is then as before, except for the steps that
    ///         an `undo` or `redo` has done before the one that failed.
    void run(const Words& words);

    bool hasQuit() const noexcept;

    /// Whether there are changes that no `save` has seen.
    bool isModified() const noexcept;

    /// What `help` prints.
    static std::string getHelp();

private:
    struct Verb;

    static const std::vector<Verb>& getVerbs();
    static const Verb& findVerb(const std::string& name);

    void tree(const Words& arguments);
    void show(const Words& arguments);
    void find(const Words& arguments);
    void set(const Words& arguments);
    void rename(const Words& arguments);
    void annotate(const Words& arguments);
    void clearAnnotations(const Words& arguments);
    void undo(const Words& arguments);
    void redo(const Words& arguments);
    void history(const Words& arguments);
    void limit(const Words& arguments);
    void save(const Words& arguments);
    void help(const Words& arguments);
    void quit(const Words& arguments);

    Selected selectOne(const std::string& xpath) const;
    std::shared_ptr<XmlObject> selectElement(const std::string& xpath) const;
    void execute(const std::shared_ptr<Valdane::CommandBase>& command);
    void printStep(const std::string& line);
    void noteUndeclared(const XmlObject& object, const std::string& prefix);
    void onChanged(const XmlChange& change);
    void connectToManager();

    XmlModel& model;
    Saver saver;
    std::ostream& out;
    ModelView view;
    std::shared_ptr<ModelModules> modules;
    Valdane::CommandManager manager;
    SavePoint savePoint;
    // What the step under way has changed so far, and why it failed.
    std::vector<std::string> changes;
    std::string failure;
    std::uint64_t steps = 0;
    bool quits = false;
    std::vector<Valdane::Signals::Connection> connections;
};

} // namespace ModelEditor
