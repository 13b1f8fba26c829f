#pragma once

#include "Examples/ModelEditor/XmlDocument.h"
#include "Examples/ModelEditor/XmlObject.h"

#include <pugixml.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace ModelEditor
{

struct XmlChange;

/// What of an element an XPath has selected.
enum class Part
{
    Element,
    Name,        ///< its attribute `name`
    Value,       ///< an attribute that is described, or a text
    Annotation,  ///< a namespaced attribute
    Unsupported, ///< a comment or a processing instruction
};

/// One node that an XPath has selected.
struct Selected
{
    std::shared_ptr<XmlObject> object; ///< the element, or the one that the node belongs to; never empty
    Part part = Part::Element;
    std::string name; ///< of the attribute
    std::string text; ///< its present value

    /// An absolute XPath that selects it.
    std::string getAddress() const;
};

/// What an XPath gives: nodes, or a number, a text or a truth value.
struct Selection
{
    std::vector<Selected> nodes;
    std::optional<std::string> value;
};

/// An XML file as a parameter tree.
///
/// Every element is an XmlObject, those with an attribute `name` are NamedXmlObjects. The children of the
/// root are the modules of the model. The objects are made at once, about 300 bytes for each, all else when
/// it is asked for.
///
/// Ownership: owns document and objects; objects that outlive it must not be used.
/// Thread: the application's main thread only.
class XmlModel
{
public:
    /// @param bytes  the content of a file. @param name  what messages call it.
    /// @throws VdException `<name>:<line>:<column>: <what is wrong>` if it is malformed; std::bad_alloc.
    XmlModel(const std::string& bytes, const std::string& name);

    XmlModel(const XmlModel&) = delete;
    XmlModel& operator=(const XmlModel&) = delete;

    std::shared_ptr<XmlObject> getRoot() const;

    /// The number of elements.
    std::size_t getSize() const noexcept;

    /// What @p xpath selects, in document order, without white space that is only layout.
    ///
    /// @throws VdException `bad XPath: ...` with the place of the mistake.
    Selection select(const std::string& xpath) const;

    /// Has @p listener called after every change of a value; an empty function ends that.
    void setChangeListener(std::function<void(const XmlChange&)> listener);

    /// The file as it is to be saved; without changes the bytes that were read.
    ///
    /// @throws VdException if the file's encoding lacks a character.
    std::string toBytes() const;

private:
    void addChildren(XmlObject& object);
    std::shared_ptr<XmlObject> makeObject(std::string key, pugi::xml_node element);
    std::optional<Selected> find(const pugi::xpath_node& node) const;

    XmlDocument document;
    XmlContext context;
    std::shared_ptr<XmlObject> root;
    std::unordered_map<const void*, XmlObject*> objects;
};

} // namespace ModelEditor
