#pragma once

#include "Applications/ModelEditor/Document/AddressWalk.h"
#include "Applications/ModelEditor/Document/Layout.h"
#include "Applications/ModelEditor/Document/NamespacePrefixes.h"
#include "Applications/ModelEditor/Document/ObjectsByNode.h"
#include "Applications/ModelEditor/Document/XmlDocument.h"
#include "Applications/ModelEditor/Document/XmlObject.h"
#include "Applications/ModelEditor/Document/XmlParts.h"

#include <pugixml.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ModelEditor
{

class Interruption;
struct XmlChange;
struct XmlChildren;

/// What of an element an XPath has selected.
enum class Part
{
    Element,
    Name,        ///< its attribute `name`
    Value,       ///< an attribute that is described, or a text
    Annotation,  ///< a namespaced attribute
    Unsupported, ///< a comment or a processing instruction
};

/// What the attribute @p attributeName of an element is.
Part partOf(const std::string& attributeName);

/// One node that an XPath has selected.
struct Selected
{
    std::shared_ptr<XmlObject> object; ///< the element, or the one that the node belongs to; never empty
    Part part = Part::Element;
    std::string name;      ///< of the attribute
    std::string text;      ///< its present value
    pugi::xml_node node{}; ///< the node itself; the element if it is an attribute

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
/// root are the modules of the model. Modules can be appended and taken out, and children of any element put in and
/// taken out, last in, first out. Objects are made when they are asked for, about 350 bytes for each, with those of all
/// siblings; so is all else.
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

    /// The object of @p element, which is one of this model. Cost: the first time that of its siblings, on the whole way.
    std::shared_ptr<XmlObject> getObject(pugi::xml_node element) const;

    /// The number of elements. Cost: linear in the document.
    std::size_t getSize() const noexcept;

    /// Has relative addresses start at @p element; an empty pointer has them start at the document, as at first.
    void setCurrent(const std::shared_ptr<XmlObject>& element);

    /// Where relative addresses start; empty if that is the document.
    ///
    /// @throws VdException if the element is not in the document any more.
    std::shared_ptr<XmlObject> getCurrent() const;

    /// Whether that element is not in the document any more; it may come back.
    bool isCurrentGone() const;

    /// Has addresses use @p chosen; without, and at first, all prefixes are compared as written.
    void setPrefixes(NamespacePrefixes chosen);

    const NamespacePrefixes& getPrefixes() const noexcept;

    /// What @p xpath selects, in document order, without white space that is only layout.
    ///
    /// @throws VdException `bad XPath: ...` with the place of the mistake; if a relative address has no element to start at.
    /// Cost: that of XPath, which looks at the whole document for many addresses. An address as getAddress() writes it
    /// is followed directly; an index of the children of a large element is made when it is met first.
    Selection select(const std::string& xpath) const;

    /// The same, with relative addresses starting at @p start, or at the document if it is empty.
    Selection selectFrom(const std::shared_ptr<XmlObject>& start, const std::string& xpath) const;

    /// Has select() and selectFrom() stop when @p asked says so; a null pointer ends that.
    ///
    /// XPath is then evaluated in a process of its own. @param asked  must live until it is replaced.
    void setInterruption(const Interruption* asked) noexcept;

    /// @throws VdException `interrupted` if that is asked. For those who go through much of the model.
    void checkInterruption() const;

    /// The encoding in which it is saved.
    const Encoding& getEncoding() const noexcept;

    /// See XmlDocument::findWarnings().
    MarkupWarnings findWarnings() const;

    /// See XmlDocument::requireNoWarnings().
    void requireNoWarnings(const std::string& markup) const;

    /// Appends the modules of @p part, as new objects or, if it was part of the model before, as those it
    /// had.
    ///
    /// The change listener is told of every module.
    /// @pre the part is not in the model (not checked).
    /// @throws what XmlDocument::append() and the listener throw; std::bad_alloc. Nothing has changed then.
    /// Cost: linear in the part; the first time also in the number of modules of the model.
    void append(XmlPart& part);

    /// Takes the modules of @p part out, and with them whatever was changed in them. Until they are appended
    /// again, their objects have no element.
    ///
    /// The change listener is told of every module.
    /// @throws VdException if they were not appended last; what the listener throws; std::bad_alloc. Nothing
    ///         has changed then, except that the listener's exception costs what was changed in the modules.
    /// Cost: linear in the part.
    void remove(XmlPart& part);

    /// The object of @p element if it was made, otherwise null.
    const XmlObject* findObject(pugi::xml_node element) const;

    /// The children of @p parent that are no layout, as they are saved; see XmlDocument::getChunks().
    const Chunks& getChunks(const XmlObject& parent);

    /// Which of them @p node is. Cost: linear in their number.
    std::size_t indexOf(pugi::xml_node node);

    /// The nodes of all of them.
    std::vector<pugi::xml_node> getNodes(const XmlObject& parent);

    /// What is saved of one of them, without its layout.
    std::string getMarkup(const XmlObject& parent, std::size_t index);

    /// The white space for new children of @p parent; see layoutAt().
    Layout getLayout(const XmlObject& parent, std::optional<std::size_t> neighbour);

    /// By how much the children of an element are indented more than the element.
    std::string getIndent();

    /// What @p children are as chunks of @p parent. They are not in the model yet; put() does that.
    ///
    /// @param children  see XmlDocument::parse(). @throws what that throws. Nothing has changed then.
    XmlCutting parse(XmlObject& parent, const std::vector<NewChildren>& children);

    /// Puts the children of @p part to where they belong.
    ///
    /// The change listener is told of each of them.
    /// @pre they are not in the model (not checked).
    /// @throws VdException if the place is gone; what the listener throws; std::bad_alloc. Nothing has changed then.
    /// Cost: linear in the part, and in the number of children of the element.
    void put(XmlCutting& part);

    /// Takes the children out that @p part says where to find.
    ///
    /// Until they are put in again, their objects have elements that are not in the document. The change listener is told
    /// of each of them.
    /// @throws VdException if there are not so many; what the listener throws; std::bad_alloc. Nothing has changed then.
    /// Cost: as for put().
    void take(XmlCutting& part);

    /// Has @p listener called after every change of a value, and when modules have come or gone; an empty
    /// function ends that.
    void setChangeListener(std::function<void(const XmlChange&)> listener);

    /// Has @p listener called once for all children of an element that have come, or go next; an empty function ends that.
    /// It must throw nothing.
    void setChildrenListener(std::function<void(const XmlChildren&)> listener);

    /// The file as it is to be saved; without changes the bytes that were read.
    ///
    /// @throws VdException if the file's encoding lacks a character.
    std::string toBytes() const;

private:
    XmlObject& objectOf(pugi::xml_node element) const;
    void attach(XmlPart& part);
    void makeModules(XmlPart& part);
    void bindObjects(const XmlPart& part);
    void detach(XmlPart& part) noexcept;
    void requireLast(const XmlPart& part);
    std::shared_ptr<XmlObject> requireParent(const XmlCutting& part) const;
    void attach(XmlObject& parent, XmlCutting& part);
    void detach(XmlObject& parent, XmlCutting& part);
    std::vector<XmlChange> changesIn(XmlObject& parent, const Cutting& cutting, const NodeMap& inModel,
                                     bool came);
    void report(const std::vector<XmlChange>& changes) const;
    void tellChildren(const XmlObject& parent, std::span<const pugi::xml_node> nodes,
                      bool haveCome) const noexcept;
    std::optional<Selected> find(const pugi::xpath_node& node) const;
    std::vector<pugi::xpath_node> evaluate(const pugi::xpath_query& query, pugi::xml_node start) const;
    std::string evaluateText(const pugi::xpath_query& query, pugi::xml_node start) const;

    XmlDocument document;
    XmlContext context;
    std::shared_ptr<XmlObject> root;
    ObjectsByNode objects;
    std::optional<std::weak_ptr<XmlObject>> current;
    NamespacePrefixes prefixes;
    // What is known of the document, not a part of it.
    mutable AddressWalk addresses;
    const Interruption* interruption = nullptr;
};

} // namespace ModelEditor
