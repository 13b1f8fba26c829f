#include "Service/CommandPattern/CommandBase.h"

#include <boost/core/demangle.hpp>

#include <typeinfo>
#include <utility>

namespace Valdane
{

CommandBase::CommandBase() : CommandBase(std::string()) {}

CommandBase::CommandBase(std::string text)
    : description(std::move(text)),
      progress(std::make_shared<LegacyProgress>()),
      speedRate(LegacyProgress::Speed::Normal)
{
}

CommandBase::CommandBase(CommandBase&& other) noexcept
    // A string that was only moved from may keep its text; an exchanged one is empty.
    : description(std::exchange(other.description, std::string())),
      progress(std::move(other.progress)),
      speedRate(other.speedRate)
{
}

CommandBase& CommandBase::operator=(CommandBase&& other) noexcept
{
    if (this != &other)
    {
        description = std::exchange(other.description, std::string());
        progress = std::move(other.progress);
        speedRate = other.speedRate;
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
    return description;
}

LegacyProgress::Speed::Rate CommandBase::getSpeedRate() const
{
    return speedRate;
}

bool CommandBase::isRedoCapable()
{
    return true;
}

std::string CommandBase::getLogDescription()
{
    return description.empty() ? boost::core::demangle(typeid(*this).name()) : description;
}

void CommandBase::setDescription(std::string text)
{
    description = std::move(text);
}

std::shared_ptr<LegacyProgress> CommandBase::getProgress()
{
    return progress;
}

std::shared_ptr<const LegacyProgress> CommandBase::getProgress() const
{
    return progress;
}

LegacyProgress* CommandBase::getProgressPtr()
{
    return progress.get();
}

const LegacyProgress* CommandBase::getProgressPtr() const
{
    return progress.get();
}

void CommandBase::setSpeedRate(LegacyProgress::Speed::Rate rate)
{
    speedRate = rate;
}

} // namespace Valdane
