#include "Service/CommandPattern/CommandBase.h"

#include <boost/core/demangle.hpp>

#include <typeinfo>
#include <utility>

namespace Valdane
{

CommandBase::CommandBase() : CommandBase(std::string()) {}

CommandBase::CommandBase(std::string text)
    : valdaneDescription(std::move(text)),
      valdaneProgress(std::make_shared<LegacyProgress>()),
      valdaneSpeedRate(LegacyProgress::Speed::Normal)
{
}

CommandBase::CommandBase(CommandBase&& other) noexcept
    // A string that was only moved from may keep its text; an exchanged one is empty.
    : valdaneDescription(std::exchange(other.valdaneDescription, std::string())),
      valdaneProgress(std::move(other.valdaneProgress)),
      valdaneSpeedRate(other.valdaneSpeedRate)
{
}

CommandBase& CommandBase::operator=(CommandBase&& other) noexcept
{
    if (this != &other)
    {
        valdaneDescription = std::exchange(other.valdaneDescription, std::string());
        valdaneProgress = std::move(other.valdaneProgress);
        valdaneSpeedRate = other.valdaneSpeedRate;
    }
    return *this;
}

CommandBase::~CommandBase() = default;

void CommandBase::redo()
{
    execute();
}

const std::string& CommandBase::getDescription() const
{
    return valdaneDescription;
}

LegacyProgress::Speed::Rate CommandBase::getSpeedRate() const
{
    return valdaneSpeedRate;
}

bool CommandBase::isRedoCapable()
{
    return true;
}

std::string CommandBase::getLogDescription()
{
    return valdaneDescription.empty() ? boost::core::demangle(typeid(*this).name()) : valdaneDescription;
}

void CommandBase::setDescription(std::string text)
{
    valdaneDescription = std::move(text);
}

std::shared_ptr<LegacyProgress> CommandBase::getProgress()
{
    return valdaneProgress;
}

std::shared_ptr<const LegacyProgress> CommandBase::getProgress() const
{
    return valdaneProgress;
}

LegacyProgress* CommandBase::getProgressPtr()
{
    return valdaneProgress.get();
}

const LegacyProgress* CommandBase::getProgressPtr() const
{
    return valdaneProgress.get();
}

void CommandBase::setSpeedRate(LegacyProgress::Speed::Rate rate)
{
    valdaneSpeedRate = rate;
}

} // namespace Valdane
