#pragma once

namespace ValdaneTests
{

/// While it lives, the system refuses to start threads, as it does when it has no more to give.
class RefusedThreadStart
{
public:
    RefusedThreadStart();
    RefusedThreadStart(const RefusedThreadStart&) = delete;
    RefusedThreadStart& operator=(const RefusedThreadStart&) = delete;
    ~RefusedThreadStart();
};

} // namespace ValdaneTests
