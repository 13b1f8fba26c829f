#include "Applications/ModelEditor/Recovery/EditCodecs.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/AnnotateCmd.h"
#include "Applications/ModelEditor/Edits/DeleteAttributeCmd.h"
#include "Applications/ModelEditor/Edits/ImportCmd.h"
#include "Applications/ModelEditor/Edits/ScaleValuesCmd.h"
#include "Applications/ModelEditor/Edits/StructureCmds.h"
#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/CoreCodecs.h"

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace ModelEditor
{

namespace
{

using Valdane::CommandCodecs;
using Valdane::Path;
using Json = CommandCodecs::Json;
using Model = std::function<XmlModel&()>;

constexpr auto Arguments = CommandCodecs::Keeps::Arguments;

Json toJson(const std::optional<std::string>& text)
{
    return text ? Json(*text) : Json();
}

std::optional<std::string> toText(const Json& json)
{
    return json.is_null() ? std::nullopt : std::optional(json.get<std::string>());
}

// The description of a command is kept for it.
const std::string none;

void addStructure(CommandCodecs& codecs, const Model& model)
{
    codecs.add<InsertCmd>(
        "editor.insert", 1, Arguments,
        [](const InsertCmd& command)
        {
            Json children = Json::array();
            for (const NewChildren& added : command.getChildren())
            {
                children.push_back(
                    Json::array({added.index, added.markup, toJson(added.layout), added.tail}));
            }
            return Json::array({command.getParent(), std::move(children)});
        },
        [model](const Json& data, std::uint32_t)
        {
            std::vector<NewChildren> children;
            for (const Json& added : data.at(1))
            {
                children.push_back({.index = added.at(0).get<std::size_t>(),
                                    .markup = added.at(1).get<std::string>(),
                                    .layout = toText(added.at(2)),
                                    .tail = added.at(3).get<std::string>()});
            }
            return std::make_shared<InsertCmd>(model(), data.at(0).get<Path>(), std::move(children), none);
        });
    codecs.add<DeleteCmd>(
        "editor.delete", 1, Arguments,
        [](const DeleteCmd& command)
        {
            Json ranges = Json::array();
            for (const ChunkRange& range : command.getRanges())
            {
                ranges.push_back(Json::array({range.index, range.count}));
            }
            return Json::array({command.getParent(), std::move(ranges)});
        },
        [model](const Json& data, std::uint32_t)
        {
            ChunkRanges ranges;
            for (const Json& range : data.at(1))
            {
                ranges.push_back(
                    {.index = range.at(0).get<std::size_t>(), .count = range.at(1).get<std::size_t>()});
            }
            return std::make_shared<DeleteCmd>(model(), data.at(0).get<Path>(), std::move(ranges), none);
        });
    codecs.add<ImportCmd>(
        "editor.import", 1, Arguments, [](const ImportCmd& command) { return Json(command.getMarkup()); },
        [model](const Json& data, std::uint32_t)
        { return std::make_shared<ImportCmd>(model(), data.get<std::string>(), none); });
}

void addAttributes(CommandCodecs& codecs, const Model& model)
{
    codecs.add<DeleteAttributeCmd>(
        "editor.delete-attribute", 1, Arguments,
        [](const DeleteAttributeCmd& command) {
            return Json::array({command.getElement(), command.getName()});
        },
        [model](const Json& data, std::uint32_t)
        {
            return std::make_shared<DeleteAttributeCmd>(model().getRoot(), data.at(0).get<Path>(),
                                                        data.at(1).get<std::string>(), none);
        });
    codecs.add<AnnotateCmd>(
        "editor.annotate", 1, Arguments,
        [](const AnnotateCmd& command)
        {
            Json changes = Json::array();
            for (const AnnotateCmd::Change& change : command.getChanges())
            {
                changes.push_back(Json::array({change.name, toJson(change.text)}));
            }
            return Json::array({command.getObject(), std::move(changes)});
        },
        [model](const Json& data, std::uint32_t)
        {
            std::vector<AnnotateCmd::Change> changes;
            for (const Json& change : data.at(1))
            {
                changes.push_back({.name = change.at(0).get<std::string>(), .text = toText(change.at(1))});
            }
            return std::make_shared<AnnotateCmd>(model().getRoot(), data.at(0).get<Path>(),
                                                 std::move(changes), none);
        });
    codecs.add<ScaleValuesCmd>(
        "editor.scale", 1, Arguments,
        [](const ScaleValuesCmd& command)
        {
            const ScaleValuesCmd::State state = command.getState();
            return Json::array({state.values, state.factor, state.areFailuresLeftAlone});
        },
        [model](const Json& data, std::uint32_t)
        {
            ScaleValuesCmd::State state{.values = data.at(0).get<std::vector<Path>>(),
                                        .factor = data.at(1).get<double>(),
                                        .areFailuresLeftAlone = data.at(2).get<bool>()};
            return std::make_shared<ScaleValuesCmd>(model().getRoot(), std::move(state), none);
        });
}

} // namespace

void addEditCodecs(CommandCodecs& codecs, std::function<XmlModel&()> model)
{
    addCoreCodecs(codecs, [model] { return model().getRoot(); });
    // The steps of a MergePolicy.
    codecs.writeUnknownMacrosAsPlain();
    addStructure(codecs, model);
    addAttributes(codecs, model);
}

} // namespace ModelEditor
