#include "Service/Journal/CommandCodecs.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <boost/core/demangle.hpp>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace Valdane
{

namespace
{

// The members of a record, which is the data of one command without its sub-commands. A command is an array of them: each
// is followed by those of its sub-commands.
enum Member : std::size_t
{
    Name = 0,
    Version = 1,
    Description = 2,
    SpeedRate = 3,
    SubCommands = 4,
    Data = 5,
    MemberCount = 6,
};

std::string classOf(const CommandBase& command)
{
    return boost::core::demangle(typeid(command).name());
}

// Calls @p visit for @p top and all commands in it, each before its sub-commands. Stops if that answers false.
template <typename Visit>
void forEachCommand(const CommandBase& top, const Visit& visit)
{
    std::vector<const CommandBase*> open{&top};
    while (!open.empty())
    {
        const CommandBase& command = *open.back();
        open.pop_back();
        if (!visit(command))
        {
            return;
        }
        if (const auto* const macro = dynamic_cast<const MacroCommand*>(&command))
        {
            const std::size_t place = open.size();
            for (const std::shared_ptr<CommandBase>& subCommand : *macro)
            {
                open.push_back(subCommand.get());
            }
            std::reverse(open.begin() + static_cast<std::ptrdiff_t>(place), open.end());
        }
    }
}

} // namespace

CommandCodecs::CommandCodecs() = default;
CommandCodecs::~CommandCodecs() = default;

void CommandCodecs::add(std::type_index type, Codec codec)
{
    if (codecsOfTypes.contains(type) || codecs.contains(codec.name))
    {
        throw VdException("There is a codec for the class " + boost::core::demangle(type.name()) +
                          " or with the name '" + codec.name + "' already.");
    }
    const std::string name = codec.name;
    codecsOfTypes.emplace(type, nullptr);
    codecsOfTypes[type] = &codecs.emplace(name, std::move(codec)).first->second;
}

void CommandCodecs::writeUnknownMacrosAsPlain()
{
    takesUnknownMacros = true;
}

const CommandCodecs::Codec* CommandCodecs::find(const CommandBase& command) const
{
    auto found = codecsOfTypes.find(typeid(command));
    if (found == codecsOfTypes.end() && takesUnknownMacros &&
        dynamic_cast<const MacroCommand*>(&command) != nullptr)
    {
        found = codecsOfTypes.find(typeid(MacroCommand));
    }
    return found == codecsOfTypes.end() ? nullptr : found->second;
}

const CommandCodecs::Codec& CommandCodecs::require(const CommandBase& command) const
{
    const Codec* const codec = find(command);
    if (codec == nullptr)
    {
        throw VdException("There is no codec for the class " + classOf(command) + ".");
    }
    return *codec;
}

std::string CommandCodecs::findMissing(const CommandBase& command) const
{
    std::string missing;
    forEachCommand(command,
                   [&](const CommandBase& visited)
                   {
                       missing = find(visited) == nullptr ? classOf(visited) : std::string();
                       return missing.empty();
                   });
    return missing;
}

bool CommandCodecs::keepsUndo(const CommandBase& command) const
{
    bool keeps = true;
    forEachCommand(command,
                   [&](const CommandBase& visited)
                   {
                       keeps = require(visited).keeps == Keeps::Undo;
                       return keeps;
                   });
    return keeps;
}

CommandCodecs::Json CommandCodecs::encode(const CommandBase& command) const
{
    Json data = Json::array();
    forEachCommand(command,
                   [&](const CommandBase& visited)
                   {
                       data.push_back(encodeAlone(visited));
                       return true;
                   });
    return data;
}

CommandCodecs::Json CommandCodecs::encodeAlone(const CommandBase& command) const
{
    const Codec& codec = require(command);
    const auto* const macro = dynamic_cast<const MacroCommand*>(&command);
    // The texts and rates that were set, whatever the class answers to who asks for them.
    return Json::array({codec.name, codec.version, command.CommandBase::getDescription(),
                        static_cast<int>(command.CommandBase::getSpeedRate()),
                        macro == nullptr ? 0 : macro->size(), codec.encode(command)});
}

std::shared_ptr<CommandBase> CommandCodecs::decode(const Json& data) const
{
    // Those that lack sub-commands, the outermost first.
    std::vector<std::pair<std::shared_ptr<MacroCommand>, std::uint64_t>> open;
    std::shared_ptr<CommandBase> top;
    for (const Json& record : data)
    {
        if (!record.is_array() || record.size() != MemberCount || !record[Name].is_string() ||
            !record[Version].is_number_unsigned() || !record[Description].is_string() ||
            !record[SpeedRate].is_number_integer() || !record[SubCommands].is_number_unsigned() ||
            (top != nullptr && open.empty()))
        {
            throw VdException("These are not the data of a command.");
        }
        std::shared_ptr<CommandBase> command = decodeAlone(record);
        const auto subCommands = record[SubCommands].get<std::uint64_t>();
        const auto macro = std::dynamic_pointer_cast<MacroCommand>(command);
        if (macro == nullptr && subCommands != 0)
        {
            throw VdException("The codec '" + record[Name].get<std::string>() + "' made no macro.");
        }
        if (top == nullptr)
        {
            top = command;
        }
        else
        {
            open.back().first->addCommand(std::move(command));
            --open.back().second;
        }
        if (subCommands != 0)
        {
            open.emplace_back(macro, subCommands);
        }
        while (!open.empty() && open.back().second == 0)
        {
            open.pop_back();
        }
    }
    if (top == nullptr || !open.empty())
    {
        throw VdException("These are not the data of a command.");
    }
    return top;
}

std::shared_ptr<CommandBase> CommandCodecs::decodeAlone(const Json& record) const
{
    const auto name = record[Name].get<std::string>();
    const auto version = record[Version].get<std::uint64_t>();
    const auto found = codecs.find(name);
    if (found == codecs.end())
    {
        throw VdException("There is no codec '" + name + "'.");
    }
    if (version > found->second.version)
    {
        throw VdException("The command is of version " + std::to_string(version) + " of '" + name +
                          "', and this program knows only up to version " +
                          std::to_string(found->second.version) + ".");
    }
    std::shared_ptr<CommandBase> command;
    try
    {
        command = found->second.decode(record[Data], static_cast<std::uint32_t>(version));
    }
    catch (const std::exception& exception)
    {
        throw VdException("The codec '" + name + "' cannot read a command: " + exception.what());
    }
    if (command == nullptr)
    {
        throw VdException("The codec '" + name + "' made no command.");
    }
    command->setDescription(record[Description].get<std::string>());
    command->setSpeedRate(static_cast<LegacyProgress::Speed::Rate>(record[SpeedRate].get<int>()));
    return command;
}

} // namespace Valdane
