#pragma once

#include "Tests/Applications/ModelEditor/Desktop/DesktopFixture.h"

#include <pugixml.hpp>

#include <QMessageBox>
#include <QModelIndex>
#include <QString>
#include <string>

class QAction;

/// A window that is used as a person does, with mouse and keys.
class DesktopTour : public DesktopFixture
{
protected:
    static pugi::xml_node nodeOf(ModelEditor::DocumentTab& tab, const std::string& xpath);
    static std::string valueOf(ModelEditor::DocumentTab& tab, const std::string& xpath);
    static std::string bytesOf(ModelEditor::DocumentTab& tab);

    void select(ModelEditor::DocumentTab& tab, const std::string& xpath);

    /// Where the value of an attribute is in the table.
    static QModelIndex valueIndex(ModelEditor::DocumentTab& tab, const QString& name);

    /// Double click, new text, Return.
    void type(ModelEditor::DocumentTab& tab, const QString& name, const QString& text);

    /// What must be possible now.
    void trigger(QAction* action);

    static void press(QWidget& dialog, QMessageBox::StandardButton button);

    ModelEditor::Actions& actions = window.getActions();
};
