#pragma once

#include "Platform/Parameterization/ParameterizationExport.h"

#include <string>

namespace Valdane
{

/// The part of an attribute's description that does not depend on its type: the name, and when a change is
/// announced.
///
/// The code that changes the value announces that through `AttributeDescription<T>::getSigChanged()`, if the
/// attribute is enabled for standard values or emitsChangedSignal() returns true.
///
/// Ownership: held by `std::shared_ptr`, by the object that has the attribute and by its callers.
/// Thread: the application's main thread only.
class VALDANE_PARAMETERIZATION_EXPORT AttributeDescriptionBase
{
public:
    AttributeDescriptionBase(const AttributeDescriptionBase&) = delete;
    AttributeDescriptionBase& operator=(const AttributeDescriptionBase&) = delete;
    virtual ~AttributeDescriptionBase();

    /// Whether a change is announced even though the attribute is not enabled for standard values.
    ///
    /// Returns false, unless overridden for an attribute that has listeners all the same.
    virtual bool emitsChangedSignal() const;

    /// The name under which the object knows the attribute; any text.
    const std::string& getName() const noexcept;

    /// Whether the attribute is one of those that take standard values; true at first.
    bool isForStandardEnabled() const noexcept;
    void setForStandardEnabled(bool enabled) noexcept;

protected:
    /// Enabled for standard values. @param name  see getName().
    explicit AttributeDescriptionBase(std::string name);

private:
    std::string valdaneAttributeName;
    bool valdaneForStandardEnabled = true;
};

} // namespace Valdane
