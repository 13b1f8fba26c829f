#pragma once

#include "Toolkit/Qt/QtExport.h"

#include <QObject>
#include <memory>

class QWidget;

namespace Valdane
{

class CommandManager;

/// Shows the commands that fail to a person: what was tried and why it failed, with details that can be copied.
///
///     CommandFailedBox failures(manager, &window); // as long as the document is open
///
/// The box opens when the event loop runs next, so that no command and no signal of the manager waits for it. Failures that
/// come while it is open are added to it; the details have the newest 1,000. It is not modal.
///
/// Ownership: the manager and the window may be destroyed before it, and during it.
/// Thread: the GUI thread, which must be the manager's.
class VALDANE_QT_EXPORT CommandFailedBox : public QObject
{
    Q_OBJECT

public:
    /// @param manager  whose failures are shown. @param window  above which the box opens; may be null.
    explicit CommandFailedBox(CommandManager& manager, QWidget* window = nullptr);

    /// Closes the box.
    ~CommandFailedBox() override;

    /// Shows a failure that the manager does not know of: @p what was tried, and @p why it failed.
    void add(const QString& what, const QString& why);

private:
    class VALDANE_QT_NO_EXPORT Private;

    std::unique_ptr<Private> d;
};

} // namespace Valdane
