#pragma once

#include "Service/CommandPattern/CommandBase.h"
#include "Tests/Service/CommandTesting/Mistakes/Plant.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Commands that are right. Those that are wrong derive from them and change one thing.

namespace Valdane::Plants
{

class PlantCommand : public CommandBase
{
protected:
    PlantCommand(Plant& commandedPlant, const std::string& description)
        : CommandBase(description), plant(commandedPlant)
    {
    }

    Plant& plant;
};

class Throttle : public PlantCommand
{
public:
    explicit Throttle(Plant& throttledPlant, double throttledFlow = 1)
        : PlantCommand(throttledPlant, "Throttle pump"), newFlow(throttledFlow)
    {
    }

    void execute() override
    {
        oldFlow = plant.setFlow(plant.getPump(), newFlow);
    }

    void undo() override
    {
        plant.setFlow(plant.getPump(), oldFlow);
    }

protected:
    double newFlow;
    double oldFlow = 0;
};

/// Its redo need not remember what execute() has remembered.
class ThrottleWithItsOwnRedo : public PlantCommand
{
public:
    explicit ThrottleWithItsOwnRedo(Plant& throttledPlant) : PlantCommand(throttledPlant, "Throttle pump") {}

    void execute() override
    {
        oldFlow = plant.setFlow(plant.getPump(), 1);
    }

    void undo() override
    {
        plant.setFlow(plant.getPump(), oldFlow.value());
    }

    void redo() override
    {
        plant.setFlow(plant.getPump(), 1);
    }

protected:
    std::optional<double> oldFlow;
};

class HalveFlow : public PlantCommand
{
public:
    explicit HalveFlow(Plant& halvedPlant) : PlantCommand(halvedPlant, "Halve the flow of the pump") {}

    void execute() override
    {
        scale(0.5);
    }

    void undo() override
    {
        scale(2);
    }

protected:
    void scale(double factor)
    {
        Part& pump = plant.getPump();
        plant.setFlow(pump, pump.data.flow * factor);
    }
};

class Rename : public PlantCommand
{
public:
    explicit Rename(Plant& renamedPlant) : PlantCommand(renamedPlant, "Rename pump") {}

    void execute() override
    {
        oldName = plant.getPump().data.name;
        setName(newName);
    }

    void undo() override
    {
        setName(oldName);
    }

protected:
    void setName(std::string name)
    {
        plant.getPump().data.name = std::move(name);
        plant.getPump().mark();
    }

    std::string newName = "Circulation pump P-101";
    std::string oldName;
};

class RenameAndThrottle : public PlantCommand
{
public:
    explicit RenameAndThrottle(Plant& changedPlant) : PlantCommand(changedPlant, "Rename and throttle pump")
    {
    }

    void execute() override
    {
        Part& pump = plant.getPump();
        std::string name = "Circulation pump P-101";
        oldName = std::exchange(pump.data.name, std::move(name));
        oldFlow = plant.setFlow(pump, 1);
    }

    void undo() override
    {
        Part& pump = plant.getPump();
        pump.data.name = oldName;
        plant.setFlow(pump, oldFlow);
    }

protected:
    std::string oldName;
    double oldFlow = 0;
};

class AddNote : public PlantCommand
{
public:
    explicit AddNote(Plant& notedPlant, std::string addedText = "check the seal")
        : PlantCommand(notedPlant, "Add a note to the pump"), text(std::move(addedText))
    {
    }

    void execute() override
    {
        plant.getPump().data.notes.push_back(text);
        plant.getPump().mark();
    }

    void undo() override
    {
        plant.getPump().data.notes.pop_back();
        plant.getPump().mark();
    }

protected:
    std::string text;
};

class RemoveFirstNote : public PlantCommand
{
public:
    explicit RemoveFirstNote(Plant& notedPlant)
        : PlantCommand(notedPlant, "Remove the first note of the pump")
    {
    }

    void execute() override
    {
        std::vector<std::string>& notes = plant.getPump().data.notes;
        removed = std::move(notes.front());
        notes.erase(notes.begin());
        plant.getPump().mark();
    }

    void undo() override
    {
        std::vector<std::string>& notes = plant.getPump().data.notes;
        notes.insert(notes.begin(), std::move(removed));
        plant.getPump().mark();
    }

protected:
    std::string removed;
};

/// Removes all notes about the seal.
class TickOffSeal : public PlantCommand
{
public:
    explicit TickOffSeal(Plant& tickedPlant) : PlantCommand(tickedPlant, "Tick the seal off") {}

    void execute() override
    {
        removed = takeOut();
    }

    void undo() override
    {
        std::vector<std::string>& notes = plant.getPump().data.notes;
        for (const std::size_t index : removed)
        {
            notes.insert(notes.begin() + static_cast<std::ptrdiff_t>(index), sealNote);
        }
        plant.getPump().mark();
    }

protected:
    /// @return where the notes were.
    std::vector<std::size_t> takeOut()
    {
        std::vector<std::string>& notes = plant.getPump().data.notes;
        std::vector<std::size_t> indices;
        for (std::size_t index = 0; index < notes.size(); ++index)
        {
            if (notes[index] == sealNote)
            {
                indices.push_back(index);
            }
        }
        std::erase(notes, sealNote);
        plant.getPump().mark();
        return indices;
    }

    std::vector<std::size_t> removed;

private:
    const std::string sealNote = "check the seal";
};

/// Does first what can fail.
class RenameAndExport : public PlantCommand
{
public:
    explicit RenameAndExport(Plant& changedPlant)
        : PlantCommand(changedPlant, "Rename, throttle and export pump")
    {
    }

    void execute() override
    {
        std::string name = newName;
        std::string file = plant.file;
        plant.writeFile("pump: " + newName);
        oldFile = std::move(file);
        oldName = std::exchange(plant.getPump().data.name, std::move(name));
        oldFlow = plant.setFlow(plant.getPump(), 1);
    }

    void undo() override
    {
        std::string name = oldName;
        plant.writeFile(oldFile);
        plant.getPump().data.name = std::move(name);
        plant.setFlow(plant.getPump(), oldFlow);
    }

protected:
    const std::string newName = "Circulation pump P-101";
    std::string oldName;
    std::string oldFile;
    double oldFlow = 0;
};

/// Gives back what it has changed if it fails, whatever is thrown.
class RenameAndExportWithRollBack : public RenameAndExport
{
public:
    using RenameAndExport::RenameAndExport;

    void execute() override
    {
        oldFile = plant.file;
        std::string name = newName;
        std::string& shown = plant.getPump().data.name;
        oldName = std::exchange(shown, std::move(name));
        try
        {
            plant.writeFile("pump: " + shown);
        }
        catch (...)
        {
            shown = std::move(oldName);
            throw;
        }
        oldFlow = plant.setFlow(plant.getPump(), 1);
    }
};

/// Undo makes another object with the same data, as reading them from a file would.
class RemovePump : public PlantCommand
{
public:
    explicit RemovePump(Plant& shrunkPlant) : PlantCommand(shrunkPlant, "Remove pump") {}

    void execute() override
    {
        PartData data = plant.getPump().data;
        attributes = plant.getPump().getDynamicAttributeCollection();
        plant.removePart("Water", "pump");
        removed = std::move(data);
    }

    void undo() override
    {
        const auto pump = std::make_shared<Part>("pump", removed);
        pump->setDynamicAttributeCollection(attributes);
        plant.addPart("Water", pump);
    }

private:
    PartData removed;
    std::shared_ptr<DynamicAttributeCollection> attributes;
};

/// What it sends cannot be sent again.
class SendReport : public PlantCommand
{
public:
    explicit SendReport(Plant& reportedPlant) : PlantCommand(reportedPlant, "Send a report") {}

    void execute() override
    {
        std::string file = plant.file;
        plant.writeFile("a report");
        oldFile = std::move(file);
    }

    void undo() override
    {
        plant.writeFile(oldFile);
    }

    bool isRedoCapable() override
    {
        return false;
    }

private:
    std::string oldFile;
};

/// Long work that tells how far it is.
class InspectAll : public Throttle
{
public:
    explicit InspectAll(Plant& inspectedPlant) : Throttle(inspectedPlant)
    {
        setDescription("Inspect the pump");
    }

    void execute() override
    {
        for (int step = 1; step <= 10; ++step)
        {
            getProgress()->moveTo(LegacyProgress::FullRange / 10.0 * step);
        }
        Throttle::execute();
    }
};

} // namespace Valdane::Plants
