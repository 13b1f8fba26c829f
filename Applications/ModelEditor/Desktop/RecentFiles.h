#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QMenu;

namespace ModelEditor
{

/// The files that were opened last, kept in the settings of the user.
///
/// Thread: the GUI thread.
class RecentFiles : public QObject
{
    Q_OBJECT

public:
    /// @param shown  the menu that is filled with them; must live as long as this.
    explicit RecentFiles(QMenu& shown);
    ~RecentFiles() override;

    /// The newest first.
    QStringList getAll() const;

    void add(const QString& path);
    void remove(const QString& path);

Q_SIGNALS:
    void wanted(const QString& path);
    void changed();

private:
    void store(const QStringList& all);
    void fill();

    QMenu& menu;
};

} // namespace ModelEditor
