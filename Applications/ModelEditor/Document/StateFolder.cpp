#include "Applications/ModelEditor/Document/StateFolder.h"

#include <cstdlib>

namespace ModelEditor
{

std::string findStateFolder()
{
    const auto get = [](const char* name)
    {
        const char* const value = std::getenv(name);
        return std::string(value == nullptr ? "" : value);
    };
    const auto state = get("XDG_STATE_HOME");
    const auto home = get("HOME");
    if (state.starts_with('/'))
    {
        return state + "/model-editor";
    }
    return home.empty() ? "" : home + "/.local/state/model-editor";
}

} // namespace ModelEditor
