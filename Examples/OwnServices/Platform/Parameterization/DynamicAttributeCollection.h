#pragma once

namespace Valdane
{

/// There is none in this application.
class DynamicAttributeCollection;

} // namespace Valdane
