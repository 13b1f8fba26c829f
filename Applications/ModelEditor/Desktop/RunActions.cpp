#include "Applications/ModelEditor/Desktop/RunActions.h"

#include "Applications/ModelEditor/Desktop/OpenDocument.h"
#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/CheckCmd.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Import.h"
#include "Applications/ModelEditor/Edits/Scale.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <vector>

namespace ModelEditor
{

namespace
{

QString tr(const char* text)
{
    return QCoreApplication::translate("ModelEditor::RunActions", text);
}

QString linesOf(const std::vector<std::string>& lines)
{
    QString text;
    for (const auto& line : lines)
    {
        text += QString::fromStdString(line) + QLatin1Char('\n');
    }
    return text;
}

} // namespace

void RunActions::askScale(OpenDocument& document, const QString& address, QWidget* parent)
{
    auto* const dialog = new QDialog(parent);
    dialog->setObjectName("scale");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Scale numbers"));
    auto* const values = new QLineEdit(address);
    values->setMinimumWidth(360);
    auto* const factor = new QLineEdit("2");
    auto* const leavesAlone = new QCheckBox(tr("&Leave alone what cannot be scaled"));
    leavesAlone->setChecked(true);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("&Scale"));
    auto* const form = new QFormLayout(dialog);
    form->addRow(tr("&Values (XPath)"), values);
    form->addRow(tr("&Factor"), factor);
    form->addRow(leavesAlone);
    form->addRow(buttons);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &document,
                     [=, &document]
                     {
                         if (scale(document, values->text().toStdString(), factor->text().toStdString(),
                                   leavesAlone->isChecked()))
                         {
                             dialog->accept();
                         }
                     });
    QObject::connect(&document, &QObject::destroyed, dialog, &QWidget::close);
    dialog->open();
    factor->setFocus();
    factor->selectAll();
}

bool RunActions::scale(OpenDocument& document, const std::string& xpath, const std::string& factor,
                       bool leavesAlone)
{
    std::vector<std::string> arguments{xpath, factor};
    if (leavesAlone)
    {
        arguments.emplace_back("--continue-on-error");
    }
    return document.start(
        tr("Scale"), OpenDocument::Beside::Nobody,
        [arguments](XmlModel& model) { return makeScale(model, arguments); },
        [](const Valdane::ThreadedMacroCommand& done) { return linesOf(listLeftAlone(done)); });
}

bool RunActions::check(OpenDocument& document)
{
    const auto command = std::make_shared<CheckCmd>(document.getModel());
    return document.start(command, OpenDocument::Beside::Readers,
                          [command]
                          {
                              const auto& findings = command->getFindings();
                              return findings.empty() ? tr("Nothing found: the model is fine.")
                                                      : linesOf(findings);
                          });
}

bool RunActions::import(OpenDocument& document, const std::string& path)
{
    return document.start(tr("Import"), OpenDocument::Beside::Readers,
                          [path](XmlModel& model) { return makeImport(model, path, &readFile); }, {});
}

} // namespace ModelEditor
