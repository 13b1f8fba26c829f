#pragma once

#include "Platform/Multitasking/MultitaskingExport.h"

namespace Valdane
{

/// Work in two steps: the work itself, then its closing step.
///
/// Thread: whoever runs it decides; see Thread.
class VALDANE_MULTITASKING_EXPORT Runnable
{
public:
    virtual ~Runnable();

    /// The work. May throw anything; the closing step is then left out.
    virtual void run() = 0;

    /// The closing step, called on the same thread after a run() that did not throw. May throw anything.
    virtual void finishRun() = 0;
};

} // namespace Valdane
