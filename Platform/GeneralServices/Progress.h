#pragma once

#include "Platform/GeneralServices/GeneralServicesExport.h"

#include <memory>

namespace Valdane
{

/// What other progresses can be hung under: the least that a progress display has to be.
///
/// Thread: the thread that drives the progress; derived classes may allow more.
class VALDANE_GENERALSERVICES_EXPORT Progress
{
public:
    Progress() = default;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    virtual ~Progress();

    /// Hangs @p child under this progress. Here it does nothing.
    ///
    /// @param child         the progress to follow.
    /// @param followsReset  whether this progress starts anew when the child does.
    virtual void addProgress(std::shared_ptr<Progress> child, bool followsReset);
};

} // namespace Valdane
