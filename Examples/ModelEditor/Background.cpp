#include "Examples/ModelEditor/Background.h"

namespace ModelEditor
{

Background::~Background() = default;

} // namespace ModelEditor
