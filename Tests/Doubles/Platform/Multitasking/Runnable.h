#pragma once

namespace Valdane
{

class Runnable
{
public:
    virtual ~Runnable() = default;

    virtual void run() = 0;
    virtual void finishRun() = 0;
};

} // namespace Valdane
