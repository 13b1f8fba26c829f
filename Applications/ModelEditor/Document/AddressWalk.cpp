#include "Applications/ModelEditor/Document/AddressWalk.h"

#include "Applications/ModelEditor/Document/Markup.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <utility>

namespace ModelEditor
{

namespace
{

// Below that, a look at all of them is faster than to ask an index.
constexpr std::size_t fewChildren = 32;

constexpr std::size_t noNumber = 0;

bool isTagCharacter(char c)
{
    return std::string_view("/@[]()*'\"|=<>+$!, \t\r\n").find(c) == std::string_view::npos;
}

// A name, so that it is neither an axis nor one of the steps `.` and `..`.
bool isTag(std::string_view text)
{
    return !text.empty() && text.front() != '.' && text.find("::") == std::string_view::npos &&
           std::ranges::all_of(text, isTagCharacter);
}

struct Step
{
    std::string_view tag;
    std::size_t number = noNumber; ///< among the siblings of that tag, from 1
    bool isOfThisForm = false;
};

Step parseStep(std::string_view text)
{
    const auto bracket = std::min(text.find('['), text.size());
    Step step{.tag = text.substr(0, bracket)};
    if (bracket == text.size())
    {
        step.isOfThisForm = isTag(step.tag);
        return step;
    }
    const char* const end = text.data() + text.size() - 1;
    const auto parsed = std::from_chars(text.data() + bracket + 1, end, step.number);
    step.isOfThisForm = isTag(step.tag) && *end == ']' && parsed.ec == std::errc() && parsed.ptr == end &&
                        step.number != noNumber;
    return step;
}

pugi::xml_node nodeOf(const std::vector<pugi::xml_node>& same, std::size_t number)
{
    if (number == noNumber)
    {
        return same.size() == 1 ? same.front() : pugi::xml_node();
    }
    return number <= same.size() ? same[number - 1] : pugi::xml_node();
}

} // namespace

pugi::xpath_node AddressWalk::find(pugi::xml_node document, std::string_view address)
{
    auto element = document;
    while (!element.empty() && address.starts_with('/') && !address.starts_with("/@"))
    {
        const auto end = std::min(address.find('/', 1), address.size());
        element = findChild(element, address.substr(1, end - 1));
        address.remove_prefix(end);
    }
    if (element.empty() || element == document)
    {
        return {};
    }
    if (address.empty())
    {
        return element;
    }
    const auto name = address.substr(std::min<std::size_t>(2, address.size()));
    // A namespace declaration is no attribute to XPath.
    if (!address.starts_with("/@") || !isTag(name) || isNamespaceDeclaration(std::string(name)))
    {
        return {};
    }
    const auto attribute = element.attribute(std::string(name).c_str());
    return attribute.empty() ? pugi::xpath_node() : pugi::xpath_node(attribute, element);
}

void AddressWalk::forget() noexcept
{
    indexes.clear();
}

pugi::xml_node AddressWalk::findChild(pugi::xml_node parent, std::string_view text)
{
    const auto step = parseStep(text);
    if (!step.isOfThisForm)
    {
        return {};
    }
    std::vector<pugi::xml_node> same;
    std::size_t seen = 0;
    for (auto child = parent.first_child(); !child.empty(); child = child.next_sibling())
    {
        if (++seen > fewChildren)
        {
            const auto& index = indexOf(parent);
            const auto found = index.find(std::string(step.tag));
            return found == index.end() ? pugi::xml_node() : nodeOf(found->second, step.number);
        }
        if (child.type() == pugi::node_element && child.name() == step.tag)
        {
            same.push_back(child);
        }
    }
    return nodeOf(same, step.number);
}

const AddressWalk::ByTag& AddressWalk::indexOf(pugi::xml_node parent)
{
    const auto known = indexes.find(parent.internal_object());
    if (known != indexes.end())
    {
        return known->second;
    }
    ByTag index;
    for (const auto child : parent.children())
    {
        if (child.type() == pugi::node_element)
        {
            index[child.name()].push_back(child);
        }
    }
    return indexes.emplace(parent.internal_object(), std::move(index)).first->second;
}

} // namespace ModelEditor
