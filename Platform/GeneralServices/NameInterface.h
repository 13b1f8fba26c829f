#pragma once

#include "Platform/GeneralServices/GeneralServicesExport.h"

#include <string>

namespace Valdane
{

/// An object that has a name a person may change.
///
/// Thread: as the implementing object says.
class VALDANE_GENERALSERVICES_EXPORT NameInterface
{
public:
    virtual ~NameInterface();

    /// The present name; may be empty.
    virtual std::string getName() const = 0;

    /// Gives the object the name @p name.
    ///
    /// @param name    the new name.
    /// @param notify  whether those who watch the object are told.
    /// @throws what the implementing object says, for example for a name that it does not accept.
    virtual void setName(const std::string& name, bool notify) = 0;
};

} // namespace Valdane
