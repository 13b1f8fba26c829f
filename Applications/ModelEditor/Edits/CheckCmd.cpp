#include "Applications/ModelEditor/Edits/CheckCmd.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Words.h"

#include <ranges>
#include <string_view>
#include <utility>

namespace ModelEditor
{

namespace
{

pugi::xml_node nextElement(pugi::xml_node element, pugi::xml_node top)
{
    const auto isElement = [](pugi::xml_node node)
    {
        return node.type() == pugi::node_element;
    };
    if (const auto child = element.find_child(isElement))
    {
        return child;
    }
    for (; element != top; element = element.parent())
    {
        for (auto sibling = element.next_sibling(); sibling; sibling = sibling.next_sibling())
        {
            if (isElement(sibling))
            {
                return sibling;
            }
        }
    }
    return {};
}

bool isDeclared(pugi::xml_node element, const std::string& prefix)
{
    const std::string declaration = "xmlns:" + prefix;
    while (!element.empty() && element.attribute(declaration.c_str()).empty())
    {
        element = element.parent();
    }
    return !element.empty();
}

// The prefix of a name that must be declared; empty if there is none.
std::string prefixOf(std::string_view name)
{
    const auto colon = name.find(':');
    const auto prefix = name.substr(0, colon == std::string_view::npos ? 0 : colon);
    return prefix == "xml" || prefix == "xmlns" ? std::string() : std::string(prefix);
}

} // namespace

CheckCmd::CheckCmd(const XmlModel& checked)
    : ThreadedCommand("Check the model"),
      model(checked),
      top(checked.getRoot()->getElement()),
      size(static_cast<double>(checked.getSize()))
{
}

CheckCmd::~CheckCmd() = default;

void CheckCmd::run()
{
    constexpr double half = Valdane::LegacyProgress::FullRange / 2.0;
    findings.clear();
    namesOfTags.clear();
    numbers.clear();
    checkText();
    forEachElement(0, [this](pugi::xml_node element) { collectNames(element); });
    forEachElement(half,
                   [this](pugi::xml_node element)
                   {
                       checkNames(element);
                       checkAttributes(element);
                   });
}

void CheckCmd::finishRun()
{
    getProgressPtr()->setComplete();
}

void CheckCmd::undo() {}

bool CheckCmd::isAddableToCommandManager() const
{
    return false;
}

const std::vector<std::string>& CheckCmd::getFindings() const noexcept
{
    return findings;
}

void CheckCmd::checkText()
{
    auto warnings = model.findWarnings();
    findings = std::move(warnings.texts);
    if (warnings.count > findings.size())
    {
        findings.push_back("and " + plural(warnings.count - findings.size(), "more place") + " like these");
    }
}

void CheckCmd::forEachElement(double from, const std::function<void(pugi::xml_node)>& look)
{
    constexpr double half = Valdane::LegacyProgress::FullRange / 2.0;
    double looked = 0;
    for (auto element = top; element && !isAborted(); element = nextElement(element, top))
    {
        look(element);
        looked += 1;
        getProgressPtr()->moveTo(from + (half * looked / size));
    }
}

// `/robot/link[2]`: with a number where there are several of the tag.
std::string CheckCmd::addressOf(pugi::xml_node element)
{
    std::vector<std::string> steps;
    for (; element.type() == pugi::node_element; element = element.parent())
    {
        steps.push_back(stepTo(element));
    }
    std::string address;
    for (const auto& step : steps | std::views::reverse)
    {
        address += step;
    }
    return address;
}

// Numbers all siblings at once: there may be as many findings as there are elements.
std::string CheckCmd::stepTo(pugi::xml_node element)
{
    if (!numbers.contains(element.internal_object()))
    {
        std::unordered_map<std::string_view, std::size_t> counts;
        for (const auto sibling : element.parent().children())
        {
            numbers[sibling.internal_object()] = ++counts[sibling.name()];
        }
        for (const auto sibling : element.parent().children())
        {
            auto& number = numbers.at(sibling.internal_object());
            number = counts.at(sibling.name()) == 1 ? 0 : number;
        }
    }
    const auto number = numbers.at(element.internal_object());
    return std::string("/") + element.name() + (number == 0 ? "" : "[" + std::to_string(number) + "]");
}

void CheckCmd::collectNames(pugi::xml_node element)
{
    if (const auto name = element.attribute("name"))
    {
        namesOfTags[element.name()].insert(name.value());
    }
}

void CheckCmd::checkNames(pugi::xml_node element)
{
    std::set<std::pair<std::string, std::string>> seen;
    for (const auto child : element.children())
    {
        const auto name = child.attribute("name");
        if (!name.empty() && !seen.emplace(child.name(), name.value()).second)
        {
            findings.push_back(addressOf(child) + ": a second " + child.name() + " " + shown(name.value()));
        }
    }
}

void CheckCmd::checkAttributes(pugi::xml_node element)
{
    if (const auto prefix = prefixOf(element.name()); !prefix.empty() && !isDeclared(element, prefix))
    {
        findings.push_back(addressOf(element) + ": prefix " + prefix + " is not declared");
    }
    for (const auto attribute : element.attributes())
    {
        const auto names = namesOfTags.find(attribute.name());
        if (names != namesOfTags.end() && !names->second.contains(attribute.value()))
        {
            findings.push_back(addressOf(element) + "/@" + attribute.name() + ": there is no " +
                               attribute.name() + " " + shown(attribute.value()));
        }
        const auto prefix = prefixOf(attribute.name());
        if (!prefix.empty() && !isDeclared(element, prefix))
        {
            findings.push_back(addressOf(element) + "/@" + attribute.name() + ": prefix " + prefix +
                               " is not declared");
        }
    }
}

} // namespace ModelEditor
