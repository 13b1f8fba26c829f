#include "Platform/GeneralServices/Progress.h"

namespace Valdane
{

Progress::~Progress() = default;

void Progress::addProgress(std::shared_ptr<Progress> /*child*/, bool /*followsReset*/) {}

} // namespace Valdane
