#include "Applications/ModelEditor/Desktop/RecentFiles.h"

#include <QAction>
#include <QFileInfo>
#include <QMenu>
#include <QSettings>

namespace ModelEditor
{

namespace
{

constexpr auto recentKey = "recentFiles";
constexpr qsizetype mostFiles = 10;

} // namespace

RecentFiles::RecentFiles(QMenu& shown) : menu(shown)
{
    fill();
}

RecentFiles::~RecentFiles() = default;

QStringList RecentFiles::getAll() const
{
    return QSettings().value(recentKey).toStringList();
}

void RecentFiles::add(const QString& path)
{
    auto all = getAll();
    const auto whole = QFileInfo(path).absoluteFilePath();
    all.removeAll(whole);
    all.prepend(whole);
    store(all.mid(0, mostFiles));
}

void RecentFiles::remove(const QString& path)
{
    auto all = getAll();
    all.removeAll(QFileInfo(path).absoluteFilePath());
    store(all);
}

void RecentFiles::store(const QStringList& all)
{
    QSettings().setValue(recentKey, all);
    fill();
    Q_EMIT changed();
}

void RecentFiles::fill()
{
    menu.clear();
    int number = 0;
    for (const auto& path : getAll())
    {
        const auto name = QFileInfo(path).fileName().replace(QLatin1Char('&'), QLatin1String("&&"));
        auto* const action = menu.addAction(QStringLiteral("&%1  %2").arg(++number % 10).arg(name));
        action->setToolTip(path);
        connect(action, &QAction::triggered, this, [this, path] { Q_EMIT wanted(path); });
    }
    menu.setToolTipsVisible(true);
    menu.setEnabled(number > 0);
}

} // namespace ModelEditor
