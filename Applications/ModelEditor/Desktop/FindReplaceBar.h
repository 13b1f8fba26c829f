#pragma once

#include <pugixml.hpp>

#include <QString>
#include <QWidget>
#include <string>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace ModelEditor
{

class OpenDocument;

/// A line to find elements by what stands in them, or by an XPath, and a second one to replace texts in all values.
///
/// Ownership: refers to the document, which must live longer. Thread: the GUI thread.
class FindReplaceBar : public QWidget
{
    Q_OBJECT

public:
    explicit FindReplaceBar(OpenDocument& searched, QWidget* parent = nullptr);
    ~FindReplaceBar() override;

    /// Shows the bar, and the second line if that is wanted, and lets a person type.
    void open(bool toReplace);

    /// From where next() and previous() look on.
    void setStart(pugi::xml_node element);

    void next();
    void previous();
    void replaceAll();

Q_SIGNALS:
    void found(pugi::xml_node element);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void find(bool isForward);
    bool matches(pugi::xml_node element) const;
    pugi::xml_node findText(bool isForward) const;
    pugi::xml_node findXPath(bool isForward) const;
    std::string getPattern() const;

    OpenDocument& document;
    pugi::xml_node start;
    QLineEdit* what;
    QLineEdit* by;
    QCheckBox* respectsCase;
    QCheckBox* isExpression;
    QLabel* result;
    QWidget* replaceLine;
};

} // namespace ModelEditor
