#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <unordered_map>

namespace ModelEditor
{

class NodeMap;
class XmlObject;

/// The objects that were made for elements of one tree of nodes, to be found by the elements.
///
/// An object that is destroyed leaves it.
///
/// Ownership: refers to the objects, and they to this while they are in here. Thread: one at a time.
class ObjectsByNode
{
public:
    ObjectsByNode() = default;
    ~ObjectsByNode();

    ObjectsByNode(const ObjectsByNode&) = delete;
    ObjectsByNode& operator=(const ObjectsByNode&) = delete;

    /// Adds an object. @pre it has an element whose object is not in here, and is in no other one (not checked).
    ///
    /// @throws std::bad_alloc, nothing has changed then.
    void add(XmlObject& object);

    /// Takes out the object of @p element if there is one.
    void remove(pugi::xml_node element) noexcept;

    /// The object of @p element, null if there is none. Cost: one hash lookup.
    XmlObject* find(pugi::xml_node element) const;

    /// Makes room for @p count further objects. @throws std::bad_alloc, nothing has changed then.
    void makeRoomFor(std::size_t count);

    /// Moves the object of @p element, if there is one, to @p other, as that of the copy that the element has in
    /// @p copies. @pre there is room for it there (not checked).
    void move(pugi::xml_node element, const NodeMap& copies, ObjectsByNode& other) noexcept;

    std::size_t size() const noexcept;

private:
    std::unordered_map<const void*, XmlObject*> objects;
};

} // namespace ModelEditor
