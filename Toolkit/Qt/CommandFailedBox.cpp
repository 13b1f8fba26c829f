#include "Toolkit/Qt/CommandFailedBox.h"

#include "Service/CommandPattern/CommandManager.h"

#include <QApplication>
#include <QClipboard>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStringList>
#include <QTimer>
#include <QWidget>
#include <string>

namespace Valdane
{

namespace
{

// Older ones are not in the details any more.
constexpr qsizetype mostDetails = 1000;

} // namespace

class CommandFailedBox::Private
{
public:
    // The window of the box, or the box itself, may be closed by others at any time.
    QPointer<QWidget> window;
    QPointer<QMessageBox> box;
    QStringList failures;
    qsizetype failureCount = 0;
    QString lastWhat;
    QString lastWhy;
    bool isOpening = false;
    Signals::Connection failed;

    void openOrRefresh()
    {
        isOpening = false;
        if (box == nullptr)
        {
            make();
        }
        box->setText(failureCount == 1
                         ? tr("\"%1\" failed.").arg(lastWhat)
                         : tr("%1 steps failed. The last one was \"%2\".").arg(failureCount).arg(lastWhat));
        box->setInformativeText(lastWhy);
        box->setDetailedText(failures.join("\n"));
        box->show();
    }

    void note(const QString& what, const QString& why)
    {
        lastWhat = what.isEmpty() ? tr("A step") : what;
        lastWhy = why;
        ++failureCount;
        failures += lastWhat + ": " + why;
        if (failures.size() > mostDetails)
        {
            failures.removeFirst();
        }
    }

private:
    // The next failure opens another one.
    void forget()
    {
        box->deleteLater();
        box = nullptr;
        failures.clear();
        failureCount = 0;
    }

    void make()
    {
        box = new QMessageBox(window);
        box->setModal(false);
        box->setIcon(QMessageBox::Warning);
        box->setWindowTitle(tr("Failed"));
        box->setTextFormat(Qt::PlainText);
        box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        auto* const close = box->addButton(QMessageBox::Close);
        // Does not close the box, as any other of its buttons does.
        auto* const copy = box->addButton(tr("C&opy details"), QMessageBox::ActionRole);
        copy->disconnect();
        QObject::connect(copy, &QPushButton::clicked, box,
                         [this] { QApplication::clipboard()->setText(failures.join("\n")); });
        QObject::connect(box, &QMessageBox::finished, box, [this] { forget(); });
        box->setDefaultButton(close);
        box->setEscapeButton(close);
    }
};

CommandFailedBox::CommandFailedBox(CommandManager& manager, QWidget* window) : d(std::make_unique<Private>())
{
    d->window = window;
    d->failed = manager.connectToSigCommandFailed(
        [this](const char* why, const std::string& description)
        { add(QString::fromStdString(description), QString::fromUtf8(why)); });
}

CommandFailedBox::~CommandFailedBox()
{
    delete d->box;
}

void CommandFailedBox::add(const QString& what, const QString& why)
{
    d->note(what, why);
    if (!d->isOpening)
    {
        d->isOpening = true;
        QTimer::singleShot(0, this, [this] { d->openOrRefresh(); });
    }
}

} // namespace Valdane
