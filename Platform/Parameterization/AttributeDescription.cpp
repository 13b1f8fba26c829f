#include "Platform/Parameterization/AttributeDescription.h"

namespace Valdane
{

template class AttributeDescription<bool>;
template class AttributeDescription<double>;
template class AttributeDescription<std::string>;
template class AttributeDescription<unsigned int>;
template class AttributeDescription<int>;

} // namespace Valdane
