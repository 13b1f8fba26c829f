#pragma once

#include <QIcon>

namespace ModelEditor
{

/// The icons of the editor: line drawings in the colour of the text, so that they suit a light and a dark window.
///
/// Thread: the GUI thread.
class Icons
{
public:
    /// @param name  such as "open"; an empty icon if there is none.
    static QIcon get(const char* name);
};

} // namespace ModelEditor
