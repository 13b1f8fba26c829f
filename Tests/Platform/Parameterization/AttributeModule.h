#pragma once

#include "AttributeModuleExport.h"
#include "Platform/Parameterization/AttributeDescriptionBase.h"

#include <memory>
#include <string>
#include <string_view>

namespace ValdaneTests
{

/// The T for which the module sees @p description as an `AttributeDescription<T>`, as it is written in C++;
/// empty if it sees none.
ATTRIBUTEMODULE_EXPORT std::string typeSeenByModule(const Valdane::AttributeDescriptionBase& description);

/// An `AttributeDescription<T>` that the module makes for the T that @p type names.
ATTRIBUTEMODULE_EXPORT std::shared_ptr<Valdane::AttributeDescriptionBase> makeInModule(std::string_view type);

} // namespace ValdaneTests
