#pragma once

#include "Tests/Support/Failures.h"

#include <cstddef>
#include <stdexcept>

namespace Valdane::Faults
{

/// Whom the library calls, as far as it makes a difference what happens when that throws.
enum class Callee
{
    Work,         ///< whatever has a say in what the operation does
    Log,          ///< the log
    Notification, ///< who is told of what was done already
};

/// What is thrown in place of an answer, and is derived from std::exception.
class CallOutFailed : public std::runtime_error
{
public:
    CallOutFailed() : std::runtime_error("a call-out failed, for once") {}
};

enum class Thrown
{
    CallOutFailed,
    Stranger,
};

/// To be called by every double first of all: throws if this is the call-out that is to fail.
void callOut(Callee callee);

/// While it lives, the call-out after @p successes others throws.
class FailingCallOut
{
public:
    FailingCallOut(std::size_t successes, Thrown exception) noexcept;
    FailingCallOut(const FailingCallOut&) = delete;
    FailingCallOut& operator=(const FailingCallOut&) = delete;
    ~FailingCallOut();
};

/// What has failed since the last FailingCallOut was made.
struct FailedCallOut
{
    bool hasFailed = false;
    Callee callee = Callee::Work;
};

FailedCallOut failedCallOut() noexcept;

} // namespace Valdane::Faults
