#pragma once

#include "Applications/ModelEditor/Document/XmlContext.h"
#include "Applications/ModelEditor/Document/XmlValue.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ModelEditor
{

class Annotations;
class NodeMap;
class ObjectsByNode;

/// An element of a model as an object of the parameter tree.
///
/// Its key is its tag, followed by its number among the siblings of the same tag where there are several:
/// `mass`, `link[2]`. It stays the same when siblings come and go, so that it may differ from the last step of the
/// address then: `mass` may get a sibling `mass[2]`, and `link[3]` stays what it is when `link[2]` goes.
///
/// The element may go, and come back as another node with the same markup: see bind().
///
/// The objects of the elements below it are made, all at a time, when one of them is asked for, and stay then: the same
/// element has always the same object. Who knows it only as an Object sees those that were made; getObject() makes
/// what it needs.
///
/// Its attributes are described when they are asked for:
/// - every XML attribute except `name`, namespaced ones and namespace declarations, under its name;
/// - its first text (or CDATA section) as `text()`, further ones as `text()[n]`, where n is XPath's number
///   when the object has looked for them; these names stay the same when children come and go.
///   White space that only lays out other nodes is no text.
/// All are std::string, and what is set is what is written, escaped as markup needs it. Undoing every change gives back
/// the very characters that were read.
///
/// Its namespaced attributes, namespace declarations aside, are its dynamic attributes. So are all attributes that were
/// added since the file was opened; those without prefix are described as well, but for `name`.
///
/// Ownership: refers to the context, which must live longer than any operation that is called here.
/// Thread: the application's main thread only.
class XmlObject : public Valdane::Object
{
public:
    XmlObject(std::string key, const XmlContext& shared, pugi::xml_node node);
    ~XmlObject() override;

    /// Empty while the element is gone.
    pugi::xml_node getElement() const noexcept;

    /// Makes @p node the element, and forgets all that was found out about the one before.
    ///
    /// @param node  one that has the same markup as the one before had at first; empty if the element goes.
    void bind(pugi::xml_node node) noexcept;

    /// An absolute XPath that selects the element, and nothing else at this time: `/robot/link[2]/mass`.
    std::string getAddress() const;

    /// The last step of that address.
    std::string getAddressStep() const;

    /// Makes the objects of the elements below this one now. Does nothing if that was done.
    ///
    /// To be called before elements come or go there: the keys are those of the file.
    /// @throws std::bad_alloc, nothing has changed then. Cost: linear in their number, at the first time.
    void makeChildren();

    /// The objects of the elements below this one, as those of Object, which see all of them.
    std::shared_ptr<XmlObject> findChild(std::string_view key);
    std::vector<std::shared_ptr<Object>> getChildren();

    /// The number of elements below this one. Cost: linear in it until somebody asks for their objects.
    std::size_t getChildCount() const noexcept;

    /// The elements below this one, in the order of the document.
    std::vector<std::shared_ptr<XmlObject>> getElements();

    /// @copydoc Valdane::Object::getObject()
    std::shared_ptr<Object> getObject(const Valdane::Path& path,
                                      Valdane::GetObjectBehavior behavior) override;

    /// Is from now on the object of the copy that its element has in @p copies, with all that was found out of it.
    void rebind(const NodeMap& copies) noexcept;

    /// Has to be called when nodes have come or gone below the element.
    void onChildrenChanged() noexcept;

    /// A text that is not in the element just now.
    struct TakenText
    {
        std::size_t key = 0;                                ///< what its name is made of
        std::map<std::string, XmlValue>::node_type value{}; ///< if somebody has asked for it
    };

    /// A key that no text of the element has; those above it are free, too. The same for the same texts, whatever there
    /// was before, so that a history that is done again finds the same names.
    std::size_t findFreeTextKey();

    /// Adds the child @p node, which was not in the element, to the texts.
    ///
    /// @throws std::bad_alloc, nothing has changed then.
    void addText(pugi::xml_node node, TakenText& taken);

    /// Takes the text @p node, which is going, from the texts. @pre it is one, and settleTexts() was called (not checked).
    TakenText takeText(pugi::xml_node node) noexcept;

    /// Whether the child @p node is one of the texts.
    bool hasText(pugi::xml_node node);

    /// Finds the texts now, so that what is one stays one when the element gets further children.
    void settleTexts();

    /// How a person would call it: `link base_link`; without a name of its own `mass of link base_link`, if
    /// an element around it has one.
    std::string getTitle() const;

    /// The name of the attribute that describes @p textNode, a child of the element; empty for layout.
    std::string getTextName(pugi::xml_node textNode);

    /// The names of all attributes that are described, in the order of the file, texts last.
    std::vector<std::string> getAttributeNames();

    /// The XPath step from the element to its attribute or text @p name, which selects nothing else.
    std::string getStep(const std::string& name);

    /// The present text of the value that is described as @p name; empty if there is none.
    std::string getText(const std::string& name);

    /// The text that the file had there when it was opened; nothing if it had no such attribute.
    ///
    /// @throws VdException if there is no such value.
    std::optional<std::string> getOriginalText(const std::string& name);

    /// The names of its namespaced attributes: of those that the file did not have when it was opened, and of those with
    /// the prefix @p prefix.
    std::vector<std::string> getNewAnnotations();
    std::vector<std::string> getAnnotationsOf(const std::string& prefix);

    /// The same as a person is shown it: if it takes markup, with its references as they stand and `&amp;` for an
    /// ampersand.
    std::string getShownText(const std::string& name);

    /// Whether the value is shown, and entered, with references: it has some, or was a text that had some when
    /// the model was opened.
    bool takesMarkup(const std::string& name);

    /// What to set the value to if a person enters @p markup, in which references are meant as such.
    ///
    /// @throws VdException if the value is a CDATA section or an attribute that was added: these have no references; if
    ///         one is to an entity that is not known, see XmlDocument::requireKnownEntities().
    std::string readMarkup(const std::string& name, const std::string& markup);

    /// An attribute of the file that is not at the element just now.
    struct TakenAttribute
    {
        std::string text;                                   ///< that it had last
        std::map<std::string, XmlValue>::node_type value{}; ///< by its name
    };

    /// Takes away the attribute @p name, with the white space before it. One of that name can be added then, see
    /// setDynamicAttributeCollection().
    ///
    /// @throws VdException if it is none of the file, or is one of the dynamic attributes; what the listener throws;
    ///         std::bad_alloc. Nothing has changed then.
    TakenAttribute takeAttribute(const std::string& name);

    /// Puts an attribute back that takeAttribute() has taken away, to where it was.
    ///
    /// @pre nobody has added one of its name since (not checked).
    /// @throws what the listener throws; std::bad_alloc. Nothing has changed then.
    void putAttribute(TakenAttribute& taken);

    /// Whether the attribute @p name is described, unless it is a text: plain attributes are.
    static bool isPlainAttribute(const std::string& name);

    std::shared_ptr<Valdane::AttributeDescriptionBase>
    getAttributeDescription(const std::string& name) override;

    std::shared_ptr<Valdane::DynamicAttributeCollection> getDynamicAttributeCollection() override;

    /// Writes the attributes to the XML as well: those that the file has in their places, others at the end
    /// of the tag, with prefix or without.
    ///
    /// A collection must not change once it is set; copy it, and set the copy.
    /// @throws VdException if a name is none for an attribute, or that of one without prefix in the file, or if XML cannot
    ///         hold a text; what the listener throws; std::bad_alloc. Nothing has changed then.
    void
    setDynamicAttributeCollection(std::shared_ptr<Valdane::DynamicAttributeCollection> collection) override;

protected:
    /// A value as the object and an XPath know it.
    struct ValueName
    {
        std::string name;
        std::string step;
    };

    /// Sets the value to @p text and reports the change.
    ///
    /// @throws VdException if there is no such value or XML cannot hold @p text; what the listener throws;
    ///         std::bad_alloc. Nothing has changed then.
    void change(const ValueName& which, const std::string& text);

private:
    struct Findings;
    struct Texts;

    std::shared_ptr<Valdane::AttributeDescriptionBase> describe(const std::string& name);
    bool isAdded(const std::string& name) const;
    TakenAttribute detachAttribute(const std::string& name);
    void attachAttribute(TakenAttribute& taken);
    void changeAdded(const std::string& name, const std::string& text);
    pugi::xml_node findTextNode(const std::string& name);
    bool mayTakeMarkup(const std::string& name);
    XmlValue* findValue(const std::string& name);
    XmlValue& requireValue(const std::string& name);
    Texts& getTexts();
    const Texts& getNumberedTexts();
    std::string getStepOfChild(pugi::xml_node child);
    Annotations& requireAnnotations();
    template <typename Wanted>
    std::vector<std::string> listAnnotations(const Wanted& isWanted);
    void reportAnnotations(const std::shared_ptr<Valdane::DynamicAttributeCollection>& before,
                           const std::shared_ptr<Valdane::DynamicAttributeCollection>& after) const;
    Findings& requireFindings();

    const XmlContext& context;
    pugi::xml_node element;
    std::unique_ptr<Findings> findings;
    ObjectsByNode* holder = nullptr; // which it is in
    bool hasChildren = false;        // whether their objects were made
    bool hasOwnOrder = false;        // once children have come or gone

    friend class ObjectsByNode;
};

} // namespace ModelEditor
