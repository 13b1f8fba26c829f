#include "Toolkit/Qt/QtCommand.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QUndoCommand>
#include <memory>
#include <stdexcept>
#include <string>

namespace
{

using Valdane::CommandManager;
using Valdane::QtCommand;

class Counting : public QUndoCommand
{
public:
    Counting(int& counted, int kind) : QUndoCommand("count"), number(counted), identity(kind) {}

    void redo() override
    {
        if (number == 3)
        {
            throw std::runtime_error("three is enough");
        }
        number += step;
    }

    void undo() override
    {
        number -= step;
    }

    int id() const override
    {
        return identity;
    }

    bool mergeWith(const QUndoCommand* other) override
    {
        step += dynamic_cast<const Counting*>(other)->step;
        setText(QString("count %1").arg(step));
        return true;
    }

private:
    int& number;
    int identity;
    int step = 1;
};

} // namespace

TEST(QtCommandTest, RunsAsACommandOfTheManager)
{
    CommandManager manager;
    int number = 0;
    const auto add = [&](int id)
    {
        return manager.addOrMergeCommand(std::make_shared<QtCommand>(std::make_unique<Counting>(number, id)));
    };
    EXPECT_TRUE(add(1));
    EXPECT_TRUE(add(1));
    EXPECT_EQ(manager.getQueueSize(), 1U) << "they have the same id";
    EXPECT_EQ(manager.getUndoCommand()->getDescription(), "count 2");
    EXPECT_TRUE(add(-1));
    EXPECT_EQ(manager.getQueueSize(), 2U);
    std::string failure;
    const auto connection = manager.connectToSigCommandFailed(
        [&](const char* what, const std::string& description) { failure = description + ": " + what; });
    EXPECT_FALSE(add(-1));
    EXPECT_EQ(failure, "count: three is enough");
    manager.undoAll();
    EXPECT_EQ(number, 0);
    manager.redo(1);
    EXPECT_EQ(number, 2);
}

TEST(QtCommandTest, IsNothingWithoutACommand)
{
    EXPECT_THAT([] { QtCommand command(nullptr); },
                testing::ThrowsMessage<Valdane::VdException>("QtCommand: there is no command"));
    int number = 0;
    QtCommand command(std::make_unique<Counting>(number, 1));
    QtCommand other(std::make_unique<Counting>(number, 1));
    command.release();
    command.execute();
    command.undo();
    EXPECT_EQ(command.get(), nullptr);
    EXPECT_EQ(command.getDescription(), "");
    EXPECT_FALSE(command.mergeWith(other));
    EXPECT_FALSE(other.mergeWith(command));
    EXPECT_EQ(number, 0);
}
