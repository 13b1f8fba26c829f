#include "Applications/ModelEditor/Terminal/Background.h"

namespace ModelEditor
{

Background::~Background() = default;

} // namespace ModelEditor
