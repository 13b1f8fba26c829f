#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace ModelEditor
{

class XmlObject;

/// The objects of a model, to be found by their nodes.
///
/// Ownership: refers to the objects, which must live as long as they are in here.
/// Thread: one at a time.
class ObjectsByNode
{
public:
    ObjectsByNode() = default;

    /// @param lasting  objects of different elements; best in the order of the document.
    explicit ObjectsByNode(const std::vector<XmlObject*>& lasting);

    /// Adds an object. @pre it has an element whose object is not in here (not checked).
    ///
    /// @throws std::bad_alloc, nothing has changed then.
    void add(XmlObject& object);

    /// Takes out the object of @p element if there is one.
    void remove(pugi::xml_node element) noexcept;

    /// The object of @p element, null if there is none. Cost: logarithmic.
    XmlObject* find(pugi::xml_node element) const;

    std::size_t size() const noexcept;

private:
    struct Entry
    {
        const void* node;
        XmlObject* object;
    };

    // By node. Smaller than a table of hashes, and much faster made.
    std::vector<Entry> sorted;
    std::size_t removed = 0; // entries of `sorted` that have lost their object
    std::unordered_map<const void*, XmlObject*> added;
};

} // namespace ModelEditor
