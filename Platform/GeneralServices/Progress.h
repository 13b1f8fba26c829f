#pragma once

#include "Platform/GeneralServices/GeneralServicesExport.h"

#include <memory>

namespace Valdane
{

/// The interface of everything that follows a progress, for example a progress display.
///
/// Thread: the thread that changes the progress; derived classes may allow more.
class VALDANE_GENERALSERVICES_EXPORT Progress
{
public:
    Progress() = default;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    virtual ~Progress();

    /// Attaches @p child below this progress. By default does nothing.
    ///
    /// @param child         the progress to follow.
    /// @param followsReset  true if this progress goes back when the child is reset.
    virtual void addProgress(std::shared_ptr<Progress> child, bool followsReset);
};

} // namespace Valdane
