#include "Toolkit/Qt/SaveChangesDialog.h"

#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/UnsavedModule.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPointer>
#include <QStringList>
#include <algorithm>
#include <cstddef>

namespace Valdane
{

namespace
{

// More of them do not help to decide.
constexpr std::size_t mostModules = 5;
constexpr qsizetype mostChanges = 3;
constexpr qsizetype longestChange = 60;

struct SaveTexts
{
    Q_DECLARE_TR_FUNCTIONS(Valdane::saveChangesDialog)
};

QString usualNameOf(const Object& module)
{
    if (const auto* const named = dynamic_cast<const NameInterface*>(&module))
    {
        return QString::fromStdString(named->getName());
    }
    return QString::fromStdString(module.getPath(RequestedPathType::FromRoot).toString());
}

QString nameOf(const UnsavedModule& module, const ModuleNames& names)
{
    if (module.module == nullptr)
    {
        return SaveTexts::tr("Other changes");
    }
    return names ? names(*module.module) : usualNameOf(*module.module);
}

QStringList wordsOf(const UnsavedModule& module)
{
    QStringList words;
    for (const auto& word : module.words())
    {
        words += QString::fromStdString(word);
    }
    return words;
}

QString brief(const QString& text)
{
    return text.size() <= longestChange ? text : text.left(longestChange - 3) + "...";
}

QString moreOf(qsizetype count)
{
    return SaveTexts::tr("%1 more").arg(count);
}

QString lineOf(const QString& name, const QStringList& words)
{
    QStringList shown;
    for (const auto& word : words.first(std::min(words.size(), mostChanges)))
    {
        shown += brief(word);
    }
    if (words.size() > mostChanges)
    {
        shown += moreOf(words.size() - mostChanges);
    }
    return shown.isEmpty() ? name : name + ": " + shown.join(", ");
}

struct Texts
{
    QStringList lines;
    QStringList details;
    bool isCut = false;
};

Texts textsOf(const std::vector<UnsavedModule>& modules, const ModuleNames& names)
{
    Texts texts;
    for (const auto& module : modules)
    {
        const auto name = nameOf(module, names);
        const auto words = wordsOf(module);
        texts.details += name;
        for (const auto& word : words)
        {
            texts.details += "    " + word;
            texts.isCut = texts.isCut || word.size() > longestChange;
        }
        if (static_cast<std::size_t>(texts.lines.size()) < mostModules)
        {
            texts.lines += lineOf(name, words);
        }
        texts.isCut = texts.isCut || words.size() > mostChanges;
    }
    if (modules.size() > mostModules)
    {
        texts.isCut = true;
        texts.lines += moreOf(static_cast<qsizetype>(modules.size() - mostModules));
    }
    return texts;
}

} // namespace

SaveChoice saveChangesDialog(QWidget* parent, const QString& documentName, const SaveState& state,
                             std::uint64_t tracker, const ModuleNames& names)
{
    const auto modules = state.unsavedChanges(tracker);
    if (modules.empty())
    {
        return SaveChoice::Discard;
    }
    const auto texts = textsOf(modules, names);
    // Its parent may destroy it.
    const QPointer<QMessageBox> box(new QMessageBox(parent));
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(SaveTexts::tr("Unsaved changes"));
    box->setTextFormat(Qt::PlainText);
    box->setText(SaveTexts::tr("Save the changes to \"%1\"?").arg(documentName));
    box->setInformativeText(texts.lines.join("\n"));
    if (texts.isCut)
    {
        box->setDetailedText(texts.details.join("\n"));
    }
    box->setStandardButtons(QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    box->setDefaultButton(QMessageBox::Save);
    box->setEscapeButton(QMessageBox::Cancel);
    const int answer = box->exec();
    if (box == nullptr)
    {
        return SaveChoice::Cancel;
    }
    delete box;
    if (answer == QMessageBox::Save)
    {
        return SaveChoice::Save;
    }
    return answer == QMessageBox::Discard ? SaveChoice::Discard : SaveChoice::Cancel;
}

Signals::Connection showModified(QWidget& window, SaveState& state, std::uint64_t tracker)
{
    auto connection = state.connectToSigModifiedChanged(
        [&window, tracker](std::uint64_t changed, bool isModified)
        {
            if (changed == tracker)
            {
                window.setWindowModified(isModified);
            }
        });
    window.setWindowModified(state.isModified(tracker));
    return connection;
}

} // namespace Valdane
