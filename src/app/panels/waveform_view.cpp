#include "app/panels/waveform_view.h"

#include "app/controls/theme.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace ostrel {
namespace {

constexpr double kInset = 6;   // of the lanes in the view
constexpr double kKeyStep = 1; // seconds

// The outline of peak values, mirrored at the lane's middle.
QPainterPath outline(const QRectF& rect, const std::vector<float>& values) {
    const double middle = rect.center().y();
    const double reach = rect.height() / 2 - 1;
    const double step = rect.width() / static_cast<double>(values.size());
    QPolygonF points;
    points.reserve(static_cast<qsizetype>(values.size()) * 2);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double height = std::max(0.5, std::clamp(static_cast<double>(values[i]), 0.0, 1.0) * reach);
        points << QPointF(rect.left() + (static_cast<double>(i) + 0.5) * step, middle - height);
    }
    for (qsizetype i = static_cast<qsizetype>(values.size()) - 1; i >= 0; --i) {
        points << QPointF(points[i].x(), 2 * middle - points[i].y());
    }
    QPainterPath path;
    path.addPolygon(points);
    path.closeSubpath();
    return path;
}

// On a ground of its own, since the waveform may fill its lane.
void paintTag(QPainter& painter, const QPointF& corner, const QString& tag, const Theme& theme) {
    const QFontMetrics metrics(painter.font());
    const QRectF box(corner, QSizeF(metrics.horizontalAdvance(tag) + 8, metrics.height()));
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.base);
    painter.drawRoundedRect(box, 3, 3);
    painter.setPen(theme.text);
    painter.drawText(box, Qt::AlignCenter, tag);
}

} // namespace

WaveformView::WaveformView(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Waveform"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setCursor(Qt::PointingHandCursor);
}

void WaveformView::setData(const std::vector<float>& single, const std::vector<std::vector<float>>& lanes,
                           const QStringList& tags) {
    single_ = single;
    lanes_ = lanes;
    tags_ = tags;
    update();
    Q_EMIT layoutChanged();
}

void WaveformView::setPosition(double seconds, double duration) {
    const double before = playheadX();
    const bool sameLength = duration == duration_;
    position_ = seconds;
    duration_ = duration;
    if (!sameLength) return update();
    const double after = playheadX();
    if (qRound(before) == qRound(after)) return;
    // Only what the playhead has passed over is drawn anew.
    const int left = static_cast<int>(std::min(before, after)) - 3;
    const int right = static_cast<int>(std::max(before, after)) + 4;
    update(left, 0, right - left, height());
}

void WaveformView::setMessage(const QString& message) {
    if (message == message_) return;
    message_ = message;
    setAccessibleDescription(message);
    update();
}

bool WaveformView::showsLanes() const {
    return lanes_.size() > 1 && height() >= minReadableLaneHeight * static_cast<int>(lanes_.size());
}

bool WaveformView::lacksHeightForLanes() const { return lanes_.size() > 1 && !showsLanes(); }

double WaveformView::playheadX() const {
    if (duration_ <= 0) return kInset;
    return kInset + std::clamp(position_ / duration_, 0.0, 1.0) * (width() - 2 * kInset);
}

void WaveformView::paintLane(QPainter& painter, const QRectF& rect, const std::vector<float>& values) const {
    if (values.empty()) return;
    const Theme& theme = themeOf(palette());
    const QPainterPath path = outline(rect, values);
    QColor ahead = theme.accentText;
    ahead.setAlphaF(0.5F);
    const double played = playheadX();
    painter.save();
    painter.setClipRect(QRectF(played, rect.top(), width() - played, rect.height()), Qt::IntersectClip);
    painter.fillPath(path, ahead);
    painter.restore();
    painter.save();
    painter.setClipRect(QRectF(0, rect.top(), played, rect.height()), Qt::IntersectClip);
    painter.fillPath(path, theme.accentText);
    painter.restore();
}

void WaveformView::paintEvent(QPaintEvent* event) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(event->rect());
    painter.setPen(hasFocus() ? QPen(theme.accentText, 1.5) : QPen(theme.border));
    painter.setBrush(theme.base);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 6, 6);
    if (!message_.isEmpty()) {
        painter.setPen(theme.secondaryText);
        painter.drawText(rect(), Qt::AlignCenter, message_);
        return;
    }
    const QRectF area = QRectF(rect()).adjusted(kInset, 4, -kInset, -4);
    if (!showsLanes()) {
        paintLane(painter, area, single_);
    } else {
        const double height = area.height() / static_cast<double>(lanes_.size());
        QFont small = font();
        small.setPointSizeF(small.pointSizeF() * 0.8);
        painter.setFont(small);
        for (std::size_t lane = 0; lane < lanes_.size(); ++lane) {
            const QRectF rect(area.left(), area.top() + height * static_cast<double>(lane), area.width(), height);
            if (lane > 0) {
                painter.setPen(theme.border);
                painter.drawLine(rect.topLeft(), rect.topRight());
            }
            paintLane(painter, rect.adjusted(0, 1, 0, -1), lanes_[lane]);
            if (tags_.size() != static_cast<qsizetype>(lanes_.size())) continue;
            paintTag(painter, rect.topLeft() + QPointF(2, 2), tags_.at(static_cast<qsizetype>(lane)), theme);
        }
    }
    if (duration_ > 0) painter.fillRect(QRectF(playheadX() - 0.75, 2, 1.5, height() - 4), theme.text);
}

void WaveformView::seekTo(double x) {
    const double width = this->width() - 2 * kInset;
    if (duration_ <= 0 || width <= 0) return;
    Q_EMIT seekRequested(std::clamp((x - kInset) / width, 0.0, 1.0) * duration_);
}

void WaveformView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) seekTo(event->position().x());
}

void WaveformView::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton) seekTo(event->position().x());
}

void WaveformView::keyPressEvent(QKeyEvent* event) {
    const bool isPlain = event->modifiers() == Qt::NoModifier;
    if (isPlain && event->key() == Qt::Key_Left) {
        Q_EMIT seekRequested(std::max(0.0, position_ - kKeyStep));
    } else if (isPlain && event->key() == Qt::Key_Right) {
        Q_EMIT seekRequested(std::min(duration_, position_ + kKeyStep));
    } else {
        QWidget::keyPressEvent(event);
    }
}

void WaveformView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Q_EMIT layoutChanged();
}

} // namespace ostrel
