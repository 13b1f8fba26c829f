#include "Examples/ModelEditor/LineSource.h"

namespace ModelEditor
{

LineSource::~LineSource() = default;

} // namespace ModelEditor
