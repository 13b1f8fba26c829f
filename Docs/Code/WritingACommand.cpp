// Commands as they should be, one that should not, and a test that tells them apart.

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using Valdane::CommandBase;
using Valdane::CommandManager;
using Valdane::LegacyProgress;
using Valdane::Object;
using Valdane::VdException;

namespace
{

class Pump : public Object
{
public:
    using Object::Object;

    double speed = 0.1;
};

class SetSpeedCmd : public CommandBase
{
public:
    SetSpeedCmd(const std::shared_ptr<Pump>& pump, double speed)
        : CommandBase("Set speed of " + pump->getKey()),
          root(pump->getRootObjectAlt()),
          path(pump->getPath(Valdane::RequestedPathType::FromRoot)),
          newSpeed(speed)
    {
    }

    void execute() override
    {
        const auto pump = findPump();
        if (newSpeed < 0)
        {
            throw VdException(pump->getKey() + " cannot run backwards");
        }
        oldSpeed = std::exchange(pump->speed, newSpeed);
    }

    void undo() override { findPump()->speed = oldSpeed; }

private:
    std::shared_ptr<Pump> findPump() const
    {
        const auto top = root.lock();
        const auto object =
            top ? top->getObject(path, Valdane::GetObjectBehavior::EmptyIfMissing) : nullptr;
        const auto pump = std::dynamic_pointer_cast<Pump>(object);
        if (pump == nullptr)
        {
            throw VdException("there is no pump " + path.toString());
        }
        return pump;
    }

    std::weak_ptr<Object> root;
    Valdane::Path path;
    double newSpeed;
    double oldSpeed = 0;
};

// The text for users in the language that is set now.
bool isGerman = false;

const std::string& importText()
{
    static const std::string english = "Import values";
    static const std::string german = "Werte importieren";
    return isGerman ? german : english;
}

// Appends the numbers in a text to a table.
class ImportCmd : public CommandBase
{
public:
    ImportCmd(std::vector<double>& changedTable, std::string numbers)
        : CommandBase("Import"), table(changedTable), text(std::move(numbers))
    {
        setSpeedRate(LegacyProgress::Speed::Slow);
    }

    void execute() override
    {
        LegacyProgress reading;
        LegacyProgress checking;
        constexpr int threeQuarters = LegacyProgress::FullRange / 4 * 3;
        getProgressPtr()->appendSubProgress(&reading, 0, threeQuarters);
        getProgressPtr()->appendSubProgress(&checking, threeQuarters, LegacyProgress::FullRange);
        values = read(reading);
        check(checking);
        redo();
    }

    void undo() override { table.resize(table.size() - values.size()); }

    // The text is not read a second time.
    void redo() override { table.insert(table.end(), values.begin(), values.end()); }

    const std::string& getDescription() const override { return importText(); }

private:
    std::vector<double> read(LegacyProgress& phase) const
    {
        std::vector<double> numbers;
        std::istringstream words(text);
        for (std::string word; words >> word;)
        {
            numbers.push_back(std::stod(word));
            const auto done = words.eof() ? text.size() : static_cast<std::size_t>(words.tellg());
            phase.moveTo(LegacyProgress::FullRange * static_cast<double>(done) /
                         static_cast<double>(text.size()));
        }
        return numbers;
    }

    void check(LegacyProgress& phase) const
    {
        if (std::ranges::any_of(values, [](double value) { return value < 0; }))
        {
            throw VdException("a table has no values below 0");
        }
        phase.setComplete();
    }

    std::vector<double>& table;
    std::string text;
    std::vector<double> values;
};

// Computes what was before, which is not what was before.
class CarelessScaleCmd : public CommandBase
{
public:
    CarelessScaleCmd(double& scaled, double by) : CommandBase("Scale"), value(scaled), factor(by) {}
    void execute() override { value *= factor; }
    void undo() override { value /= factor; }

private:
    double& value;
    double factor;
};

// Changes something before it fails.
class CarelessImportCmd : public CommandBase
{
public:
    CarelessImportCmd(std::vector<double>& changedTable, std::string number)
        : CommandBase("Import"), table(changedTable), text(std::move(number))
    {
    }

    void execute() override
    {
        table.emplace_back();
        table.back() = std::stod(text);
    }

    void undo() override { table.pop_back(); }

private:
    std::vector<double>& table;
    std::string text;
};

// Takes another number each time.
class CarelessNumberCmd : public CommandBase
{
public:
    explicit CarelessNumberCmd(std::vector<double>& changedTable)
        : CommandBase("Number"), table(changedTable)
    {
    }

    void execute() override { table.push_back(next++); }
    void undo() override { table.pop_back(); }

private:
    std::vector<double>& table;
    double next = 1;
};

// Runs a command through a history and tells how it behaves there. The state is whatever the
// command may change, as something that can be compared.
template <typename TakeState>
std::string tryOut(const std::shared_ptr<CommandBase>& command, const TakeState& takeState)
{
    CommandManager manager;
    const auto before = takeState();
    if (!manager.addCommand(command))
    {
        return takeState() == before ? "fails and leaves things as they were" : "FAILS HALF-WAY";
    }
    const auto after = takeState();
    for (int round = 1; round <= 2; ++round)
    {
        if (!manager.undo(1) || takeState() != before)
        {
            return "UNDO DOES NOT LEAD BACK";
        }
        if (!manager.redo(1) || takeState() != after)
        {
            return "REDO DOES NOT LEAD THERE AGAIN";
        }
    }
    return manager.undo(1) && takeState() == before ? "good" : "UNDO DOES NOT LEAD BACK";
}

void tryOutAll()
{
    const auto plant = std::make_shared<Object>("plant");
    const auto pump = std::make_shared<Pump>("P-101");
    plant->addChild(pump);
    const auto speed = [&]
    {
        return pump->speed;
    };
    std::cout << "set speed: " << tryOut(std::make_shared<SetSpeedCmd>(pump, 3), speed) << "\n";
    std::cout << "set speed below 0: " << tryOut(std::make_shared<SetSpeedCmd>(pump, -3), speed)
              << "\n";
    std::cout << "careless scaling: "
              << tryOut(std::make_shared<CarelessScaleCmd>(pump->speed, 3), speed) << "\n";

    std::vector<double> table{1, 2};
    const auto content = [&]
    {
        return table;
    };
    std::cout << "import: " << tryOut(std::make_shared<ImportCmd>(table, "3 4 5"), content) << "\n";
    std::cout << "import of no number: "
              << tryOut(std::make_shared<ImportCmd>(table, "3 four 5"), content) << "\n";
    std::cout << "import below 0: " << tryOut(std::make_shared<ImportCmd>(table, "3 -4"), content)
              << "\n";
    std::cout << "careless import: "
              << tryOut(std::make_shared<CarelessImportCmd>(table, "four"), content) << "\n";
    std::cout << "careless number: " << tryOut(std::make_shared<CarelessNumberCmd>(table), content)
              << "\n";
}

// A tree may change between an execution and its undo.
void replaceThePump()
{
    const auto plant = std::make_shared<Object>("plant");
    const auto first = std::make_shared<Pump>("P-101");
    plant->addChild(first);
    CommandManager manager;
    manager.addCommand(std::make_shared<SetSpeedCmd>(first, 3));
    const auto second = std::make_shared<Pump>("P-101");
    second->speed = 3;
    plant->replaceChild(second);
    manager.undo(1);
    std::cout << "the pump there now has the old speed: " << second->speed << "\n";
    plant->removeChild("P-101");
    const auto connection = manager.connectToSigCommandFailed(
        [](const char* what, const std::string&) { std::cout << what << "\n"; });
    std::cout << "redo without a pump: " << manager.redo(1) << "\n";
}

// Prints each position of the command's progress.
void watchTheProgress()
{
    std::vector<double> table;
    CommandManager manager;
    const auto command = std::make_shared<ImportCmd>(table, "1.5 2.5 3.5");
    const auto progress = command->getProgress();
    progress->setChangeCallback([&] { std::cout << " " << progress->fraction(); });
    std::cout << "progress:";
    manager.addCommand(command);
    std::cout << "\n";
    progress->setChangeCallback({});
    for (const bool german : {false, true})
    {
        isGerman = german;
        std::cout << "in the menu: " << manager.getUndoCommand()->getDescription() << "\n";
    }
}

} // namespace

int main()
{
    // Failures are part of this; their error lines would be printed, too.
    spdlog::set_level(spdlog::level::off);
    std::cout << std::boolalpha;
    tryOutAll();
    replaceThePump();
    watchTheProgress();
}
