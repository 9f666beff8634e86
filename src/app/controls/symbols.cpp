#include "app/controls/symbols.h"

#include "app/controls/theme.h"

#include <QGuiApplication>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

namespace ostrel {
namespace {

constexpr double kGrid = 24; // units of a drawing's side
constexpr double kLine = 2;

// A pen over the grid. Filled figures carry their marks cut out of them, which reads on any surface.
class Pen {
public:
    Pen(QPainter& painter, const QColor& color) : painter_(painter), color_(color) {}

    void line(const QPolygonF& points) const {
        stroke([&] { painter_.drawPolyline(points); });
    }
    void polygon(const QPolygonF& points) const {
        stroke([&] { painter_.drawPolygon(points); });
    }
    void circle(double x, double y, double radius) const {
        stroke([&] { painter_.drawEllipse(QPointF(x, y), radius, radius); });
    }
    void box(const QRectF& rect, double radius) const {
        stroke([&] { painter_.drawRoundedRect(rect, radius, radius); });
    }
    void arc(const QRectF& rect, int from, int span) const {
        stroke([&] { painter_.drawArc(rect, from * 16, span * 16); });
    }
    void path(const QPainterPath& path) const {
        stroke([&] { painter_.drawPath(path); });
    }
    void dot(double x, double y, double radius = 1.4) const {
        painter_.setPen(Qt::NoPen);
        painter_.setBrush(color_);
        painter_.drawEllipse(QPointF(x, y), radius, radius);
    }
    void fill(const QPainterPath& path) const { painter_.fillPath(path, color_); }

    // A filled shape with a line cut out of it.
    void fillWithout(const QPainterPath& shape, const QPolygonF& mark) const {
        QPainterPath line;
        line.addPolygon(mark);
        QPainterPathStroker stroker(QPen(Qt::black, kLine));
        stroker.setCapStyle(Qt::RoundCap);
        stroker.setJoinStyle(Qt::RoundJoin);
        stroker.setWidth(kLine);
        fill(shape.subtracted(stroker.createStroke(line)));
    }

private:
    template <class Draw>
    void stroke(Draw draw) const {
        painter_.setPen(QPen(color_, kLine, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter_.setBrush(Qt::NoBrush);
        draw();
    }

    QPainter& painter_;
    QColor color_;
};

using Drawing = void (*)(const Pen&);

const QPolygonF kCheck{{7.5, 12.5}, {10.8, 15.8}, {16.5, 8.8}};
const QPolygonF kDown{{6, 9}, {12, 15}, {18, 9}};
const QPolygonF kUp{{6, 15}, {12, 9}, {18, 15}};
const QPolygonF kRight{{9, 6}, {15, 12}, {9, 18}};

QPainterPath disc(double radius = 9.5) {
    QPainterPath path;
    path.addEllipse(QPointF(12, 12), radius, radius);
    return path;
}

QPainterPath shield() {
    QPainterPath path(QPointF(12, 2.2));
    path.lineTo(20, 5.2);
    path.lineTo(20, 11.5);
    path.cubicTo(20, 16.5, 16.5, 20, 12, 21.8);
    path.cubicTo(7.5, 20, 4, 16.5, 4, 11.5);
    path.lineTo(4, 5.2);
    path.closeSubpath();
    return path;
}

QPainterPath seal() {
    QPainterPath path;
    for (int corner = 0; corner < 16; ++corner) {
        const double radius = corner % 2 ? 8.4 : 10.6;
        const QLineF ray = QLineF::fromPolar(radius, corner * 22.5);
        const QPointF point = QPointF(12, 12) + ray.p2();
        corner == 0 ? path.moveTo(point) : path.lineTo(point);
    }
    path.closeSubpath();
    return path;
}

QPainterPath filledPolygon(const QPolygonF& points) {
    QPainterPath path;
    path.addPolygon(points);
    path.closeSubpath();
    return path;
}

void warningTriangle(const Pen& pen) {
    pen.polygon({{12, 3.5}, {21.5, 20}, {2.5, 20}});
    pen.line({{12, 9.5}, {12, 14}});
    pen.dot(12, 17);
}

void folder(const Pen& pen) { pen.polygon({{3, 6}, {9.5, 6}, {11.5, 8.5}, {21, 8.5}, {21, 19}, {3, 19}}); }

void document(const Pen& pen) {
    pen.polygon({{6, 3}, {14, 3}, {18.5, 7.5}, {18.5, 21}, {6, 21}});
    pen.line({{14, 3}, {14, 7.5}, {18.5, 7.5}});
}

void waveform(const Pen& pen) {
    const double heights[] = {3, 7, 4.5, 9, 5.5, 3};
    for (int bar = 0; bar < 6; ++bar) {
        const double x = 3.5 + bar * 3.4;
        pen.line({{x, 12 - heights[bar]}, {x, 12 + heights[bar]}});
    }
}

void moon(const Pen& pen) {
    QPainterPath bite;
    bite.addEllipse(QPointF(16.5, 8.5), 7.5, 7.5);
    pen.path(disc(8.5).subtracted(bite));
}

void sun(const Pen& pen) {
    pen.circle(12, 12, 4);
    for (int ray = 0; ray < 8; ++ray) {
        const QPointF inner = QPointF(12, 12) + QLineF::fromPolar(7, ray * 45).p2();
        const QPointF outer = QPointF(12, 12) + QLineF::fromPolar(9.5, ray * 45).p2();
        pen.line({inner, outer});
    }
}

void halfDisc(const Pen& pen, int from) {
    pen.circle(12, 12, 9);
    QPainterPath half(QPointF(12, 12));
    half.arcTo(QRectF(3, 3, 18, 18), from, 180);
    half.closeSubpath();
    pen.fill(half);
}

void lockShield(const Pen& pen) {
    QPainterPath lock;
    lock.addRoundedRect(QRectF(8, 10.5, 8, 6.5), 1, 1);
    QPainterPath bow;
    bow.moveTo(9.6, 10.5);
    bow.lineTo(9.6, 9);
    bow.arcTo(QRectF(9.6, 6.6, 4.8, 4.8), 180, -180);
    bow.lineTo(14.4, 10.5);
    QPainterPathStroker stroker;
    stroker.setWidth(1.6);
    pen.fill(shield().subtracted(lock).subtracted(stroker.createStroke(bow)));
}

void stack(const Pen& pen) {
    pen.polygon({{12, 3}, {21, 7.5}, {12, 12}, {3, 7.5}});
    pen.line({{3, 12}, {12, 16.5}, {21, 12}});
    pen.line({{3, 16.5}, {12, 21}, {21, 16.5}});
}

void interleave(const Pen& pen) {
    pen.line({{3, 6}, {8, 6}, {13, 12}, {20, 12}});
    pen.line({{3, 18}, {8, 18}, {13, 12}});
    pen.line({{17, 9}, {20, 12}, {17, 15}});
}

void speaker(const Pen& pen) {
    pen.polygon({{3, 9.5}, {7, 9.5}, {12, 5}, {12, 19}, {7, 14.5}, {3, 14.5}});
    pen.arc(QRectF(11, 8, 7, 8), -60, 120);
    pen.arc(QRectF(10, 4.5, 11.5, 15), -55, 110);
}

void cycle(const Pen& pen) {
    pen.arc(QRectF(4, 4, 16, 16), 20, 140);
    pen.arc(QRectF(4, 4, 16, 16), 200, 140);
    pen.line({{20.5, 5}, {19.6, 9.4}, {15.2, 8.6}});
    pen.line({{3.5, 19}, {4.4, 14.6}, {8.8, 15.4}});
}

const QHash<QString, Drawing>& drawings() {
    static const QHash<QString, Drawing> all{
        {QStringLiteral("circle"), [](const Pen& pen) { pen.circle(12, 12, 9); }},
        {QStringLiteral("checkmark"),
         [](const Pen& pen) {
             pen.line({{5, 12.5}, {10, 17.5}, {19, 7}});
         }},
        {QStringLiteral("checkmark.circle"),
         [](const Pen& pen) {
             pen.circle(12, 12, 9);
             pen.line(kCheck);
         }},
        {QStringLiteral("checkmark.circle.fill"), [](const Pen& pen) { pen.fillWithout(disc(), kCheck); }},
        {QStringLiteral("checkmark.seal.fill"), [](const Pen& pen) { pen.fillWithout(seal(), kCheck); }},
        {QStringLiteral("exclamationmark.triangle"), warningTriangle},
        {QStringLiteral("exclamationmark.circle"),
         [](const Pen& pen) {
             pen.circle(12, 12, 9);
             pen.line({{12, 7}, {12, 12.8}});
             pen.dot(12, 16.4);
         }},
        {QStringLiteral("info.circle.fill"),
         [](const Pen& pen) {
             QPainterPath point;
             point.addEllipse(QPointF(12, 7.4), 1.4, 1.4);
             pen.fillWithout(disc().subtracted(point), {{12, 11.2}, {12, 16.6}});
         }},
        {QStringLiteral("xmark.circle.fill"),
         [](const Pen& pen) {
             QPainterPath cross;
             QPainterPathStroker stroker;
             stroker.setWidth(kLine);
             stroker.setCapStyle(Qt::RoundCap);
             QPainterPath lines(QPointF(8.6, 8.6));
             lines.lineTo(15.4, 15.4);
             lines.moveTo(15.4, 8.6);
             lines.lineTo(8.6, 15.4);
             pen.fill(disc().subtracted(stroker.createStroke(lines)));
         }},
        {QStringLiteral("minus.circle"),
         [](const Pen& pen) {
             pen.circle(12, 12, 9);
             pen.line({{8, 12}, {16, 12}});
         }},
        {QStringLiteral("minus"),
         [](const Pen& pen) {
             pen.line({{6, 12}, {18, 12}});
         }},
        {QStringLiteral("shield.fill"), [](const Pen& pen) { pen.fill(shield()); }},
        {QStringLiteral("lock.shield.fill"), lockShield},
        {QStringLiteral("doc.on.doc"),
         [](const Pen& pen) {
             pen.box(QRectF(8.5, 7.5, 11.5, 13.5), 1.5);
             pen.line({{5.5, 16.5}, {4, 16.5}, {4, 3}, {15.5, 3}, {15.5, 4.5}});
         }},
        {QStringLiteral("arrow.triangle.2.circlepath"), cycle},
        {QStringLiteral("arrow.down.circle.fill"),
         [](const Pen& pen) {
             pen.fillWithout(disc(10.5), {{12, 7}, {12, 16.6}, {7.8, 12.4}, {12, 16.6}, {16.2, 12.4}});
         }},
        {QStringLiteral("magnifyingglass"),
         [](const Pen& pen) {
             pen.circle(10.5, 10.5, 6.5);
             pen.line({{15.4, 15.4}, {20.5, 20.5}});
         }},
        {QStringLiteral("play.fill"),
         [](const Pen& pen) {
             pen.fill(filledPolygon({{7, 4.5}, {19.5, 12}, {7, 19.5}}));
         }},
        {QStringLiteral("pause.fill"),
         [](const Pen& pen) {
             QPainterPath bars;
             bars.addRoundedRect(QRectF(6, 5, 4, 14), 1, 1);
             bars.addRoundedRect(QRectF(14, 5, 4, 14), 1, 1);
             pen.fill(bars);
         }},
        {QStringLiteral("stop.fill"),
         [](const Pen& pen) {
             QPainterPath square;
             square.addRoundedRect(QRectF(6, 6, 12, 12), 1.5, 1.5);
             pen.fill(square);
         }},
        {QStringLiteral("chevron.down"), [](const Pen& pen) { pen.line(kDown); }},
        {QStringLiteral("chevron.up"), [](const Pen& pen) { pen.line(kUp); }},
        {QStringLiteral("chevron.right"), [](const Pen& pen) { pen.line(kRight); }},
        {QStringLiteral("line.3.horizontal"),
         [](const Pen& pen) {
             for (const double y : {7.0, 12.0, 17.0}) pen.line({{5, y}, {19, y}});
         }},
        {QStringLiteral("xmark"),
         [](const Pen& pen) {
             pen.line({{6.5, 6.5}, {17.5, 17.5}});
             pen.line({{17.5, 6.5}, {6.5, 17.5}});
         }},
        {QStringLiteral("arrow.up"),
         [](const Pen& pen) {
             pen.line({{12, 20}, {12, 4.5}});
             pen.line({{5.5, 11}, {12, 4.5}, {18.5, 11}});
         }},
        {QStringLiteral("folder"), folder},
        {QStringLiteral("folder.badge.plus"),
         [](const Pen& pen) {
             folder(pen);
             pen.line({{12, 11}, {12, 16.5}});
             pen.line({{9.2, 13.75}, {14.8, 13.75}});
         }},
        {QStringLiteral("doc"), document},
        {QStringLiteral("waveform"), waveform},
        {QStringLiteral("waveform.path"),
         [](const Pen& pen) {
             pen.line({{2, 12}, {6, 12}, {8.5, 5}, {12, 19}, {15.5, 8}, {17.5, 12}, {22, 12}});
         }},
        {QStringLiteral("square.stack.3d.up"), stack},
        {QStringLiteral("interleave"), interleave},
        {QStringLiteral("speaker"), speaker},
        {QStringLiteral("sun"), sun},
        {QStringLiteral("moon"), moon},
        {QStringLiteral("appearance"), [](const Pen& pen) { halfDisc(pen, -90); }},
        {QStringLiteral("circle.lefthalf.filled"), [](const Pen& pen) { halfDisc(pen, 90); }},
        {QStringLiteral("circle.righthalf.filled"), [](const Pen& pen) { halfDisc(pen, -90); }},
        {QStringLiteral("wand"),
         [](const Pen& pen) {
             pen.line({{4, 20}, {14, 10}});
             pen.line({{17.5, 3}, {17.5, 9}});
             pen.line({{14.5, 6}, {20.5, 6}});
             pen.line({{19, 13}, {19, 16}});
             pen.line({{17.5, 14.5}, {20.5, 14.5}});
         }},
        {QStringLiteral("clock"),
         [](const Pen& pen) {
             pen.circle(12, 12, 9);
             pen.line({{12, 6.5}, {12, 12}, {15.5, 14.5}});
         }},
        {QStringLiteral("house"),
         [](const Pen& pen) {
             pen.line({{3, 11.5}, {12, 4}, {21, 11.5}});
             pen.line({{5.5, 10}, {5.5, 20}, {18.5, 20}, {18.5, 10}});
         }},
        {QStringLiteral("disk"),
         [](const Pen& pen) {
             pen.box(QRectF(3, 6, 18, 12), 2);
             pen.dot(17, 14.5);
             pen.line({{6.5, 14.5}, {12, 14.5}});
         }},
    };
    return all;
}

class SymbolIconEngine : public QIconEngine {
public:
    SymbolIconEngine(const QString& name, SymbolTint tint) : name_(name), tint_(tint) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const Theme& colors = themeOf(QGuiApplication::palette());
        const QColor normal = tint_ == SymbolTint::onAccent ? colors.onAccent : colors.text;
        paintSymbol(*painter, name_, rect, mode == QIcon::Disabled ? colors.disabledText : normal);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new SymbolIconEngine(name_, tint_); }

private:
    QString name_;
    SymbolTint tint_;
};

} // namespace

void paintSymbol(QPainter& painter, const QString& name, const QRectF& rect, const QColor& color) {
    const double side = std::min(rect.width(), rect.height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(rect.center() - QPointF(side / 2, side / 2));
    painter.scale(side / kGrid, side / kGrid);
    const Drawing drawing = drawings().value(name, drawings().value(QStringLiteral("circle")));
    drawing(Pen(painter, color));
    painter.restore();
}

QIcon symbolIcon(const QString& name, SymbolTint tint) { return QIcon(new SymbolIconEngine(name, tint)); }

QStringList symbolNames() { return drawings().keys(); }

} // namespace ostrel
