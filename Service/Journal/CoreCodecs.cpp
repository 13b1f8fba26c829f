#include "Service/Journal/CoreCodecs.h"

#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"
#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/Journal/CommandCodecs.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Valdane
{

namespace
{

using Json = nlohmann::json;
using Root = std::function<std::shared_ptr<Object>()>;

void addRename(CommandCodecs& codecs, const Root& root)
{
    codecs.add<SetNameCmd>(
        "valdane.set-name", 1, CommandCodecs::Keeps::Undo,
        [](const SetNameCmd& command)
        {
            const SetNameCmd::State state = command.getState();
            return Json::array({state.path, state.newName, state.oldName});
        },
        [root](const Json& data, std::uint32_t)
        {
            return std::make_shared<SetNameCmd>(root(),
                                                SetNameCmd::State{.path = data.at(0).get<Path>(),
                                                                  .newName = data.at(1).get<std::string>(),
                                                                  .oldName = data.at(2).get<std::string>()},
                                                std::string());
        });
}

template <typename T>
void addSetAttribute(CommandCodecs& codecs, const std::string& type, const Root& root)
{
    codecs.add<SetAttributeCmd<T>>(
        "valdane.set-" + type, 1, CommandCodecs::Keeps::Undo,
        [](const SetAttributeCmd<T>& command)
        {
            const typename SetAttributeCmd<T>::State state = command.getState();
            return Json::array({state.path, state.newValue, state.oldValue, state.applyStandardRunning});
        },
        [root](const Json& data, std::uint32_t)
        {
            typename SetAttributeCmd<T>::State state{.path = data.at(0).get<Path>(),
                                                     .newValue = data.at(1).get<T>(),
                                                     .oldValue = data.at(2).get<T>(),
                                                     .applyStandardRunning = data.at(3).get<bool>()};
            return std::make_shared<SetAttributeCmd<T>>(root(), std::move(state), std::string());
        });
}

void addClear(CommandCodecs& codecs, const Root& root)
{
    codecs.add<ClearDynamicAttributesCmd>(
        "valdane.clear-dynamic-attributes", 1, CommandCodecs::Keeps::Undo,
        [](const ClearDynamicAttributesCmd& command)
        {
            const ClearDynamicAttributesCmd::State state = command.getState();
            return Json::array({state.path, state.taken == nullptr ? Json() : Json(*state.taken)});
        },
        [root](const Json& data, std::uint32_t)
        {
            ClearDynamicAttributesCmd::State state{.path = data.at(0).get<Path>(), .taken = nullptr};
            if (!data.at(1).is_null())
            {
                state.taken =
                    std::make_shared<DynamicAttributeCollection>(data[1].get<DynamicAttributeCollection>());
            }
            return std::make_shared<ClearDynamicAttributesCmd>(root(), std::move(state), std::string());
        });
}

Json stateOf(const ThreadedMacroCommand& macro)
{
    return Json::array(
        {macro.getUseForwardUndoOrder(), macro.continueOnException(), macro.getFailCountToThrow()});
}

template <typename Macro>
std::shared_ptr<Macro> withState(std::shared_ptr<Macro> macro, const Json& data)
{
    macro->setUseForwardUndoOrder(data.at(0).get<bool>());
    macro->setContinueOnException(data.at(1).get<bool>());
    macro->setFailCountToThrow(data.at(2).get<int>());
    return macro;
}

void addMacros(CommandCodecs& codecs)
{
    codecs.add<MacroCommand>(
        "valdane.macro", 1, CommandCodecs::Keeps::Undo,
        [](const MacroCommand& macro) { return Json(macro.getUseForwardUndoOrder()); },
        [](const Json& data, std::uint32_t)
        {
            auto macro = std::make_shared<MacroCommand>();
            macro->setUseForwardUndoOrder(data.get<bool>());
            return macro;
        });
    codecs.add<ThreadedMacroCommand>(
        "valdane.threaded-macro", 1, CommandCodecs::Keeps::Undo, stateOf,
        [](const Json& data, std::uint32_t)
        { return withState(std::make_shared<ThreadedMacroCommand>(std::string()), data); });
    codecs.add<DelayedInitializedCommand>(
        "valdane.delayed", 1, CommandCodecs::Keeps::Undo, stateOf,
        [](const Json& data, std::uint32_t)
        { return withState(std::make_shared<DelayedInitializedCommand>(nullptr), data); });
}

} // namespace

void addCoreCodecs(CommandCodecs& codecs, std::function<std::shared_ptr<Object>()> root)
{
    addRename(codecs, root);
    addSetAttribute<int>(codecs, "int", root);
    addSetAttribute<unsigned int>(codecs, "unsigned", root);
    addSetAttribute<double>(codecs, "double", root);
    addSetAttribute<std::string>(codecs, "text", root);
    addSetAttribute<bool>(codecs, "bool", root);
    addClear(codecs, root);
    addMacros(codecs);
}

void to_json(nlohmann::json& json, const Path& path)
{
    json = Json::object();
    json["keys"] = path.getKeys();
    if (path.hasAttributeName())
    {
        json["attribute"] = path.getAttributeName();
    }
}

void from_json(const nlohmann::json& json, Path& path)
{
    const auto keys = json.at("keys").get<std::vector<std::string>>();
    const std::vector<std::string_view> views(keys.begin(), keys.end());
    path = json.contains("attribute") ? Path(views, json["attribute"].get<std::string>()) : Path(views);
}

void to_json(nlohmann::json& json, const DynamicAttributeCollection& collection)
{
    json = Json::array();
    for (const DynamicAttributeCollection::Entry& entry : collection)
    {
        json.push_back(Json::array({entry.name, entry.text}));
    }
}

void from_json(const nlohmann::json& json, DynamicAttributeCollection& collection)
{
    collection = {};
    for (const Json& entry : json)
    {
        collection.set(entry.at(0).get<std::string>(), entry.at(1).get<std::string>());
    }
}

} // namespace Valdane
