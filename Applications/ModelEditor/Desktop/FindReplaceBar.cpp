#include "Applications/ModelEditor/Desktop/FindReplaceBar.h"

#include "Applications/ModelEditor/Desktop/Icons.h"
#include "Applications/ModelEditor/Desktop/OpenDocument.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Replace.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <algorithm>
#include <vector>

namespace ModelEditor
{

namespace
{

pugi::xml_node lastBelow(pugi::xml_node node)
{
    while (!node.last_child().empty())
    {
        node = node.last_child();
    }
    return node;
}

pugi::xml_node nextInDocument(pugi::xml_node node)
{
    if (!node.first_child().empty())
    {
        return node.first_child();
    }
    while (!node.empty() && node.next_sibling().empty())
    {
        node = node.parent();
    }
    return node.next_sibling();
}

pugi::xml_node previousInDocument(pugi::xml_node node)
{
    return node.previous_sibling().empty() ? node.parent() : lastBelow(node.previous_sibling());
}

} // namespace

FindReplaceBar::FindReplaceBar(OpenDocument& searched, QWidget* parent)
    : QWidget(parent),
      document(searched),
      what(new QLineEdit),
      by(new QLineEdit),
      respectsCase(new QCheckBox(tr("&Match case"))),
      isExpression(new QCheckBox(tr("Regular e&xpression"))),
      result(new QLabel),
      replaceLine(new QWidget)
{
    what->setObjectName("find");
    what->setPlaceholderText(tr("Find a tag, an attribute or a value; or an XPath that starts with /"));
    what->setClearButtonEnabled(true);
    what->setAccessibleName(tr("Find"));
    by->setObjectName("replace");
    by->setPlaceholderText(tr("Replace by"));
    by->setAccessibleName(tr("Replace by"));
    auto* const before = new QPushButton(tr("&Previous"));
    auto* const after = new QPushButton(tr("&Next"));
    auto* const all = new QPushButton(tr("Replace &all"));
    auto* const close = new QPushButton(Icons::get("discard"), {});
    close->setFlat(true);
    close->setAccessibleName(tr("Close"));
    close->setToolTip(tr("Close (Esc)"));
    for (auto* const button : {before, after, all, close})
    {
        button->setAutoDefault(false);
    }

    auto* const first = new QHBoxLayout;
    first->addWidget(what, 1);
    first->addWidget(before);
    first->addWidget(after);
    first->addWidget(respectsCase);
    first->addWidget(close);
    auto* const second = new QHBoxLayout(replaceLine);
    second->setContentsMargins(0, 0, 0, 0);
    second->addWidget(by, 1);
    second->addWidget(all);
    second->addWidget(isExpression);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 6, 8, 6);
    layout->addLayout(first);
    layout->addWidget(replaceLine);
    layout->addWidget(result);
    result->hide();

    connect(what, &QLineEdit::returnPressed, this, &FindReplaceBar::next);
    connect(by, &QLineEdit::returnPressed, this, &FindReplaceBar::replaceAll);
    connect(before, &QPushButton::clicked, this, &FindReplaceBar::previous);
    connect(after, &QPushButton::clicked, this, &FindReplaceBar::next);
    connect(all, &QPushButton::clicked, this, &FindReplaceBar::replaceAll);
    connect(close, &QPushButton::clicked, this, &QWidget::hide);
    connect(what, &QLineEdit::textChanged, result, &QWidget::hide);
}

FindReplaceBar::~FindReplaceBar() = default;

void FindReplaceBar::open(bool toReplace)
{
    replaceLine->setVisible(toReplace);
    show();
    what->setFocus();
    what->selectAll();
}

void FindReplaceBar::setStart(pugi::xml_node element)
{
    start = element;
}

void FindReplaceBar::next()
{
    find(true);
}

void FindReplaceBar::previous()
{
    find(false);
}

void FindReplaceBar::find(bool isForward)
{
    if (what->text().isEmpty() || !document.isReadable())
    {
        return;
    }
    try
    {
        const auto element =
            what->text().startsWith(QLatin1Char('/')) ? findXPath(isForward) : findText(isForward);
        result->setVisible(element.empty());
        result->setText(tr("Nothing found"));
        if (!element.empty())
        {
            Q_EMIT found(element);
        }
    }
    catch (const std::exception& exception)
    {
        result->setText(QString::fromUtf8(exception.what()));
        result->show();
    }
}

bool FindReplaceBar::matches(pugi::xml_node element) const
{
    const auto sensitivity = respectsCase->isChecked() ? Qt::CaseSensitive : Qt::CaseInsensitive;
    const auto contains = [&](const char* text)
    {
        return QString::fromUtf8(text).contains(what->text(), sensitivity);
    };
    return contains(element.name()) ||
           std::ranges::any_of(element.attributes(), [&](const pugi::xml_attribute& attribute)
                               { return contains(attribute.name()) || contains(attribute.value()); }) ||
           std::ranges::any_of(element.children(),
                               [&](const pugi::xml_node& child)
                               {
                                   const bool isText =
                                       child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata;
                                   return isText && contains(child.value());
                               });
}

// Once around, from behind the start to the start itself.
pugi::xml_node FindReplaceBar::findText(bool isForward) const
{
    const auto root = document.getModel().getRoot()->getElement();
    const auto first = start.empty() ? root : start;
    auto node = first;
    do
    {
        node = isForward ? nextInDocument(node) : previousInDocument(node);
        if (node.empty() || node.type() == pugi::node_document)
        {
            node = isForward ? root : lastBelow(root);
        }
        if (node.type() == pugi::node_element && matches(node))
        {
            return node;
        }
    } while (node != first);
    return {};
}

// The first one behind the start, or else the first one of all.
pugi::xml_node FindReplaceBar::findXPath(bool isForward) const
{
    std::vector<pugi::xml_node> all;
    for (const auto& selected : document.getModel().select(what->text().toStdString()).nodes)
    {
        all.push_back(selected.object->getElement());
    }
    if (all.empty())
    {
        return {};
    }
    if (!isForward)
    {
        std::ranges::reverse(all);
    }
    const auto here = std::ranges::find(all, start);
    return here == all.end() || here + 1 == all.end() ? all.front() : *(here + 1);
}

std::string FindReplaceBar::getPattern() const
{
    return (isExpression->isChecked() ? what->text() : QRegularExpression::escape(what->text()))
        .toStdString();
}

void FindReplaceBar::replaceAll()
{
    if (what->text().isEmpty())
    {
        return;
    }
    auto text = by->text();
    if (!isExpression->isChecked())
    {
        text.replace(QLatin1Char('$'), QLatin1String("$$"));
    }
    std::vector<std::string> arguments{"//@*|//text()", getPattern(), text.toStdString()};
    if (!respectsCase->isChecked())
    {
        arguments.emplace_back("-i");
    }
    document.edit(tr("Replace"), [&](XmlModel& model) { return makeReplace(model, arguments); });
}

void FindReplaceBar::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
    {
        hide();
        parentWidget()->setFocus();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace ModelEditor
