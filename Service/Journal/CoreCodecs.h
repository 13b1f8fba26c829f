#pragma once

#include "Service/Journal/JournalExport.h"

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>

namespace Valdane
{

class CommandCodecs;
class DynamicAttributeCollection;
class Object;
class Path;

/// Adds codecs for the commands of this library: SetNameCmd, SetAttributeCmd of all types, ClearDynamicAttributesCmd,
/// MacroCommand, ThreadedMacroCommand, DelayedInitializedCommand. All keep what undo needs. One that is delayed comes back
/// with the command that it had made.
///
/// @param root  the root of the tree in which commands that were read back find their objects; asked for each of them. It may
///              answer null if there is no such tree.
/// @throws VdException if one has a codec already.
VALDANE_JOURNAL_EXPORT void addCoreCodecs(CommandCodecs& codecs,
                                          std::function<std::shared_ptr<Object>()> root);

/// Paths and collections as JSON values, for codecs of an application: `Json{{"path", path}}`, `data["path"].get<Path>()`.
VALDANE_JOURNAL_EXPORT void to_json(nlohmann::json& json, const Path& path);
VALDANE_JOURNAL_EXPORT void from_json(const nlohmann::json& json, Path& path);
VALDANE_JOURNAL_EXPORT void to_json(nlohmann::json& json, const DynamicAttributeCollection& collection);
VALDANE_JOURNAL_EXPORT void from_json(const nlohmann::json& json, DynamicAttributeCollection& collection);

} // namespace Valdane
