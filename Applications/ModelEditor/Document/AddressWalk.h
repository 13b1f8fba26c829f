#pragma once

#include <pugixml.hpp>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ModelEditor
{

/// Follows addresses of the form that the editor itself writes, such as `/robot/link[2]/mass/@value`, step by step.
///
/// XPath would look at all siblings at each step. Here an element with many children gets an index of them when it is met
/// for the first time, so that an address takes a time that does not depend on their number.
///
/// Thread: one at a time.
class AddressWalk
{
public:
    /// What @p address selects, if it is of that form and selects one element or attribute; a null node otherwise,
    /// and XPath must be asked.
    ///
    /// @param document  the same in each call, until forget().
    pugi::xpath_node find(pugi::xml_node document, std::string_view address);

    /// To be called before elements come, go or move.
    void forget() noexcept;

private:
    using ByTag = std::unordered_map<std::string, std::vector<pugi::xml_node>>;

    pugi::xml_node findChild(pugi::xml_node parent, std::string_view step);
    const ByTag& indexOf(pugi::xml_node parent);

    std::unordered_map<const void*, ByTag> indexes;
};

} // namespace ModelEditor
