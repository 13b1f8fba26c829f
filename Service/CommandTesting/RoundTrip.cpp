#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"

#include <string>

namespace Valdane
{
namespace
{

/// One way to run a command.
class Way
{
public:
    explicit Way(Trial& runTrial) : trial(runTrial) {}

    Way(const Way&) = delete;
    Way& operator=(const Way&) = delete;
    virtual ~Way() = default;

    /// For reports, such as " through a CommandManager".
    virtual std::string how() const = 0;
    virtual void execute(const std::string& step) = 0;
    virtual void undo(const std::string& step) = 0;
    virtual void redo(const std::string& step) = 0;
    virtual bool canUndo() = 0;
    virtual bool canRedo() = 0;

protected:
    Trial& trial;
};

class ByItself : public Way
{
public:
    using Way::Way;

    std::string how() const override
    {
        return "";
    }

    void execute(const std::string& step) override
    {
        trial.execute(step);
    }

    void undo(const std::string& step) override
    {
        Mistake::guard(step, [this] { trial.getCommand()->undo(); });
    }

    void redo(const std::string& step) override
    {
        Mistake::guard(step, [this] { trial.getCommand()->redo(); });
    }

    bool canUndo() override
    {
        return true;
    }

    bool canRedo() override
    {
        bool isRedoCapable = false;
        Mistake::guard("isRedoCapable()", [&] { isRedoCapable = trial.getCommand()->isRedoCapable(); });
        return isRedoCapable;
    }
};

class ThroughManager : public Way
{
public:
    using Way::Way;

    std::string how() const override
    {
        return " through a CommandManager";
    }

    void execute(const std::string& step) override
    {
        trial.add(step);
    }

    void undo(const std::string& step) override
    {
        trial.undo(step);
    }

    void redo(const std::string& step) override
    {
        trial.redo(step);
    }

    bool canUndo() override
    {
        return trial.getManager().canUndo();
    }

    bool canRedo() override
    {
        return trial.getManager().canRedo();
    }
};

class OnWorker : public ThroughManager
{
public:
    using ThroughManager::ThroughManager;

    std::string how() const override
    {
        return " by addThreadedCommand()";
    }

    void execute(const std::string& step) override
    {
        trial.addThreaded(step);
    }
};

void expectChange(const Snapshot& before, const Snapshot& after, const RoundTripOptions& options)
{
    const bool hasChanged = !(before == after);
    if (!hasChanged && !options.changesNothing)
    {
        throw Mistake(
            "execute() changes nothing that the snapshot shows, so nothing is proved of undo(); if that is "
            "meant, say so by RoundTripOptions::changesNothing");
    }
    if (hasChanged && options.changesNothing)
    {
        throw Mistake(Mistake::tellChange(
            "execute() changes the data, but RoundTripOptions::changesNothing says that it does not", before,
            after));
    }
}

void travel(const Trial& trial, Way& way, const RoundTripOptions& options)
{
    const Snapshot before = trial.takeSnapshot();
    way.execute("execute()" + way.how());
    const Snapshot after = trial.takeSnapshot();
    expectChange(before, after, options);
    // The manager does not keep every threaded command.
    for (int round = 1; way.canUndo() && (round == 1 || round <= options.times); ++round)
    {
        const std::string number = std::to_string(round) + way.how();
        way.undo("Undo " + number);
        trial.expect(before, "After undo " + number, "as before execute()");
        if (!way.canRedo())
        {
            return;
        }
        way.redo("Redo " + number);
        trial.expect(after, "After redo " + number, "as after execute()");
    }
}

template <typename TriedWay>
void tryWay(const CommandSubject& subject, const CommandSubject::Maker& make, const RoundTripOptions& options)
{
    Trial trial(subject, make);
    TriedWay way(trial);
    travel(trial, way, options);
}

} // namespace

Report Checks::roundTrip(const CommandSubject& subject, const CommandSubject::Maker& make,
                         const RoundTripOptions& options)
{
    Report report = Trial::begin("Round trip", subject, make);
    // One after the other: they would tell the same.
    Mistake::collect(report,
                     [&]
                     {
                         const Trial asked(subject, make);
                         if (!asked.mustBeThreaded())
                         {
                             tryWay<ByItself>(subject, make, options);
                             tryWay<ThroughManager>(subject, make, options);
                         }
                         if (asked.isThreaded())
                         {
                             tryWay<OnWorker>(subject, make, options);
                         }
                     });
    return report;
}

} // namespace Valdane
