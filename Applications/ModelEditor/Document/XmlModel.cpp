#include "Applications/ModelEditor/Document/XmlModel.h"

#include "Applications/ModelEditor/Document/ComputeApart.h"
#include "Applications/ModelEditor/Document/Interruption.h"
#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/NamedXmlObject.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <cstddef>
#include <cstring>
#include <ranges>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace ModelEditor
{

namespace
{

// The last bracket that is not closed, or a quote. What is wrong elsewhere is for the parser to tell.
std::optional<std::size_t> findUnclosed(const std::string& xpath)
{
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < xpath.size(); ++i)
    {
        const char character = xpath[i];
        if (character == '\'' || character == '"')
        {
            const auto end = xpath.find(character, i + 1);
            if (end == std::string::npos)
            {
                return i;
            }
            i = end;
        }
        else if (character == '[' || character == '(')
        {
            open.push_back(i);
        }
        else if ((character == ']' || character == ')') && !open.empty())
        {
            open.pop_back();
        }
    }
    return open.empty() ? std::nullopt : std::optional(open.back());
}

pugi::xpath_query compile(const std::string& xpath)
{
    try
    {
        return pugi::xpath_query(xpath.c_str());
    }
    catch (const pugi::xpath_exception& exception)
    {
        if (const auto open = findUnclosed(xpath))
        {
            throw Valdane::VdException("bad XPath at character " + std::to_string(*open + 1) + ": " +
                                       xpath[*open] + " is not closed: " + xpath);
        }
        const auto& result = exception.result();
        throw Valdane::VdException("bad XPath at character " + std::to_string(result.offset + 1) + ": " +
                                   result.error + ": " + xpath);
    }
}

const void* identityOf(const pugi::xpath_node& node)
{
    const void* const attribute = node.attribute().internal_object();
    return attribute != nullptr ? attribute : node.node().internal_object();
}

// By a walk through the document: the library's own sort looks for nodes among their siblings once markup was
// appended, which takes quadratic time.
std::vector<pugi::xpath_node> inDocumentOrder(const pugi::xpath_node_set& nodes, pugi::xml_node document)
{
    std::unordered_set<const void*> wanted;
    for (const auto& node : nodes)
    {
        wanted.insert(identityOf(node));
    }
    std::vector<pugi::xpath_node> ordered;
    ordered.reserve(wanted.size());
    for (auto node = document; node && ordered.size() < wanted.size(); node = nextNode(node))
    {
        if (wanted.contains(node.internal_object()))
        {
            ordered.emplace_back(node);
        }
        for (const auto attribute : node.attributes())
        {
            if (wanted.contains(attribute.internal_object()))
            {
                ordered.emplace_back(attribute, node);
            }
        }
    }
    return ordered;
}

std::vector<pugi::xpath_node> evaluateHere(const pugi::xpath_query& query, pugi::xml_node start,
                                           pugi::xml_node document)
{
    auto nodes = query.evaluate_node_set(start);
    if (nodes.type() == pugi::xpath_node_set::type_unsorted)
    {
        return inDocumentOrder(nodes, document);
    }
    nodes.sort();
    return {nodes.begin(), nodes.end()};
}

// A node is where it is in each process that is a copy of this one.
struct SentNode
{
    pugi::xml_node_struct* node;
    pugi::xml_attribute_struct* attribute;
};

std::string bytesOf(const std::vector<pugi::xpath_node>& nodes)
{
    std::string bytes;
    bytes.reserve(nodes.size() * sizeof(SentNode));
    for (const auto& node : nodes)
    {
        const auto owner = node.attribute() ? node.parent() : node.node();
        const SentNode sent{owner.internal_object(), node.attribute().internal_object()};
        bytes.append(reinterpret_cast<const char*>(&sent), sizeof sent);
    }
    return bytes;
}

std::vector<pugi::xpath_node> nodesOf(std::string_view bytes)
{
    std::vector<pugi::xpath_node> nodes;
    nodes.reserve(bytes.size() / sizeof(SentNode));
    for (; bytes.size() >= sizeof(SentNode); bytes.remove_prefix(sizeof(SentNode)))
    {
        SentNode sent{};
        std::memcpy(&sent, bytes.data(), sizeof sent);
        const pugi::xml_node node(sent.node);
        nodes.push_back(sent.attribute == nullptr
                            ? pugi::xpath_node(node)
                            : pugi::xpath_node(pugi::xml_attribute(sent.attribute), node));
    }
    return nodes;
}

} // namespace

Part partOf(const std::string& attributeName)
{
    if (attributeName == "name")
    {
        return Part::Name;
    }
    return isAnnotationName(attributeName) ? Part::Annotation : Part::Value;
}

std::string Selected::getAddress() const
{
    std::string address = object->getAddress();
    if (part == Part::Element || part == Part::Unsupported)
    {
        return address;
    }
    return address + "/" + object->getStep(name);
}

XmlModel::XmlModel(const std::string& bytes, const std::string& name)
    : document(bytes, name), context{document, {}}
{
    const auto element = document.getRootElement();
    root = makeXmlObject(element.name(), context, element);
    objects.add(*root);
}

std::shared_ptr<XmlObject> XmlModel::getRoot() const
{
    return root;
}

std::size_t XmlModel::getSize() const noexcept
{
    std::size_t size = 0;
    for (auto node = document.getRootElement(); node; node = nextNode(node))
    {
        size += node.type() == pugi::node_element ? 1 : 0;
    }
    return size;
}

void XmlModel::setCurrent(const std::shared_ptr<XmlObject>& element)
{
    current = element == nullptr ? std::nullopt : std::optional<std::weak_ptr<XmlObject>>(element);
}

std::shared_ptr<XmlObject> XmlModel::getCurrent() const
{
    if (isCurrentGone())
    {
        throw Valdane::VdException("the current element is gone; cd starts at the top again");
    }
    return current ? current->lock() : nullptr;
}

bool XmlModel::isCurrentGone() const
{
    const auto element = current ? current->lock() : root;
    return element == nullptr || element->getRootObjectAlt() != root;
}

void XmlModel::setPrefixes(NamespacePrefixes chosen)
{
    prefixes = std::move(chosen);
}

const NamespacePrefixes& XmlModel::getPrefixes() const noexcept
{
    return prefixes;
}

Selection XmlModel::select(const std::string& xpath) const
{
    const bool isAbsolute = xpath.starts_with('/');
    return selectFrom(isAbsolute && isCurrentGone() ? nullptr : getCurrent(), xpath);
}

Selection XmlModel::selectFrom(const std::shared_ptr<XmlObject>& start, const std::string& xpath) const
{
    Selection selection;
    const auto whole = withNamespaces(xpath, prefixes);
    if (const auto node = addresses.find(document.getDocumentNode(), whole))
    {
        selection.nodes.push_back(find(node).value());
        return selection;
    }
    auto query = compile(xpath); // first, so that a mistake is told where it was written
    if (whole != xpath)
    {
        query = compile(whole);
    }
    const auto from = start == nullptr ? document.getDocumentNode() : start->getElement();
    if (query.return_type() != pugi::xpath_type_node_set)
    {
        selection.value = evaluateText(query, from);
        return selection;
    }
    for (const auto& node : evaluate(query, from))
    {
        checkInterruption();
        if (auto selected = find(node))
        {
            selection.nodes.push_back(std::move(*selected));
        }
    }
    return selection;
}

void XmlModel::setInterruption(const Interruption* asked) noexcept
{
    interruption = asked;
}

void XmlModel::checkInterruption() const
{
    if (interruption != nullptr)
    {
        interruption->check();
    }
}

const Encoding& XmlModel::getEncoding() const noexcept
{
    return document.getEncoding();
}

MarkupWarnings XmlModel::findWarnings() const
{
    return document.findWarnings();
}

void XmlModel::requireNoWarnings(const std::string& markup) const
{
    document.requireNoWarnings(markup);
}

void XmlModel::setChangeListener(std::function<void(const XmlChange&)> listener)
{
    context.changed = std::move(listener);
}

void XmlModel::setChildrenListener(std::function<void(const XmlChildren&)> listener)
{
    context.childrenChanged = std::move(listener);
}

std::string XmlModel::toBytes() const
{
    return document.toBytes();
}

// Makes what is missing on the way, without a stack that grows with the depth.
XmlObject& XmlModel::objectOf(pugi::xml_node element) const
{
    std::vector<pugi::xml_node> missing;
    auto* object = objects.find(element);
    for (auto node = element; object == nullptr && node.type() == pugi::node_element;)
    {
        missing.push_back(node);
        node = node.parent();
        object = objects.find(node);
    }
    for (const auto node : missing | std::views::reverse)
    {
        object->makeChildren();
        object = objects.find(node);
    }
    return object == nullptr ? *root : *object;
}

std::shared_ptr<XmlObject> XmlModel::getObject(pugi::xml_node element) const
{
    return std::static_pointer_cast<XmlObject>(objectOf(element).shared_from_this());
}

std::vector<pugi::xpath_node> XmlModel::evaluate(const pugi::xpath_query& query, pugi::xml_node start) const
{
    const auto top = document.getDocumentNode();
    if (interruption == nullptr)
    {
        return evaluateHere(query, start, top);
    }
    const auto bytes = computeApart([&] { return bytesOf(evaluateHere(query, start, top)); }, *interruption);
    return nodesOf(bytes);
}

std::string XmlModel::evaluateText(const pugi::xpath_query& query, pugi::xml_node start) const
{
    const auto work = [&]
    {
        return query.evaluate_string(start);
    };
    return interruption == nullptr ? work() : computeApart(work, *interruption);
}

std::optional<Selected> XmlModel::find(const pugi::xpath_node& node) const
{
    if (const auto attribute = node.attribute())
    {
        if (node.parent().type() != pugi::node_element)
        {
            return std::nullopt; // of the declaration, which is no node to XPath
        }
        const std::string name = attribute.name();
        return Selected{.object = getObject(node.parent()),
                        .part = partOf(name),
                        .name = name,
                        .text = attribute.value(),
                        .node = node.parent()};
    }
    switch (node.node().type())
    {
    case pugi::node_document:
    case pugi::node_element:
        return Selected{.object = getObject(node.node()),
                        .part = Part::Element,
                        .name = {},
                        .text = {},
                        .node = node.node()};
    case pugi::node_pcdata:
    case pugi::node_cdata:
    {
        const auto object = getObject(node.node().parent());
        const auto name = object->getTextName(node.node());
        return name.empty() ? std::nullopt
                            : std::optional(Selected{.object = object,
                                                     .part = Part::Value,
                                                     .name = name,
                                                     .text = node.node().value(),
                                                     .node = node.node()});
    }
    case pugi::node_declaration:
    case pugi::node_doctype:
        return std::nullopt;
    default:
        return Selected{.object = getObject(node.node().parent()),
                        .part = Part::Unsupported,
                        .name = {},
                        .text = {},
                        .node = node.node()};
    }
}

} // namespace ModelEditor
