#pragma once

#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Signals/Signal.h"

#include <map>
#include <memory>
#include <string>

namespace Valdane
{
template <typename T>
class AttributeDescription;
}

namespace Workshop
{

/// A part of a product, made of other parts. Each has a number for life that no neighbour has, and any name.
///
/// Ownership: owns the parts that it is made of. Thread: the main thread.
class Part : public Valdane::Object, public Valdane::NameInterface, public std::enable_shared_from_this<Part>
{
public:
    /// @param partLength  in metres.
    Part(unsigned partNumber, std::string partName, double partLength);
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;
    ~Part() override;

    /// Makes this part of @p part, too. @pre it is part of nothing, and its number is free (not checked)
    void add(const std::shared_ptr<Part>& part);

    double getLength() const;

    /// The attribute "length". It takes what is greater than 0, and throws `std::invalid_argument` for the
    /// rest.
    std::shared_ptr<Valdane::AttributeDescription<double>> getLengthAttribute() const;

    /// Emitted with the new name.
    Valdane::Signals::Signal<void(const std::string&)>& getSigRenamed();

    std::string getName() const override;
    void setName(const std::string& newName, bool notify) override;

    std::shared_ptr<Valdane::Object> getRootObjectAlt() override;
    std::shared_ptr<Valdane::Object> getOwner() const override;
    Valdane::Path getPath(Valdane::RequestedPathType type) const override;
    Valdane::Path getPath(const Valdane::Object* relativeTo, const std::string& attributeName,
                          Valdane::RequestedPathType type) const override;
    std::shared_ptr<Valdane::Object> getObject(const Valdane::Path& path,
                                               Valdane::GetObjectBehavior behavior) override;
    std::shared_ptr<Valdane::AttributeDescriptionBase>
    getAttributeDescription(const std::string& attributeName) override;

private:
    void setLength(double newLength);

    unsigned number;
    std::string name;
    double length;
    std::weak_ptr<Part> owner;
    std::map<unsigned, std::shared_ptr<Part>> parts;
    std::shared_ptr<Valdane::AttributeDescription<double>> lengthAttribute;
    Valdane::Signals::Signal<void(const std::string&)> sigRenamed;
};

} // namespace Workshop
