#pragma once

#include "Applications/ModelEditor/Document/Annotations.h"
#include "Applications/ModelEditor/Document/XmlObject.h"
#include "Applications/ModelEditor/Document/XmlValue.h"

#include <pugixml.hpp>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace ModelEditor
{

/// The texts of an element that are no layout.
///
/// Each has a key, which names it as long as it is there, and no other one meanwhile. The number that XPath gives a text
/// counts layout, too, and changes when children come and go.
struct XmlObject::Texts
{
    struct Text
    {
        pugi::xml_node node;
        std::size_t
            key; ///< 0 for the first one when the texts were looked for, otherwise the number at that time
    };

    struct Place
    {
        std::size_t index;
        std::size_t number;
    };

    std::vector<Text> all;         ///< in the order of the nodes
    std::size_t lowestFreeKey = 0; ///< no text that was there when they were looked for has it

    // Found out when somebody asks, and forgotten when children come or go.
    bool isNumbered = false;
    std::unordered_map<const void*, Place> byNode{};
    std::unordered_map<std::size_t, std::size_t> indexByKey{};
};

/// What was found out because somebody asked for it.
struct XmlObject::Findings
{
    std::optional<Texts> texts;
    std::map<std::string, XmlValue> values;
    std::optional<Annotations> annotations;

    /// Of the children, as steps of an address, once children have come or gone; by their nodes.
    std::optional<std::unordered_map<const void*, std::string>> steps;
    bool wasStepAsked = false; ///< since children have come or gone last
};

} // namespace ModelEditor
