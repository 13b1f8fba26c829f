#pragma once

#include "Platform/Parameterization/ParameterizationExport.h"
#include "Platform/Parameterization/Path.h"
#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Slot.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Valdane
{

class AttributeDescriptionBase;
class DynamicAttributeCollection;

/// A node of the parameter tree. Applications derive their objects from it.
///
/// The owner finds an object by its key. The key never changes, and any text is a key. Paths consist of keys, so
/// renaming an object changes no path. A root's key is in no path: from the root, the empty path leads to the
/// root.
///
/// Ownership: always held by `std::shared_ptr`. An object owns its children and links weakly to its owner. A
/// child that is held elsewhere when its owner is destroyed becomes a root. The destructor of a derived class
/// still sees the children; they are released after it. No operation uses stack that grows with the depth of the
/// tree, and neither does destroying the tree.
///
/// Memory: one block for an object without children, attributes, dynamic attributes and listeners; a second one
/// for a key of more than 15 bytes.
///
/// Thread: the application's main thread only. Separate trees may live on separate threads.
class VALDANE_PARAMETERIZATION_EXPORT Object : public std::enable_shared_from_this<Object>
{
public:
    /// A root without children. @param key  any text.
    explicit Object(std::string key);

    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object();

    /// The key by which the owner finds this object.
    const std::string& getKey() const noexcept;

    /// Appends @p child to the children.
    ///
    /// Cost: independent of the number of children. If @p child has children, also time proportional to this
    /// object's depth.
    /// @throws VdException if @p child is empty, has an owner, is this object or the root of its tree, or if
    ///         there is a child with the same key; std::bad_alloc. Nothing is then changed.
    void addChild(std::shared_ptr<Object> child);

    /// Takes the child with @p key out of the tree. It becomes the root of its own tree.
    ///
    /// @return the child; empty if there is none.
    /// Cost: independent of the number of children.
    std::shared_ptr<Object> removeChild(std::string_view key);

    /// Replaces the child that has the key of @p child. Paths then lead to the new one.
    ///
    /// @return the child that was replaced, now a root.
    /// Cost: as for addChild.
    /// @throws VdException if @p child is empty, has an owner, is this object or the root of its tree, or if
    ///         there is no child with the same key. Nothing is then changed.
    std::shared_ptr<Object> replaceChild(std::shared_ptr<Object> child);

    /// The child with @p key, empty if there is none. Cost: one hash lookup, however many children there are.
    std::shared_ptr<Object> findChild(std::string_view key) const;

    /// The children in the order in which they were added. A replacement has the place of the child it replaced.
    ///
    /// The result is a copy, so that the caller may change the tree while walking it. Cost: linear in the number
    /// of children.
    std::vector<std::shared_ptr<Object>> getChildren() const;

    /// The number of children.
    std::size_t getChildCount() const noexcept;

    /// The object that has this one as a child; empty for a root, and while the owner is being destroyed.
    std::shared_ptr<Object> getOwner() const;

    /// Returns the root of the tree: the object at the top, which has no owner. That may be this object. The
    /// commands ask for the root under this name. Cost: proportional to this object's depth.
    ///
    /// @throws std::bad_weak_ptr if the root is still being constructed or already being destroyed.
    std::shared_ptr<Object> getRootObjectAlt();

    /// The path of this object from the root. Cost: time proportional to this object's depth, and one
    /// allocation for the result.
    Path getPath(RequestedPathType type) const;

    /// The path of the attribute @p attributeName of this object, which need not exist.
    ///
    /// @param relativeTo     the object at which the path starts: this one or one above it; null for the root.
    /// @param attributeName  any text.
    /// @param type           as in the other overload.
    /// @throws VdException naming both objects, if @p relativeTo is neither.
    Path getPath(const Object* relativeTo, const std::string& attributeName, RequestedPathType type) const;

    /// The object to which @p path leads from this one. An attribute name in the path is ignored.
    ///
    /// @return the object; empty if a key on the way has no object.
    /// @throws std::bad_weak_ptr if the path has no keys and this object is not held by a shared pointer.
    /// Cost: a hash lookup for every key.
    virtual std::shared_ptr<Object> getObject(const Path& path, GetObjectBehavior behavior);

    /// Adds an attribute under the name that @p description has.
    ///
    /// The object shares ownership of @p description. So a getter or setter in it that holds the object by
    /// `std::shared_ptr` makes a cycle and a leak.
    /// @throws VdException if @p description is empty or there is an attribute of that name; std::bad_alloc.
    ///         Nothing has changed then.
    void addAttributeDescription(std::shared_ptr<AttributeDescriptionBase> description);

    /// The description that was added under @p name; an empty pointer if there is none.
    ///
    /// An override may make descriptions on demand. Listeners of an attribute are connected to its description,
    /// so the override must return the same description as long as somebody is connected to it.
    virtual std::shared_ptr<AttributeDescriptionBase> getAttributeDescription(const std::string& name);

    /// The dynamic attributes; an empty pointer if the object has none. A new object has none.
    virtual std::shared_ptr<DynamicAttributeCollection> getDynamicAttributeCollection();

    /// Shares ownership of @p collection from now on; an empty pointer means no dynamic attributes.
    ///
    /// Emits nothing.
    virtual void setDynamicAttributeCollection(std::shared_ptr<DynamicAttributeCollection> collection);

    /// Tells the listeners of connectToSigChanged that this object, or something that it owns, has changed.
    ///
    /// Listeners of this object only: the signal does not rise to the owner. The application calls this when it
    /// has changed something. In this library only ClearDynamicAttributesCmd does, on the owner of the object
    /// whose attributes it clears. addChild, removeChild, replaceChild and the setters of this class do not.
    ///
    /// Calls them in the order in which they connected. A listener may destroy this object; the listeners after
    /// it are then not called. Cost: one test without listeners.
    /// @throws whatever a listener throws; the listeners after it are then not called.
    virtual void emitSigChanged() const;

    /// Calls @p slot on every emitSigChanged until the connection is destroyed.
    [[nodiscard]] Signals::Connection connectToSigChanged(const Signals::Slot<void()>& slot);

    /// Whether the application is applying standard values to this object; false at first.
    ///
    /// The application sets the state before and resets it after. A setter asks for it to tell a standard value
    /// from one that a user entered.
    virtual bool isApplyStandardRunning() const;
    virtual void setApplyStandardRunning(const bool& running);

private:
    class Children;
    struct Extras;

    std::vector<std::string_view> keysFrom(const Object* top) const;
    bool isAboveOrSame(const Object& other) const noexcept;
    void requireAdoptable(const Object* child) const;
    Extras& requireExtras();
    std::string describe() const;

    std::string valdaneKeyInOwner;
    Object* valdaneOwner = nullptr;
    std::unique_ptr<Children> valdaneChildren;
    std::unique_ptr<Extras> valdaneExtras;
    bool valdaneApplyStandardRunning = false;
};

} // namespace Valdane
