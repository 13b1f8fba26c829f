#include "Applications/ModelEditor/Terminal/LineSource.h"

namespace ModelEditor
{

LineSource::~LineSource() = default;

void LineSource::serve(Background& /*background*/) {}

} // namespace ModelEditor
