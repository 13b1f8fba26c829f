#pragma once

#include "Platform/Signals/Connection.h"
#include "Toolkit/Qt/QtExport.h"

#include <QString>
#include <cstdint>
#include <functional>

class QWidget;

namespace Valdane
{

class Object;
class SaveState;

/// What a person wants to become of unsaved changes.
enum class SaveChoice
{
    Save,
    Discard,
    Cancel, ///< neither: what was about to happen must not
};

/// The name of a module for people.
using ModuleNames = std::function<QString(const Object&)>;

/// Asks whether the changes since the last save for @p tracker are to be saved, and names the modules and what changed in
/// them; the rest of a long list is in the details. Does not save.
///
///     if (saveChangesDialog(this, "robot.urdf", saveState, 0) == SaveChoice::Cancel) ...
///
/// Blocks in an event loop of its own. If @p parent is destroyed meanwhile, the answer is SaveChoice::Cancel.
///
/// @param parent        the window above which the dialog opens; may be null.
/// @param documentName  such as "robot.urdf".
/// @param names         called for each module. Empty: NameInterface::getName(), or the path of a module that has no name.
/// @return SaveChoice::Discard at once if there is nothing to save.
/// @throws what SaveState::unsavedChanges() and @p names throw, before anything is asked.
/// Thread: the GUI thread.
VALDANE_QT_EXPORT SaveChoice saveChangesDialog(QWidget* parent, const QString& documentName,
                                               const SaveState& state, std::uint64_t tracker,
                                               const ModuleNames& names = {});

/// Has the `[*]` in the title of @p window follow @p state for @p tracker, from now on until the connection is destroyed.
///
/// Ownership: @p window must live as long as the connection.
/// @throws what SaveState::isModified() throws.
[[nodiscard]] VALDANE_QT_EXPORT Signals::Connection showModified(QWidget& window, SaveState& state,
                                                                 std::uint64_t tracker);

} // namespace Valdane
