#pragma once

namespace Valdane
{

class DynamicAttributeCollection
{
};

} // namespace Valdane
