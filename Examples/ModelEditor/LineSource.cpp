#include "Examples/ModelEditor/LineSource.h"

namespace ModelEditor
{

LineSource::~LineSource() = default;

void LineSource::serve(Background& /*background*/) {}

} // namespace ModelEditor
