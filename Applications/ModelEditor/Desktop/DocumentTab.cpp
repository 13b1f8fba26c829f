#include "Applications/ModelEditor/Desktop/DocumentTab.h"

#include "Applications/ModelEditor/Desktop/AttributeView.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Desktop/FindReplaceBar.h"
#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Edits/Structure.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>
#include <unordered_set>

namespace ModelEditor
{

namespace
{

pugi::xml_node nextElement(pugi::xml_node node)
{
    do
    {
        node = node.next_sibling();
    } while (!node.empty() && node.type() != pugi::node_element);
    return node;
}

pugi::xml_node previousElement(pugi::xml_node node)
{
    do
    {
        node = node.previous_sibling();
    } while (!node.empty() && node.type() != pugi::node_element);
    return node;
}

} // namespace

DocumentTab::DocumentTab(LoadedModel loaded, Valdane::ActiveHistory& active, KnownFiles& known,
                         QWidget* parent)
    : QWidget(parent),
      document(std::make_unique<OpenDocument>(std::move(loaded), active, known)),
      tree(new ElementView(document->getElements())),
      table(new AttributeView(attributes)),
      findBar(new FindReplaceBar(*document)),
      where(new QLabel),
      panes(new QSplitter(Qt::Horizontal)),
      failures(document->getManager(), this)
{
    auto* const right = new QWidget;
    auto* const rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(0, 0, 0, 0);
    where->setTextInteractionFlags(Qt::TextSelectableByMouse);
    where->setContentsMargins(8, 6, 8, 2);
    where->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    rightLayout->addWidget(where);
    rightLayout->addWidget(table);
    panes->addWidget(tree);
    panes->addWidget(right);
    panes->setStretchFactor(0, 3);
    panes->setStretchFactor(1, 2);
    panes->setChildrenCollapsible(false);
    panes->setSizes({640, 420});
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(panes, 1);
    layout->addWidget(findBar);
    findBar->hide();
    setFocusProxy(tree);

    connect(tree->selectionModel(), &QItemSelectionModel::currentChanged, this, &DocumentTab::showSelected);
    connect(document.get(), &OpenDocument::changed, this, &DocumentTab::onChanged);
    connect(document.get(), &OpenDocument::busyChanged, this, &DocumentTab::showRun);
    connect(document.get(), &OpenDocument::refused, this,
            [this](const QString& what, const QString& why) { failures.add(what, why); });
    connect(&document->getElements(), &ElementModel::moveWanted, this, &DocumentTab::moveTo);
    connect(&document->getElements(), &ElementModel::elementsInserted, this,
            [this](pugi::xml_node first) { arrived = first; });
    connect(&document->getElements(), &ElementModel::elementsRemoved, this, [this] { arrived = {}; });
    connect(&document->getElements(), &ElementModel::renameWanted, this,
            [this](pugi::xml_node element, const QString& name)
            {
                document->edit(tr("Rename"),
                               [&](XmlModel& model) {
                                   return makeRename(model, {addressOf(element), name.toStdString()});
                               });
            });
    connect(&attributes, &AttributeModel::valueWanted, this,
            [this](const std::string& address, const std::string& text)
            {
                document->editMerging(tr("Set the value"), address,
                                      [&](XmlModel& model) {
                                          return makeSet(model, {address, text});
                                      });
                attributes.refresh();
            });
    connect(table, &AttributeView::stepEnded, this, [this] { document->endStep(); });
    connect(table, &AttributeView::deleteWanted, this,
            [this](int row)
            {
                document->edit(tr("Delete"), [&](XmlModel& model)
                               { return makeDelete(model, {attributes.getAddress(row)}); });
            });
    connect(findBar, &FindReplaceBar::found, this, &DocumentTab::select);
    select(document->getModel().getRoot()->getElement());
    tree->expand(tree->currentIndex());
}

DocumentTab::~DocumentTab()
{
    tree->setModel(nullptr);
}

OpenDocument& DocumentTab::getDocument()
{
    return *document;
}

ElementView& DocumentTab::getTree()
{
    return *tree;
}

AttributeView& DocumentTab::getAttributes()
{
    return *table;
}

FindReplaceBar& DocumentTab::getFindBar()
{
    return *findBar;
}

std::vector<pugi::xml_node> DocumentTab::getSelected() const
{
    auto rows = tree->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end());
    std::vector<pugi::xml_node> nodes;
    std::unordered_set<const void*> chosen;
    for (const auto& row : rows)
    {
        chosen.insert(document->getElements().getNode(row).internal_object());
    }
    for (const auto& row : rows)
    {
        const auto node = document->getElements().getNode(row);
        auto above = node.parent();
        while (!above.empty() && !chosen.contains(above.internal_object()))
        {
            above = above.parent();
        }
        if (above.empty())
        {
            nodes.push_back(node);
        }
    }
    return nodes;
}

std::string DocumentTab::addressOf(pugi::xml_node element) const
{
    return document->getModel().getObject(element)->getAddress();
}

std::string DocumentTab::addressOf(const std::vector<pugi::xml_node>& elements) const
{
    std::string all;
    for (const auto element : elements)
    {
        all += (all.empty() ? "" : " | ") + addressOf(element);
    }
    return all;
}

std::string DocumentTab::getSelectedAddress() const
{
    return addressOf(getSelected());
}

void DocumentTab::insertElement(const QString& markup)
{
    if (document->isBusy() || !tree->currentIndex().isValid())
    {
        return;
    }
    const auto target = addressOf(document->getElements().getNode(tree->currentIndex()));
    document->edit(tr("Insert"),
                   [&](XmlModel& model) {
                       return makeInsert(model, {target, markup.toStdString()});
                   });
}

void DocumentTab::deleteSelected()
{
    const auto address = document->isBusy() ? std::string() : getSelectedAddress();
    if (!address.empty())
    {
        document->edit(tr("Delete"), [&](XmlModel& model) { return makeDelete(model, {address}); });
    }
}

std::string DocumentTab::getMarkup(const std::vector<pugi::xml_node>& elements)
{
    std::string markup;
    auto& model = document->getModel();
    for (const auto element : elements)
    {
        const auto owner = model.getObject(element)->getOwner();
        if (owner != nullptr)
        {
            markup += model.getMarkup(static_cast<const XmlObject&>(*owner), model.indexOf(element)) + "\n";
        }
    }
    return markup;
}

void DocumentTab::copySelected()
{
    if (document->isBusy())
    {
        return;
    }
    if (const auto markup = getMarkup(getSelected()); !markup.empty())
    {
        QGuiApplication::clipboard()->setText(QString::fromStdString(markup));
    }
}

void DocumentTab::cutSelected()
{
    copySelected();
    deleteSelected();
}

void DocumentTab::paste()
{
    const auto text = QGuiApplication::clipboard()->text().trimmed();
    if (!text.isEmpty())
    {
        insertElement(text);
    }
}

void DocumentTab::renameSelected()
{
    const auto name = tree->currentIndex().siblingAtColumn(ElementModel::Name);
    if ((name.flags() & Qt::ItemIsEditable) != 0)
    {
        tree->setFocus();
        tree->edit(name);
        return;
    }
    Q_EMIT document->noted(tr("This element has no attribute name"));
}

void DocumentTab::moveSelected(int by)
{
    const auto all = document->isBusy() ? std::vector<pugi::xml_node>() : getSelected();
    if (all.empty())
    {
        return;
    }
    const auto neighbour = by < 0 ? previousElement(all.front()) : nextElement(all.back());
    if (!neighbour.empty())
    {
        const std::vector<std::string> arguments{addressOf(all), addressOf(neighbour),
                                                 by < 0 ? "--before" : "--after"};
        document->edit(tr("Move"), [&](XmlModel& model) { return makeMove(model, arguments); });
    }
}

void DocumentTab::moveTo(const std::vector<pugi::xml_node>& dragged, pugi::xml_node target,
                         pugi::xml_node before)
{
    std::vector<std::string> arguments{addressOf(dragged), addressOf(before.empty() ? target : before)};
    if (!before.empty())
    {
        arguments.emplace_back("--before");
    }
    document->edit(tr("Move"), [&](XmlModel& model) { return makeMove(model, arguments); });
}

void DocumentTab::addAttribute(const QString& name, const QString& value)
{
    if (document->isBusy() || attributes.getObject() == nullptr)
    {
        return;
    }
    const auto address = attributes.getObject()->getAddress();
    const auto text = value.toStdString();
    const auto attribute = name.toStdString();
    document->edit(tr("Add an attribute"),
                   [&](XmlModel& model)
                   {
                       return isAnnotationName(attribute)
                                  ? makeAnnotate(model, {address, attribute, text})
                                  : makeSet(model, {address + "/@" + attribute, text});
                   });
}

void DocumentTab::select(pugi::xml_node element)
{
    const auto index = document->getElements().findIndex(element);
    if (index.isValid())
    {
        // Alone, even while a person holds Ctrl for the key of undo.
        tree->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                           QItemSelectionModel::Rows);
        tree->scrollTo(index);
    }
}

// What has come is what a person wants to see next, also after undo.
void DocumentTab::onChanged()
{
    if (const auto shown = std::exchange(arrived, {}); !shown.empty())
    {
        select(shown);
    }
    showSelected();
}

void DocumentTab::showSelected()
{
    if (!document->isReadable())
    {
        return;
    }
    const auto node = document->getElements().getNode(tree->currentIndex());
    const auto object = node.empty() ? nullptr : document->getModel().getObject(node);
    attributes.setObject(object);
    findBar->setStart(node);
    where->setText(object == nullptr ? QString() : QString::fromStdString(object->getAddress()));
    where->setToolTip(where->text());
}

void DocumentTab::showRun(bool isBusy)
{
    attributes.setEditable(!isBusy);
    if (document->isReadable())
    {
        delete picture;
        panes->setEnabled(true);
        return;
    }
    // Taken just before the run has the model: the views know nothing any more when they are painted next.
    picture = new QLabel(this);
    picture->setPixmap(panes->grab());
    picture->setGeometry(panes->geometry());
    picture->show();
    panes->setEnabled(false);
}

} // namespace ModelEditor
