#pragma once

namespace Valdane
{

/// Work, and a closing step.
///
/// Thread: see Thread.
class Runnable
{
public:
    virtual ~Runnable() = default;

    virtual void run() = 0;
    virtual void finishRun() = 0;
};

} // namespace Valdane
