#pragma once

#include <memory>

namespace Valdane
{

class Progress
{
public:
    virtual ~Progress() = default;
    virtual void addProgress(std::shared_ptr<Progress> child, bool followsReset) = 0;
};

} // namespace Valdane
