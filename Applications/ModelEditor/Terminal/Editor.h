#pragma once

#include "Applications/ModelEditor/Terminal/Completion.h"
#include "Applications/ModelEditor/Terminal/HistoryActions.h"
#include "Applications/ModelEditor/Terminal/HistoryLevel.h"
#include "Applications/ModelEditor/Terminal/ModelView.h"
#include "Applications/ModelEditor/Terminal/WakeUp.h"
#include "Service/Editing/ThreadedRun.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Valdane
{
class Object;
} // namespace Valdane

namespace ModelEditor
{

class Interruption;
class ModelModules;
class XmlModel;
class XmlObject;
struct Edit;
struct XmlChange;

/// A file that a command line wants to be written.
struct Output
{
    std::string verb;
    std::string path;      ///< empty for the model's own file
    std::string bytes{};   ///< its content
    bool isForced = false; ///< whatever speaks against it
};

/// What a line wants to be done to the files that are open.
struct FileRequest
{
    enum class Kind
    {
        Open,
        List,
        Use,
        Close,
        Reload,
        SaveAll,
    };

    Kind kind;
    std::string verb;   ///< for messages
    std::string file{}; ///< which one, if one is named
};

/// A file that was read.
struct Input
{
    std::string path;
    std::string bytes;
};

/// Carries out command lines on a model: the verbs that `help` lists.
///
/// All that changes the model is a command, and can be undone.
///
/// Ownership: refers to model and stream, which must live longer. Thread: the application's main thread only.
class Editor
{
public:
    using Words = std::vector<std::string>;
    /// Writes a file, or sees to it later. Throws what is derived from std::exception if it cannot.
    using Writer = std::function<void(Output output)>;

    /// Reads the file of the model as it is now; throws as a writer does.
    using Reader = std::function<Input()>;

    /// Is active at once.
    ///
    /// @param undoAndRedo  those of all editors of which one is active at a time.
    Editor(XmlModel& edited, Writer writer, std::ostream& stream, Reader reader = {},
           std::shared_ptr<HistoryActions> undoAndRedo = std::make_shared<HistoryActions>());
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;
    ~Editor();

    /// Makes it the one that undo and redo concern.
    void activate();

    /// That of the model: what a recording or a group does comes there when that ends.
    Valdane::CommandManager& getManager();

    /// Carries out @p line; an empty one or a comment is fine.
    ///
    /// @pre it is active (not checked).
    /// @throws VdException `<verb>: <what is wrong>`; the model is then as before, except for the steps that
    ///         an `undo` or `redo` has done before the one that failed. An open group stays open.
    void run(const std::string& line);

    /// Undoes and ends the group that is open: nobody can say how it was meant to go on after a line that failed.
    /// @return what to say of it behind the failure; empty if there is none.
    std::string giveUpGroup();

    /// Whether a line has started work on another thread that is not over. goOn() must then be called
    /// whenever getWakeUp() was signalled, and only `status`, `abort` and `help` can be run.
    bool isUnderWay() const noexcept;

    const WakeUp& getWakeUp() const noexcept;

    /// Takes the running work a step further. @return whether it is over; conclude() must follow then.
    bool goOn();

    /// Prints what came of the work that is over.
    ///
    /// @throws VdException `<verb>: <what is wrong>` if it failed or was aborted; the model is then as it was
    ///         before.
    void conclude();

    /// Asks the running work to stop; does nothing without any.
    void abort();

    /// How far the work is just now. @pre isUnderWay() (not checked).
    Valdane::ThreadedRun::Progress getProgress() const;

    /// The share of it that goOn() has concluded, in percent, which does not depend on how fast the other
    /// thread is.
    ///
    /// @pre goOn() has answered false (not checked).
    int getPercentConcluded() const;

    /// Ends what is still open when no line follows: undoes a group, stops a recording.
    ///
    /// @throws VdException if there was one.
    void finish();

    /// Whether `quit` was run since this was asked last.
    bool takeQuit() noexcept;

    /// What a line has asked for since this was asked last. Who carries it out may destroy this editor.
    std::optional<FileRequest> takeRequest() noexcept;

    /// Has the history keep as many steps as that of @p other does.
    void takeLimitOf(const Editor& other);

    /// The addresses of the modules that no `save` has seen as they are, in the order of the file.
    std::vector<std::string> getUnsaved() const;

    /// What a person is to see before the next line: tells of a group and of a recording.
    std::string getPrompt(const std::string& modelName = "model") const;

    /// Has lines that look for something or show it stop when @p asked says so: they fail with `<verb>: interrupted`.
    ///
    /// @param asked  a null pointer ends that.
    void setInterruption(const Interruption* asked) noexcept;

    /// What may complete @p line, which is typed up to the cursor.
    Completion complete(std::string_view line) const;

    /// The verb that @p name stands for, which may be shortened. @throws VdException if there is none, or several.
    static std::string findVerb(const std::string& name);

    /// What `help` prints.
    static std::string getHelp();

private:
    struct Verb;
    struct Run;

    struct Recording
    {
        std::uint64_t count;
        std::string script;
    };

    void runVerb(const Words& words);
    void requirePlace(const Verb& verb) const;

    void tree(const Words& arguments);
    void changeCurrent(const Words& arguments);
    void printCurrent(const Words& arguments);
    void show(const Words& arguments);
    void find(const Words& arguments);
    void merge(const Words& arguments);
    void group(const Words& arguments);
    void end(const Words& arguments);
    void abandon(const Words& arguments);
    void scale(const Words& arguments);
    void check(const Words& arguments);
    void importFile(const Words& arguments);
    void status(const Words& arguments);
    void abortRun(const Words& arguments);
    void undo(const Words& arguments);
    void redo(const Words& arguments);
    void goTo(const Words& arguments);
    void showHistory(const Words& arguments);
    void limit(const Words& arguments);
    void record(const Words& arguments);
    void stop(const Words& arguments);
    void modified(const Words& arguments);
    void save(const Words& arguments);
    void saveAnyway(const Words& arguments);
    void diff(const Words& arguments);
    void open(const Words& arguments);
    void listFiles(const Words& arguments);
    void use(const Words& arguments);
    void close(const Words& arguments);
    void closeAnyway(const Words& arguments);
    void saveAll(const Words& arguments);
    void reload(const Words& arguments);
    void reloadAnyway(const Words& arguments);
    void exportCopy(const Words& arguments);
    void help(const Words& arguments);
    void quit(const Words& arguments);

    template <typename Command>
    void start(const std::string& verb, const Words& arguments, const std::shared_ptr<Command>& command,
               std::function<std::string()> tellResult);
    void onFinished(const Run& run, const std::string& script);

    bool isInGroup() const;
    bool isRecording() const;
    void requireGroup() const;
    void beginLevel(HistoryLevel::Kind kind, const std::string& name);
    void leaveLevel();
    void endLevel(const std::string& description, const std::string& script);
    std::uint64_t abandonGroup();
    Recording endRecording();

    std::string getLine(const Verb& verb, const Words& arguments) const;
    std::string absolute(const std::string& xpath) const;

    void printEdit(const Edit& edit);
    void printStep(const std::string& line);
    void printChanges();
    void forgetChanges();
    void moveTo(std::uint64_t wanted);
    std::uint64_t moveBack(std::uint64_t count);
    std::uint64_t moveForward(std::uint64_t count);
    std::uint64_t requireSavedPosition();
    void printEndOfHistory(std::uint64_t done, std::uint64_t wanted, const std::string& toWhat);
    void requireSaved(const std::string& insisting) const;
    void writeModel(Output output, HistoryLevel::Tracker tracker);
    std::set<const Valdane::Object*> getModifiedModules(HistoryLevel::Tracker tracker) const;
    std::vector<std::shared_ptr<XmlObject>> listModified(HistoryLevel::Tracker tracker) const;
    void onChanged(const XmlChange& change);

    XmlModel& model;
    Writer write;
    Reader read;
    std::ostream& out;
    ModelView view;
    std::shared_ptr<ModelModules> modules;
    std::shared_ptr<HistoryActions> actions;
    // That of the model, of a recording and of a group. Edits, undo and redo concern the last one.
    std::list<HistoryLevel> levels;
    // What the running step has changed so far.
    std::vector<std::string> changes;
    WakeUp wakeUp;
    std::unique_ptr<Run> underWay;
    bool quits = false;
    std::optional<FileRequest> request;
};

} // namespace ModelEditor
