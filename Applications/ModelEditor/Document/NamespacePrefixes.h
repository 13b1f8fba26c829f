#pragma once

#include <map>
#include <string>

namespace ModelEditor
{

/// Prefixes that addresses may use, and the namespaces that they mean.
using NamespacePrefixes = std::map<std::string, std::string>;

/// Whether @p prefix can stand before the colon of a name in an address.
bool isPrefix(const std::string& prefix);

/// An XPath that selects what @p xpath does if each prefix in @p prefixes means its namespace, whatever prefixes the
/// document uses for it. Other prefixes are left as they are: they are compared as written.
///
/// @param prefixes  whose namespaces do not have both quotes (not checked).
std::string withNamespaces(const std::string& xpath, const NamespacePrefixes& prefixes);

} // namespace ModelEditor
