#pragma once

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"

#include <QString>
#include <QtGlobal>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace QtTestSupport
{

/// Counts a number up, or throws if that is not wanted.
class Step : public Valdane::CommandBase
{
public:
    Step(int& counted, const std::string& description) : CommandBase(description), number(counted) {}

    void execute() override
    {
        requireWanted();
        ++number;
    }

    void undo() override
    {
        requireWanted();
        --number;
    }

    bool fails = false;

private:
    void requireWanted() const
    {
        if (fails)
        {
            throw std::runtime_error("not wanted");
        }
    }

    int& number;
};

/// A manager beside the number that its commands count.
struct Counter
{
    std::shared_ptr<Step> add(const std::string& description)
    {
        auto step = std::make_shared<Step>(number, description);
        manager.addCommand(step);
        return step;
    }

    int number = 0;
    Valdane::CommandManager manager;
};

/// What Qt logs as long as this lives. One at a time.
class Messages
{
public:
    Messages() : previous(qInstallMessageHandler(&Messages::add))
    {
        all.clear();
    }

    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    ~Messages()
    {
        qInstallMessageHandler(previous);
    }

    static inline std::vector<std::string> all;

private:
    static void add(QtMsgType, const QMessageLogContext&, const QString& text)
    {
        all.push_back(text.toStdString());
    }

    QtMessageHandler previous;
};

} // namespace QtTestSupport
