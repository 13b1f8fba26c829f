#include "Applications/ModelEditor/Desktop/Icons.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <array>

namespace ModelEditor
{

namespace
{

struct Drawing
{
    const char* name;
    // On 24 x 24: M x y and L x y as in SVG, O x y radius for a circle, D x y radius for a dot.
    const char* lines;
};

constexpr std::array drawings{
    Drawing{"app", "M 4 5 L 20 5 L 20 9 L 4 9 L 4 5 M 7 9 L 7 19 M 7 13 L 11 13 M 7 19 L 11 19 M 11 11 L 20 "
                   "11 L 20 15 L 11 "
                   "15 L 11 11 M 11 17 L 20 17 L 20 21 L 11 21 L 11 17"},
    Drawing{"open", "M 3 19 L 3 5 L 9 5 L 11 8 L 20 8 L 20 11 M 3 19 L 6 11 L 22 11 L 19 19 L 3 19"},
    Drawing{
        "save",
        "M 4 4 L 17 4 L 20 7 L 20 20 L 4 20 L 4 4 M 8 4 L 8 9 L 15 9 L 15 4 M 7 20 L 7 13 L 17 13 L 17 20"},
    Drawing{"export", "M 4 14 L 4 20 L 20 20 L 20 14 M 12 16 L 12 4 M 7 9 L 12 4 L 17 9"},
    Drawing{"import", "M 4 14 L 4 20 L 20 20 L 20 14 M 12 4 L 12 16 M 7 11 L 12 16 L 17 11"},
    Drawing{"insert", "M 12 5 L 12 19 M 5 12 L 19 12"},
    Drawing{
        "delete",
        "M 4 7 L 20 7 M 9 7 L 9 4 L 15 4 L 15 7 M 6 7 L 7 20 L 17 20 L 18 7 M 10 11 L 10 16 M 14 11 L 14 16"},
    Drawing{"cut", "O 6 18 2.5 O 18 18 2.5 M 7.5 16 L 17 4 M 16.5 16 L 7 4"},
    Drawing{"copy", "M 8 8 L 20 8 L 20 20 L 8 20 L 8 8 M 16 8 L 16 4 L 4 4 L 4 16 L 8 16"},
    Drawing{
        "paste",
        "M 6 5 L 18 5 L 18 21 L 6 21 L 6 5 M 9 3 L 15 3 L 15 7 L 9 7 L 9 3 M 9 12 L 15 12 M 9 16 L 15 16"},
    Drawing{"find", "O 10 10 6 M 14.5 14.5 L 21 21"},
    Drawing{"scale", "M 4 20 L 20 4 M 14 4 L 20 4 L 20 10 M 4 14 L 4 20 L 10 20"},
    Drawing{"check", "M 4 13 L 10 19 L 20 6"},
    Drawing{"record", "O 12 12 8 D 12 12 4.5"},
    Drawing{"finish", "M 6 6 L 18 6 L 18 18 L 6 18 L 6 6"},
    Drawing{"discard", "M 6 6 L 18 18 M 18 6 L 6 18"},
    Drawing{"history", "O 12 12 8.5 M 12 7 L 12 12 L 16 14"},
    Drawing{"element", "M 9 7 L 4 12 L 9 17 M 15 7 L 20 12 L 15 17"},
    Drawing{"modified", "M 9 7 L 4 12 L 9 17 M 15 7 L 20 12 L 15 17 D 12 12 3"},
    Drawing{"undo", "M 9 5 L 4 10 L 9 15 M 4 10 L 15 10 L 19 13 L 19 17 L 16 20 L 11 20"},
    Drawing{"redo", "M 15 5 L 20 10 L 15 15 M 20 10 L 9 10 L 5 13 L 5 17 L 8 20 L 13 20"},
};

class LineIcon : public QIconEngine
{
public:
    explicit LineIcon(const char* drawn) : lines(drawn) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State /*state*/) override
    {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const auto role = mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::ButtonText;
        const auto colour = QGuiApplication::palette().color(group, role);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.topLeft());
        painter->scale(rect.width() / 24.0, rect.height() / 24.0);
        painter->setPen(QPen(colour, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        draw(*painter, colour);
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return picture;
    }

    QIconEngine* clone() const override
    {
        return new LineIcon(lines);
    }

private:
    void draw(QPainter& painter, const QColor& colour) const
    {
        const QStringList words = QString::fromLatin1(lines).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        QPainterPath path;
        for (int i = 0; i + 2 < words.size();)
        {
            const QPointF place(words[i + 1].toDouble(), words[i + 2].toDouble());
            const auto kind = words[i].front();
            const bool isRound = kind == QLatin1Char('O') || kind == QLatin1Char('D');
            const double radius = isRound ? words.value(i + 3).toDouble() : 0;
            if (kind == QLatin1Char('M'))
            {
                path.moveTo(place);
            }
            else if (kind == QLatin1Char('L'))
            {
                path.lineTo(place);
            }
            else
            {
                painter.setBrush(kind == QLatin1Char('D') ? QBrush(colour) : QBrush(Qt::NoBrush));
                painter.drawEllipse(place, radius, radius);
            }
            i += isRound ? 4 : 3;
        }
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(path);
    }

    const char* lines;
};

} // namespace

QIcon Icons::get(const char* name)
{
    const auto* const found = std::ranges::find_if(drawings, [name](const Drawing& drawing)
                                                   { return qstrcmp(drawing.name, name) == 0; });
    return found == drawings.end() ? QIcon() : QIcon(new LineIcon(found->lines));
}

} // namespace ModelEditor
