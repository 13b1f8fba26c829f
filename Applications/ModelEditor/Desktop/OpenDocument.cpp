#include "Applications/ModelEditor/Desktop/OpenDocument.h"

#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Edits/ModelModules.h"
#include "Applications/ModelEditor/Recovery/FileJournal.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Toolkit/Qt/PostToEventLoop.h"

#include <QFileInfo>
#include <QTimer>
#include <utility>

namespace ModelEditor
{

using Valdane::ThreadedRun;
using Valdane::VdException;

OpenDocument::OpenDocument(LoadedModel loaded, Valdane::ActiveHistory& active, KnownFiles& knownFiles)
    : path(std::move(loaded.path)),
      model(std::move(loaded.model)),
      modules(std::make_shared<ModelModules>(model->getRoot())),
      known(knownFiles),
      elements(*model, ElementModel::Filling::Gradual),
      history(manager),
      saveState(manager),
      policy(manager),
      document(active, manager),
      run(manager, Valdane::postToEventLoop(), ThreadedRun::Edits::Refused)
{
    manager.setModuleAccessInterface(modules);
    known.note(path, loaded.state);
    saveState.saved(Saved);
    saveState.saved(Exported);
    model->setChangeListener(
        [this](const XmlChange& change)
        {
            modules->onChanged(change.object);
            if (change.child != nullptr)
            {
                modules->onChanged(*change.child);
            }
            elements.noteChange(change.object.getElement());
        });
    // A step that has failed has changed nothing.
    failed = manager.connectToSigCommandFailed(
        [this](const char* /*why*/, const std::string& /*description*/)
        {
            if (!isRecording())
            {
                modules->resetTo({});
            }
            changeLater();
        });
    historyChanged = manager.connectToSigHistoryChanged([this](const auto& /*change*/) { changeLater(); });
    executed = manager.connectToSigCommandExecuted([this] { changeLater(); });
    groupsChanged = manager.connectToSigOpenGroupsChanged([this] { changeLater(); });
    started = run.connectToSigStarted(
        [this]
        {
            Q_EMIT busyChanged(true);
            elements.setEditable(false);
            elements.setFrozen(!isReadable());
        });
    finished = run.connectToSigFinished([this](ThreadedRun::Result result, const std::string& why)
                                        { onFinished(result, why); });
}

// The run goes first of all that matters, and takes back what it did while the others are there.
OpenDocument::~OpenDocument() = default;

XmlModel& OpenDocument::getModel()
{
    return *model;
}

ElementModel& OpenDocument::getElements()
{
    return elements;
}

Valdane::CommandManager& OpenDocument::getManager()
{
    return manager;
}

Valdane::HistoryModel& OpenDocument::getHistory()
{
    return history;
}

Valdane::SaveState& OpenDocument::getSaveState()
{
    return saveState;
}

ThreadedRun& OpenDocument::getRun()
{
    return run;
}

const std::string& OpenDocument::getPath() const
{
    return path;
}

QString OpenDocument::getName() const
{
    return QFileInfo(QString::fromStdString(path)).fileName();
}

void OpenDocument::keepJournal(std::unique_ptr<FileJournal> used)
{
    follow(std::move(used));
    journal->start(*model, manager);
}

std::string OpenDocument::bringBack(std::unique_ptr<FileJournal> used)
{
    follow(std::move(used));
    return journal->recover(*model, manager);
}

void OpenDocument::follow(std::unique_ptr<FileJournal> used)
{
    journal = std::move(used);
    journalEnded = journal->connectToSigEnded(
        [this](const std::string& why)
        { Q_EMIT resultReady(tr("What is not saved is not kept any more"), QString::fromStdString(why)); });
}

void OpenDocument::closeJournal()
{
    if (journal != nullptr)
    {
        journal->close();
    }
}

void OpenDocument::activate()
{
    document.activate();
}

bool OpenDocument::isBusy() const
{
    return run.isRunning();
}

bool OpenDocument::isReadable() const
{
    return !isBusy() || beside == Beside::Readers;
}

bool OpenDocument::isModified() const
{
    return saveState.isModified(Saved);
}

bool OpenDocument::isRecording() const
{
    return !manager.getOpenGroups().empty();
}

void OpenDocument::requireIdle() const
{
    if (isBusy())
    {
        throw VdException("not while " + running->getDescription() + " is running; wait, or cancel it");
    }
}

void OpenDocument::requireNoRecording() const
{
    if (isRecording())
    {
        throw VdException("not while edits are recorded; finish or discard the recording first");
    }
}

// A command that fails is told by the manager. What was changed before it in a recording stays noted.
bool OpenDocument::carryOut(const QString& what, const MakeEdit& make,
                            const std::function<bool(const std::shared_ptr<Valdane::CommandBase>&)>& execute)
{
    try
    {
        requireIdle();
        const auto before = modules->getModifiedModulesFromBusiness();
        const Edit made = make(*model);
        if (!execute(made.command))
        {
            modules->resetTo(before);
            return false;
        }
        if (!made.note.empty())
        {
            Q_EMIT noted(QString::fromStdString(made.note).trimmed());
        }
        return true;
    }
    catch (const std::exception& exception)
    {
        Q_EMIT refused(what, QString::fromUtf8(exception.what()));
        return false;
    }
}

bool OpenDocument::edit(const QString& what, const MakeEdit& make)
{
    return carryOut(what, make, [this](const auto& command) { return manager.addCommand(command); });
}

bool OpenDocument::editMerging(const QString& what, const std::string& key, const MakeEdit& make)
{
    return carryOut(what, make, [&](const auto& command) { return policy.add(command, key); });
}

void OpenDocument::endStep()
{
    policy.endStep();
}

bool OpenDocument::tryTo(const QString& what, const std::function<void()>& begin)
{
    try
    {
        requireIdle();
        requireNoRecording();
        begin();
        return true;
    }
    catch (const std::exception& exception)
    {
        Q_EMIT refused(what, QString::fromUtf8(exception.what()));
        return false;
    }
}

bool OpenDocument::start(const std::shared_ptr<Valdane::ThreadedCommand>& command, Beside allowed,
                         TellResult tell)
{
    return tryTo(QString::fromStdString(command->getDescription()),
                 [&]
                 {
                     running = command;
                     beside = allowed;
                     tellResult = std::move(tell);
                     run.start(command);
                 });
}

bool OpenDocument::start(
    const QString& what, Beside allowed,
    const std::function<std::shared_ptr<Valdane::ThreadedMacroCommand>(XmlModel& model)>& make,
    std::function<QString(const Valdane::ThreadedMacroCommand&)> tell)
{
    return tryTo(what,
                 [&]
                 {
                     const auto command = make(*model);
                     running = command;
                     beside = allowed;
                     tellResult = {};
                     if (tell)
                     {
                         tellResult = [command, told = std::move(tell)]
                         {
                             return told(*command);
                         };
                     }
                     run.start(command);
                 });
}

void OpenDocument::onFinished(ThreadedRun::Result result, const std::string& why)
{
    using Result = ThreadedRun::Result;
    elements.setFrozen(false);
    elements.setEditable(true);
    const auto command = std::exchange(running, nullptr);
    const auto tell = std::exchange(tellResult, {});
    const auto what = QString::fromStdString(command->getDescription());
    if (result != Result::Done && result != Result::NotTakenBack)
    {
        modules->resetTo({});
    }
    Q_EMIT busyChanged(false);
    changeLater();
    if (result == Result::Aborted)
    {
        Q_EMIT noted(tr("%1: cancelled, nothing has changed").arg(what));
    }
    else if (result == Result::NotTakenBack)
    {
        Q_EMIT refused(what, QString::fromStdString(why));
    }
    else if (result == Result::Done)
    {
        Q_EMIT noted(what);
        if (const auto text = tell ? tell() : QString(); !text.isEmpty())
        {
            Q_EMIT resultReady(what, text);
        }
    }
}

void OpenDocument::beginRecording(const QString& name)
{
    policy.endStep();
    manager.beginGroup(name.toStdString());
}

void OpenDocument::finishRecording()
{
    manager.endGroup();
}

void OpenDocument::discardRecording()
{
    if (manager.abandonGroup())
    {
        modules->resetTo({});
        saveState.update();
    }
}

void OpenDocument::save(const std::string& file)
{
    write(file, Saved);
    path = file;
}

void OpenDocument::exportTo(const std::string& file)
{
    write(file, Exported);
}

void OpenDocument::write(const std::string& file, Tracker tracker)
{
    requireIdle();
    requireNoRecording();
    const auto bytes = model->toBytes();
    const bool isSave = tracker == Saved && journal != nullptr;
    if (isSave)
    {
        journal->willSave(bytes);
    }
    const auto [whyInPlace, state] = writeFile(file, bytes);
    if (isSave)
    {
        journal->didSave(file);
    }
    if (state && (tracker == Saved || known.isKnown(file)))
    {
        known.note(file, *state);
    }
    saveState.saved(tracker);
    changeLater();
    const QFileInfo shown(QString::fromStdString(file));
    Q_EMIT noted(whyInPlace.empty()
                     ? tr("%1 saved").arg(shown.fileName())
                     : tr("%1 saved in place: %2").arg(shown.fileName(), QString::fromStdString(whyInPlace)),
                 shown.absoluteFilePath());
}

// Once for many changes.
void OpenDocument::changeLater()
{
    if (!std::exchange(isChangePending, true))
    {
        QTimer::singleShot(0, this, &OpenDocument::tellChange);
    }
}

void OpenDocument::tellChange()
{
    isChangePending = false;
    if (isBusy())
    {
        return; // its end tells again
    }
    elements.refresh();
    // Some may be gone.
    elements.setModified(isModified() ? manager.getModifiedModules(Saved)
                                      : std::set<const Valdane::Object*>());
    Q_EMIT changed();
}

} // namespace ModelEditor
