#pragma once

#include "Applications/ModelEditor/Desktop/ElementModel.h"
#include "Applications/ModelEditor/Document/KnownFiles.h"
#include "Applications/ModelEditor/Document/LoadedModel.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Editing/ActiveHistory.h"
#include "Service/Editing/MergePolicy.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/ThreadedRun.h"
#include "Toolkit/Qt/HistoryModel.h"

#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <string>

namespace Valdane
{
class ThreadedCommand;
class ThreadedMacroCommand;
} // namespace Valdane

namespace ModelEditor
{

class FileJournal;
class ModelModules;

/// A file that is open: its model, its history, and what was saved. Has no widgets.
///
/// All that changes the model goes through here, is a command, and is refused while a run has the model.
///
/// Ownership: refers to the history of the application and to the known files, which must live longer.
/// Thread: the GUI thread.
class OpenDocument : public QObject
{
    Q_OBJECT

public:
    /// The two purposes for which a model is written, numbered as the trackers of the command manager are.
    enum Tracker : std::uint64_t
    {
        Saved = 0,
        Exported = 1,
    };

    /// Who may look at the model during a run.
    enum class Beside
    {
        Nobody,  ///< it changes the model on the other thread
        Readers, ///< it does nothing there but read nodes and texts
    };

    using MakeEdit = std::function<Edit(XmlModel& model)>;
    /// What came of a run, for people.
    using TellResult = std::function<QString()>;

    OpenDocument(LoadedModel loaded, Valdane::ActiveHistory& active, KnownFiles& knownFiles);
    ~OpenDocument() override;

    XmlModel& getModel();
    ElementModel& getElements();
    Valdane::CommandManager& getManager();
    Valdane::HistoryModel& getHistory();
    Valdane::SaveState& getSaveState();
    Valdane::ThreadedRun& getRun();

    /// The file that was loaded or saved last.
    const std::string& getPath() const;
    /// Its name without folders.
    QString getName() const;

    /// Keeps what is done from now on in a journal. @pre nothing was done yet (not checked).
    void keepJournal(std::unique_ptr<FileJournal> used);

    /// Brings back what a program that died has left in a journal, and keeps new steps there.
    ///
    /// @return why not all came back; empty if it did.
    /// @throws VdException, nothing has changed then.
    /// @pre the model is that of FileJournal::loadBase(), and nothing was done yet (not checked).
    std::string bringBack(std::unique_ptr<FileJournal> used);

    /// The document is closed well, so that nothing of it is to come back.
    void closeJournal();

    /// From now on undo and redo concern this one.
    void activate();

    /// Whether a run is there, so that nothing is edited. It has the model for itself unless isReadable().
    bool isBusy() const;
    /// Whether the model may be looked at: its elements, objects, values and addresses.
    bool isReadable() const;
    bool isModified() const;
    bool isRecording() const;

    /// Makes an edit and executes it as one step. What speaks against it is told by refused(). @return whether it is done.
    bool edit(const QString& what, const MakeEdit& make);

    /// The same as a part of the last step, if that had the same key; see Valdane::MergePolicy.
    bool editMerging(const QString& what, const std::string& key, const MakeEdit& make);

    /// The next merging edit begins a step.
    void endStep();

    /// Starts work on another thread. @return whether it was started.
    bool start(const std::shared_ptr<Valdane::ThreadedCommand>& command, Beside allowed, TellResult tell);

    /// The same for a macro that is made now. @param tell  may be empty.
    bool start(const QString& what, Beside allowed,
               const std::function<std::shared_ptr<Valdane::ThreadedMacroCommand>(XmlModel& model)>& make,
               std::function<QString(const Valdane::ThreadedMacroCommand&)> tell);

    /// What follows becomes one step of that name, until it is finished, or discarded and undone.
    void beginRecording(const QString& name);
    void finishRecording();
    void discardRecording();

    /// Writes the model to @p path. @throws VdException with the reason; nothing is saved then.
    void save(const std::string& path);
    /// Writes a copy. @throws as save().
    void exportTo(const std::string& path);

Q_SIGNALS:
    /// Nothing has changed, and why.
    void refused(const QString& what, const QString& why);
    /// What a person should know about an edit, a run or a file. @param tip  what is too long to be read at once.
    void noted(const QString& text, const QString& tip = {});
    /// When the event loop runs after changes of the model, its history, or what is saved.
    void changed();
    /// A run has begun or is over.
    void busyChanged(bool isBusy);
    /// What a run that is over and well has to tell.
    void resultReady(const QString& title, const QString& text);

private:
    void follow(std::unique_ptr<FileJournal> used);
    bool carryOut(const QString& what, const MakeEdit& make,
                  const std::function<bool(const std::shared_ptr<Valdane::CommandBase>&)>& execute);
    bool tryTo(const QString& what, const std::function<void()>& begin);
    void requireIdle() const;
    void requireNoRecording() const;
    void onFinished(Valdane::ThreadedRun::Result result, const std::string& why);
    void changeLater();
    void tellChange();
    void write(const std::string& path, Tracker tracker);

    std::string path;
    std::unique_ptr<XmlModel> model;
    std::shared_ptr<ModelModules> modules;
    KnownFiles& known;
    ElementModel elements;
    Valdane::CommandManager manager;
    Valdane::HistoryModel history;
    Valdane::SaveState saveState;
    Valdane::MergePolicy policy;
    Valdane::ActiveHistory::Document document;
    std::unique_ptr<FileJournal> journal;
    Valdane::ThreadedRun run;
    std::shared_ptr<Valdane::CommandBase> running;
    Beside beside = Beside::Nobody;
    TellResult tellResult;
    bool isChangePending = false;
    Valdane::Signals::Connection journalEnded;
    Valdane::Signals::Connection failed;
    Valdane::Signals::Connection historyChanged;
    Valdane::Signals::Connection executed;
    Valdane::Signals::Connection groupsChanged;
    Valdane::Signals::Connection started;
    Valdane::Signals::Connection finished;
};

} // namespace ModelEditor
