#include "Applications/ModelEditor/Desktop/Theme.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QMenu>
#include <QSettings>
#include <array>

namespace ModelEditor
{

namespace
{

constexpr auto themeKey = "theme";

struct Colours
{
    const char* window;
    const char* base;
    const char* alternate;
    const char* text;
    const char* faint;
    const char* button;
    const char* highlight;
    const char* link;
};

constexpr Colours lightColours{"#f3f4f6", "#ffffff", "#f7f8fa", "#1f2430",
                               "#6b7280", "#e9ebef", "#2f6fde", "#1d5bc4"};
constexpr Colours darkColours{"#2c313a", "#1d2027", "#22262e", "#e4e7ec",
                              "#98a1b0", "#3a404b", "#3b76d6", "#7fb0ff"};

QPalette paletteOf(const Colours& colours)
{
    QPalette palette;
    const QColor text(colours.text);
    const QColor faint(colours.faint);
    palette.setColor(QPalette::Window, QColor(colours.window));
    palette.setColor(QPalette::Base, QColor(colours.base));
    palette.setColor(QPalette::AlternateBase, QColor(colours.alternate));
    palette.setColor(QPalette::ToolTipBase, QColor(colours.button));
    palette.setColor(QPalette::Button, QColor(colours.button));
    palette.setColor(QPalette::Highlight, QColor(colours.highlight));
    palette.setColor(QPalette::Link, QColor(colours.link));
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Light, QColor(colours.button).lighter(115));
    palette.setColor(QPalette::Midlight, QColor(colours.button).lighter(107));
    palette.setColor(QPalette::Mid, QColor(colours.button).darker(125));
    palette.setColor(QPalette::Dark, QColor(colours.button).darker(150));
    palette.setColor(QPalette::Shadow, QColor(colours.button).darker(220));
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
    {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, faint);
    }
    return palette;
}

} // namespace

Theme::Theme(QMenu& menu) : ofSystem(QApplication::palette())
{
    auto* const choices = menu.addMenu(tr("&Colours"));
    auto* const group = new QActionGroup(choices);
    const auto chosen = static_cast<Kind>(QSettings().value(themeKey, 0).toInt());
    const std::array kinds{std::pair(Kind::System, tr("As the &desktop")),
                           std::pair(Kind::Light, tr("&Light")), std::pair(Kind::Dark, tr("D&ark"))};
    for (const auto& [kind, text] : kinds)
    {
        auto* const action = group->addAction(choices->addAction(text));
        action->setCheckable(true);
        action->setChecked(kind == chosen);
        connect(action, &QAction::triggered, this, [this, which = kind] { choose(which); });
    }
    apply(chosen);
}

Theme::~Theme() = default;

void Theme::choose(Kind kind)
{
    QSettings().setValue(themeKey, static_cast<int>(kind));
    apply(kind);
}

void Theme::apply(Kind kind)
{
    switch (kind)
    {
    case Kind::Light:
        QApplication::setPalette(paletteOf(lightColours));
        break;
    case Kind::Dark:
        QApplication::setPalette(paletteOf(darkColours));
        break;
    default:
        QApplication::setPalette(ofSystem);
        break;
    }
}

} // namespace ModelEditor
