#pragma once

#include "Platform/GeneralServices/GeneralServicesExport.h"

#include <string>

namespace Valdane
{

/// An object with a name that users may change.
///
/// Thread: the implementing class says.
class VALDANE_GENERALSERVICES_EXPORT NameInterface
{
public:
    virtual ~NameInterface();

    /// The name; may be empty.
    virtual std::string getName() const = 0;

    /// Gives the object the name @p name.
    ///
    /// @param name    the new name.
    /// @param notify  true if those who watch the object are told.
    /// @throws as the implementing class says, for example if it does not accept the name.
    virtual void setName(const std::string& name, bool notify) = 0;
};

} // namespace Valdane
