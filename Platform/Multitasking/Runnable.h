#pragma once

#include "Platform/Multitasking/MultitaskingExport.h"

namespace Valdane
{

/// Work in two steps: the work itself, then its closing step.
///
/// Thread: the caller decides; see Thread.
class VALDANE_MULTITASKING_EXPORT Runnable
{
public:
    virtual ~Runnable();

    /// The work. May throw anything; finishRun() is then not called.
    virtual void run() = 0;

    /// The closing step, called on the same thread after a run() that did not throw. May throw anything.
    virtual void finishRun() = 0;
};

} // namespace Valdane
