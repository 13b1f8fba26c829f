#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace ModelEditor
{

/// What the window shows while no file is open: how to open one, and those that were open last. Files can be dropped on it.
///
/// Thread: the GUI thread.
class StartPage : public QWidget
{
    Q_OBJECT

public:
    explicit StartPage(QWidget* parent = nullptr);
    ~StartPage() override;

    void setRecent(const QStringList& paths);

Q_SIGNALS:
    void openWanted();
    void fileWanted(const QString& path);

protected:
    /// The picture has the colour of the text.
    void changeEvent(QEvent* event) override;

private:
    void drawPicture();

    QLabel* picture;
    QVBoxLayout* recent;
};

} // namespace ModelEditor
