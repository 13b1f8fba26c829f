#pragma once

namespace Valdane
{

class ThreadManager
{
};

} // namespace Valdane
