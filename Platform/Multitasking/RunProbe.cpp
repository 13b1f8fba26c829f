#include "Platform/Multitasking/RunProbe.h"

namespace Valdane
{

constinit std::atomic<RunProbe*> RunProbe::installed = nullptr;

RunProbe::RunProbe() = default;

RunProbe::~RunProbe() = default;

// Relaxed, because the start of a run's thread orders this before everything in the run.
RunProbe* RunProbe::install(RunProbe* probe) noexcept
{
    return installed.exchange(probe, std::memory_order_relaxed);
}

} // namespace Valdane
