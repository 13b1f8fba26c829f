#pragma once

#include <QObject>
#include <QPalette>

class QMenu;

namespace ModelEditor
{

/// The colours of the application: those of the desktop, light or dark. The choice is kept in the settings of the user.
///
/// Thread: the GUI thread.
class Theme : public QObject
{
    Q_OBJECT

public:
    enum class Kind
    {
        System,
        Light,
        Dark,
    };

    /// Adds a submenu to @p menu, and applies what was chosen last.
    explicit Theme(QMenu& menu);
    ~Theme() override;

    void choose(Kind kind);

private:
    void apply(Kind kind);

    QPalette ofSystem;
};

} // namespace ModelEditor
