#pragma once

#include <pugixml.hpp>

#include <string>

/// What @p top and all below it say: equal for two documents that differ only in how it is written.
///
/// Neighbouring texts are one, attributes have no order, and white space between the children of @p top, which an import
/// sets, does not count.
std::string contentOf(pugi::xml_node top);
