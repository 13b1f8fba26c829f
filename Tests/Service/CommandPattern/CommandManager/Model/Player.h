#pragma once

#include "Journal.h"
#include "Operation.h"
#include "State.h"
#include "World.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane::Model
{

/// Does to one side what the operations say, and notes the results.
template <typename Side>
class Player
{
public:
    Player()
    {
        side.world.onMoment = [this]
        {
            react();
        };
        side.world.abort = [this]
        {
            side.threads().abortThreadExecution();
        };
    }

    std::vector<std::string> play(const Operation& operation)
    {
        journalPrefix() = [this]
        {
            return side.prefix();
        };
        reactions = &operation.reactions;
        reacted = 0;
        moments = 0;
        try
        {
            perform(operation.action);
        }
        catch (const std::exception& exception)
        {
            note("threw " + std::string(exception.what()));
        }
        catch (const Stranger&)
        {
            note("threw a stranger");
        }
        return takeJournal();
    }

    State observe()
    {
        side.world.isObserved = true;
        State state = side.observe();
        side.world.isObserved = false;
        return state;
    }

private:
    /// The application's turn in one of its slots.
    void react()
    {
        if (reacted < reactions->size() && ++moments == (*reactions)[reacted].after)
        {
            moments = 0;
            performWithoutPlace((*reactions)[reacted++].action);
        }
    }

    /// A refusal names its place in the source, which the two sides do not have in common.
    void performWithoutPlace(const Action& action)
    {
        try
        {
            perform(action);
        }
        catch (const VdException& exception)
        {
            if (action.kind != Kind::Throw)
            {
                throw std::runtime_error(exception.what());
            }
            throw;
        }
    }

    static void noteResult(bool result)
    {
        note(result ? "gave true" : "gave false");
    }

    static void noteResult(Modules modules)
    {
        note("gave " + std::to_string(modules));
    }

    auto makeCommand(const Plan& plan)
    {
        return side.makeCommand("c" + std::to_string(++commands), plan);
    }

    void perform(const Action& action)
    {
        auto& manager = side.manager;
        switch (action.kind)
        {
        case Kind::Add:
            return noteResult(manager.addCommand(makeCommand(action.plan)));
        case Kind::AddExecuted:
            return manager.addExecutedCommand(makeCommand(action.plan));
        case Kind::AddToMerge:
            return noteResult(
                manager.addCommandToMergeWithNextCommand(makeCommand(action.plan), action.number != 0));
        case Kind::AddOrMerge:
            return noteResult(manager.addOrMergeCommand(makeCommand(action.plan)));
        case Kind::AddNothing:
            return addNothing();
        case Kind::ExecuteTaken:
            return noteResult(manager.addCommand(std::exchange(side.taken, nullptr)));
        case Kind::QueueTaken:
            return manager.addExecutedCommand(std::exchange(side.taken, nullptr));
        case Kind::TakeLast:
            return take(manager.takeLastExecutedCommand());
        case Kind::TakeAll:
            return take(manager.takeExecutedCommands());
        case Kind::Undo:
            return noteResult(manager.undo(action.number));
        case Kind::Redo:
            return noteResult(manager.redo(action.number));
        case Kind::UndoAll:
            return manager.undoAll();
        case Kind::RedoAll:
            return manager.redoAll();
        case Kind::Clear:
            return manager.clear();
        case Kind::ForgetRedo:
            return manager.forgetRedoCommands();
        case Kind::BeginGroup:
            return manager.beginGroup("g" + std::to_string(++commands));
        case Kind::EndGroup:
            return manager.endGroup();
        case Kind::AbandonGroup:
            return noteResult(manager.abandonGroup());
        case Kind::SetLimit:
            return manager.setMaxQueueSize(action.number);
        case Kind::UseLimit:
            return manager.setUsesMaxQueueSize(action.number != 0);
        case Kind::SetProgress:
            return side.setProgress();
        case Kind::Complete:
            return manager.emitSigUndoRedoProcessCompleted();
        case Kind::Save:
            return manager.adjustOnSave(action.number);
        case Kind::MarkAll:
            side.world.all = action.number;
            return manager.markAllModulesBeforeFirstCommandAsModified();
        case Kind::Query:
            return query(action.number);
        case Kind::StartThread:
            return manager.addThreadedCommand(side.makeThread("t" + std::to_string(++commands), action.plan));
        case Kind::Finalize:
            return manager.finalizeThread();
        case Kind::Abort:
            return manager.abortThreadedCommand();
        default:
            return change(action);
        }
    }

    /// What does not concern the manager itself.
    void change(const Action& action)
    {
        switch (action.kind)
        {
        case Kind::Modify:
            side.world.modified |= action.number;
            break;
        case Kind::WantSaved:
            side.world.saveOnNextSave = action.number;
            break;
        case Kind::FailQuestion:
            side.world.questionFails = true;
            break;
        case Kind::FailMarking:
            side.world.markingFails = true;
            break;
        case Kind::DoWork:
            if (side.threads().getCurrentThread() != nullptr)
            {
                side.threads().work();
            }
            break;
        case Kind::SetMode:
            side.threads().mode = static_cast<std::int32_t>(action.number);
            break;
        default:
            throwAs(static_cast<Failure>(action.number));
        }
    }

    void addNothing()
    {
        auto& manager = side.manager;
        noteResult(manager.addCommand(nullptr));
        noteResult(manager.addOrMergeCommand(nullptr));
        noteResult(manager.addCommandToMergeWithNextCommand(nullptr, true));
        manager.addExecutedCommand(nullptr);
        manager.addThreadedCommand(decltype(side.makeThread({}, {}))());
    }

    template <typename Taken>
    void take(const Taken& command)
    {
        side.taken = command;
        note("gave " + side.describe(command));
    }

    void query(unsigned tracker)
    {
        noteResult(Side::bits(side.manager.getModifiedModules(tracker)));
        noteResult(Side::bits(side.manager.getModifiedOrSaveOnNextSaveModules(tracker)));
    }

    Side side;
    const std::vector<Reaction>* reactions = nullptr;
    std::size_t reacted = 0;
    unsigned moments = 0;
    unsigned commands = 0;
};

} // namespace Valdane::Model
