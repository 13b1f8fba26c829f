#pragma once

#include "Service/Journal/JournalExport.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <utility>

namespace Valdane
{

class CommandBase;
class MacroCommand;

/// How the commands of an application become data, and commands again.
///
///     CommandCodecs codecs;
///     addCoreCodecs(codecs, [&] { return document.root; });
///     codecs.add<MoveShape>(
///         "shapes.move", 1, CommandCodecs::Keeps::Undo,
///         [](const MoveShape& move) { return Json{{"shape", move.shape}, {"from", move.from}, {"to", move.to}}; },
///         [&](const Json& data, std::uint32_t) { return std::make_shared<MoveShape>(document, data); });
///
/// Each class has a codec of its own: that of a base class is not used for it. Description, speed rate and, of a
/// macro, the sub-commands are kept for every command. A codec does the rest.
///
/// Data. JSON as nlohmann-json has it, with its binary values for bytes; texts may be any bytes, too. In a file it is CBOR,
/// so that a double comes back exactly, but for what a NaN carries. Texts and binary values of 4 KiB and more are stored
/// once for all commands that have the same.
///
/// Cost: the stack does not grow with the depth of macros.
///
/// Ownership: owns the functions. It must outlive the journals that use it.
/// Thread: one at a time.
class VALDANE_JOURNAL_EXPORT CommandCodecs
{
public:
    /// The data of a command.
    using Json = nlohmann::json;

    /// What a command knows that was read back.
    enum class Keeps
    {
        /// What to do: it must be executed before it can be undone.
        Arguments,
        /// Also what its undo() needs: it may be executed or undone first. A command that swaps its value with the document
        /// knows one of the two values, and has to keep both.
        Undo,
    };

    CommandCodecs();
    CommandCodecs(const CommandCodecs&) = delete;
    CommandCodecs& operator=(const CommandCodecs&) = delete;
    ~CommandCodecs();

    /// Adds the codec of the class @p Command.
    ///
    /// @param name     stands for the class in files, so it must never change; any text.
    /// @param version  of the data that @p encode writes. Files may have data of older ones.
    /// @param keeps    what a command of @p decode knows.
    /// @param encode   the data of a command that has been executed. It must not change the command.
    /// @param decode   makes a command of the data and their version, which is at most @p version. May throw anything.
    /// @throws VdException if the class or the name has a codec.
    template <typename Command>
    void add(std::string name, std::uint32_t version, Keeps keeps, std::function<Json(const Command&)> encode,
             std::function<std::shared_ptr<Command>(const Json&, std::uint32_t)> decode);

    /// Has macros of classes without a codec written as a MacroCommand with the same sub-commands. Right if such classes add
    /// nothing to what a macro does when it is undone and redone, such as the steps of MergePolicy.
    void writeUnknownMacrosAsPlain();

    /// The name of the first class, in @p command or its sub-commands, that has no codec; empty if all have one. Ask
    /// before such a command is executed if it is to be refused.
    std::string findMissing(const CommandBase& command) const;

    /// Whether @p command comes back with what undo() needs, itself and all its sub-commands.
    /// @throws VdException naming the class, if one has no codec.
    bool keepsUndo(const CommandBase& command) const;

    /// The data of @p command with all its sub-commands.
    /// @throws VdException naming the class, if one has no codec; what codecs throw.
    Json encode(const CommandBase& command) const;

    /// The command with those data.
    /// @throws VdException that names the codec if there is none of that name, if the data are of a newer version, or with
    ///         the text of what the codec throws.
    std::shared_ptr<CommandBase> decode(const Json& data) const;

private:
    struct Codec
    {
        std::string name;
        std::uint32_t version;
        Keeps keeps;
        std::function<Json(const CommandBase&)> encode;
        std::function<std::shared_ptr<CommandBase>(const Json&, std::uint32_t)> decode;
    };

    void add(std::type_index type, Codec codec);
    const Codec* find(const CommandBase& command) const;
    const Codec& require(const CommandBase& command) const;
    Json encodeAlone(const CommandBase& command) const;
    std::shared_ptr<CommandBase> decodeAlone(const Json& record) const;

    std::map<std::string, Codec> codecs;
    std::map<std::type_index, const Codec*> codecsOfTypes;
    bool takesUnknownMacros = false;
};

template <typename Command>
void CommandCodecs::add(std::string name, std::uint32_t version, Keeps keeps,
                        std::function<Json(const Command&)> encode,
                        std::function<std::shared_ptr<Command>(const Json&, std::uint32_t)> decode)
{
    static_assert(std::is_base_of_v<CommandBase, Command>);
    add(typeid(Command), Codec{.name = std::move(name),
                               .version = version,
                               .keeps = keeps,
                               .encode = [encode = std::move(encode)](const CommandBase& command)
                               { return encode(dynamic_cast<const Command&>(command)); },
                               .decode = std::move(decode)});
}

} // namespace Valdane
