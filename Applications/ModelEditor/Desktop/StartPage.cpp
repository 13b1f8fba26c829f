#include "Applications/ModelEditor/Desktop/StartPage.h"

#include "Applications/ModelEditor/Desktop/Icons.h"

#include <QCommandLinkButton>
#include <QEvent>
#include <QFileInfo>
#include <QLabel>
#include <QLayoutItem>
#include <QPushButton>
#include <QVBoxLayout>

namespace ModelEditor
{

StartPage::StartPage(QWidget* parent) : QWidget(parent), picture(new QLabel), recent(new QVBoxLayout)
{
    drawPicture();
    auto* const title = new QLabel(tr("Model Editor"));
    auto font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.9);
    title->setFont(font);
    auto* const text = new QLabel(
        tr("Edit XML models: every change can be undone, and what you do not touch keeps its very bytes."));
    text->setForegroundRole(QPalette::PlaceholderText);
    text->setWordWrap(true);
    auto* const open = new QPushButton(Icons::get("open"), tr("&Open a model…"));
    open->setObjectName("openModel");
    open->setMinimumHeight(40);
    open->setDefault(true);
    connect(open, &QPushButton::clicked, this, &StartPage::openWanted);
    auto* const hint = new QLabel(tr("or drop a file here"));
    hint->setForegroundRole(QPalette::PlaceholderText);

    auto* const column = new QWidget;
    column->setFixedWidth(460);
    auto* const layout = new QVBoxLayout(column);
    layout->setSpacing(10);
    layout->addWidget(picture);
    layout->addWidget(title);
    layout->addWidget(text);
    layout->addSpacing(14);
    layout->addWidget(open);
    layout->addWidget(hint);
    layout->addSpacing(14);
    layout->addLayout(recent);
    recent->setSpacing(0);
    auto* const whole = new QVBoxLayout(this);
    whole->addStretch(2);
    whole->addWidget(column, 0, Qt::AlignHCenter);
    whole->addStretch(3);
    setFocusProxy(open);
}

StartPage::~StartPage() = default;

void StartPage::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
    {
        drawPicture();
    }
    QWidget::changeEvent(event);
}

void StartPage::drawPicture()
{
    picture->setPixmap(Icons::get("app").pixmap(72, 72));
}

void StartPage::setRecent(const QStringList& paths)
{
    while (auto* const item = recent->takeAt(0))
    {
        item->widget()->deleteLater();
        item->widget()->hide();
        delete item;
    }
    for (const auto& path : paths.mid(0, 5))
    {
        const QFileInfo file(path);
        auto* const button = new QCommandLinkButton(file.fileName(), file.path());
        button->setIcon(Icons::get("element"));
        recent->addWidget(button);
        connect(button, &QPushButton::clicked, this, [this, path] { Q_EMIT fileWanted(path); });
    }
}

} // namespace ModelEditor
