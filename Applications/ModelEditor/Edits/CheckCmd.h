#pragma once

#include "Service/CommandPattern/ThreadedCommand.h"

#include <pugixml.hpp>

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace ModelEditor
{

class XmlModel;

/// Looks a whole model through for what other programs may refuse, see MarkupWarnings, and for what does not fit
/// together:
/// - elements of the same tag and name in the same element;
/// - references to nothing: an attribute that is called like the tag of elements with names (`link="arm"`),
///   where no element of that tag has the name;
/// - prefixes of attributes or elements that no element around them declares.
///
/// Changes nothing, and is not kept for undo.
///
/// Ownership: refers to the model, which must live longer.
/// Thread: run() only reads nodes and the text of the file, and no objects: the main thread may do all meanwhile that changes
/// neither. Otherwise as Valdane::ThreadedCommand.
class CheckCmd : public Valdane::ThreadedCommand
{
public:
    explicit CheckCmd(const XmlModel& checked);
    ~CheckCmd() override;

    void run() override;
    void finishRun() override;
    void undo() override;
    bool isAddableToCommandManager() const override;

    /// What the last run found, in the order of the file: first what is wrong in its text, then what does not fit
    /// together. What it had found up to then if it was aborted.
    const std::vector<std::string>& getFindings() const noexcept;

private:
    void checkText();
    void forEachElement(double from, const std::function<void(pugi::xml_node)>& look);
    std::string addressOf(pugi::xml_node element);
    std::string stepTo(pugi::xml_node element);
    void collectNames(pugi::xml_node element);
    void checkNames(pugi::xml_node element);
    void checkAttributes(pugi::xml_node element);

    const XmlModel& model;
    pugi::xml_node top;
    double size;
    std::map<std::string, std::set<std::string>> namesOfTags;
    // Of elements among their siblings of the same tag, from 1; 0 where there are no others.
    std::unordered_map<const void*, std::size_t> numbers;
    std::vector<std::string> findings;
};

} // namespace ModelEditor
