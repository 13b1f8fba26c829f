#pragma once

#include "Applications/ModelEditor/Desktop/AttributeModel.h"
#include "Applications/ModelEditor/Desktop/OpenDocument.h"
#include "Toolkit/Qt/CommandFailedBox.h"

#include <QPointer>
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

class QLabel;
class QSplitter;

namespace ModelEditor
{

class AttributeView;
class ElementView;
class FindReplaceBar;

/// One open file as a person sees it: the tree, the attributes of the selected element, the line to find and replace.
///
/// During a run one reads on and edits nothing. While the run has the model for itself, a picture of both panes is in their
/// place.
///
/// Ownership: owns the document. Thread: the GUI thread.
class DocumentTab : public QWidget
{
    Q_OBJECT

public:
    DocumentTab(LoadedModel loaded, Valdane::ActiveHistory& active, KnownFiles& known,
                QWidget* parent = nullptr);
    ~DocumentTab() override;

    OpenDocument& getDocument();
    ElementView& getTree();
    AttributeView& getAttributes();
    FindReplaceBar& getFindBar();

    /// The elements that are selected, in the order of the document, without those that are in others of them.
    std::vector<pugi::xml_node> getSelected() const;
    /// An XPath that selects them; empty if there are none.
    std::string getSelectedAddress() const;

    // What the actions of the window do with what is selected. Each refuses with a message what is not possible.
    void insertElement(const QString& markup);
    void deleteSelected();
    void copySelected();
    void cutSelected();
    void paste();
    void renameSelected();
    /// Among its siblings: by -1 or 1.
    void moveSelected(int by);
    void addAttribute(const QString& name, const QString& value);

    /// Selects an element, and shows its row.
    void select(pugi::xml_node element);

private:
    void showSelected();
    void showRun(bool isBusy);
    void moveTo(const std::vector<pugi::xml_node>& dragged, pugi::xml_node target, pugi::xml_node before);
    std::string addressOf(pugi::xml_node element) const;
    std::string addressOf(const std::vector<pugi::xml_node>& elements) const;
    std::string getMarkup(const std::vector<pugi::xml_node>& elements);
    void onChanged();

    std::unique_ptr<OpenDocument> document;
    AttributeModel attributes;
    ElementView* tree;
    AttributeView* table;
    FindReplaceBar* findBar;
    QLabel* where;
    QSplitter* panes;
    QPointer<QLabel> picture;
    pugi::xml_node arrived;
    Valdane::CommandFailedBox failures;
};

} // namespace ModelEditor
