#pragma once

#include <QTreeView>

namespace ModelEditor
{

class ElementModel;

/// The tree of elements. Rows are dragged to where they are to be; all other keys are those of a tree.
///
/// Thread: the GUI thread.
class ElementView : public QTreeView
{
    Q_OBJECT

public:
    /// @param shown  must live as long as the view shows it.
    explicit ElementView(ElementModel& shown, QWidget* parent = nullptr);
    ~ElementView() override;
};

} // namespace ModelEditor
