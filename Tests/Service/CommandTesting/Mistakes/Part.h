#pragma once

#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Parameterization/Object.h"

#include <memory>
#include <string>
#include <vector>

namespace Valdane::Plants
{

/// What there is to know of a part.
struct PartData
{
    std::string name;
    double flow = 0;
    std::vector<std::string> notes = {};
    int stages = 1;
    unsigned bolts = 8;
    double pressure = 1.5;
    bool isOpen = true;
    std::string medium = "water";
};

/// A module of the plant: its parts are its children.
class Module : public Object
{
public:
    using Object::Object;

    bool isMarked = false; ///< as modified
};

/// A part of the plant; a child of its module.
class Part : public Object, public NameInterface
{
public:
    Part(const std::string& key, PartData partData);

    std::string getName() const override;
    void setName(const std::string& name, bool notify) override;

    void setDynamicAttributeCollection(std::shared_ptr<DynamicAttributeCollection> collection) override;

    /// Marks its module, if it is in one, as modified.
    void mark() const noexcept;

    PartData data;

private:
    template <typename T>
    void addAttribute(const std::string& attribute, T PartData::*member);
};

} // namespace Valdane::Plants
