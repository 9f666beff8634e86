#include "app/hearing/waveform_view.h"

#include "app/controls/theme.h"
#include "app/hearing/waveform_shapes.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <cmath>

namespace ostrel {
namespace {

constexpr double kInset = 6;       // of the lanes in the view
constexpr double kKeyStep = 1;     // seconds
constexpr double kKeyPart = 0.05;  // of what is shown, where that is less
constexpr double kZoomStep = 1.25; // of a wheel's notch
constexpr double kKeyZoom = 2;
constexpr double kScrollPart = 0.1; // of what is shown, by a wheel's notch
constexpr int kMostPoints = 4096;

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

void WaveformView::setDetail(const TimeSpan& part, const std::vector<float>& single,
                             const std::vector<std::vector<float>>& lanes) {
    detail_ = Part{part, single, lanes};
    update();
}

void WaveformView::forgetDetail() {
    detail_.reset();
    update();
}

void WaveformView::setPosition(double seconds, double duration) {
    const double before = xOf(position_);
    const bool wasShown = shown_.shows(position_);
    const bool sameLength = duration == duration_;
    position_ = seconds;
    duration_ = duration;
    shown_.setDuration(duration);
    if (!sameLength) return windowChanged();
    // Who scrolled away from the playhead is not taken back to it.
    if (wasShown && !shown_.shows(seconds)) {
        shown_.follow(seconds);
        return windowChanged();
    }
    const double after = xOf(seconds);
    if (qRound(before) == qRound(after)) return;
    // Only what the playhead has passed over is drawn anew.
    const int left = static_cast<int>(std::max(0.0, std::min(before, after))) - 3;
    const int right = static_cast<int>(std::min<double>(width(), std::max(before, after))) + 4;
    update(left, 0, right - left, height());
}

void WaveformView::setSelection(const std::optional<TimeSpan>& selection, bool loops) {
    if (selection == selection_ && loops == loops_) return;
    selection_ = selection;
    loops_ = loops;
    update();
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

double WaveformView::laneWidth() const { return std::max(1.0, width() - 2 * kInset); }

double WaveformView::xOf(double time) const {
    if (shown_.length() <= 0) return kInset;
    return kInset + (time - shown_.from()) / shown_.length() * laneWidth();
}

double WaveformView::timeAt(double x) const {
    const double time = shown_.from() + (x - kInset) / laneWidth() * shown_.length();
    return std::clamp(time, 0.0, duration_);
}

void WaveformView::windowChanged() {
    update();
    if (shown_.isWhole() || duration_ <= 0) return;
    Q_EMIT detailWanted({shown_.from(), shown_.to()}, std::min(kMostPoints, static_cast<int>(laneWidth())));
}

void WaveformView::zoom(double factor, double time) {
    shown_.zoom(factor, time);
    windowChanged();
}

const WaveformView::Part* WaveformView::detail() const {
    constexpr double rounding = 1e-6; // seconds
    if (!detail_ || shown_.isWhole()) return nullptr;
    if (showsLanes() && detail_->lanes.size() != lanes_.size()) return nullptr;
    const TimeSpan& time = detail_->time;
    const bool covers = time.from <= shown_.from() + rounding && time.to >= shown_.to() - rounding;
    return covers ? &*detail_ : nullptr;
}

bool WaveformView::showsDetail() const { return detail() != nullptr; }

void WaveformView::paintLane(QPainter& painter, const QRectF& rect, const TimeSpan& time,
                             const std::vector<float>& values) const {
    if (values.empty()) return;
    const Theme& theme = themeOf(palette());
    // Of many lanes, while the playhead moves, a few pixels each.
    const QRectF clip = painter.clipBoundingRect();
    QRectF seen = rect;
    seen.setLeft(std::max(rect.left(), clip.left()));
    seen.setRight(std::min(rect.right(), clip.right()));
    if (seen.width() <= 0) return;
    const QPainterPath path = peakOutline(seen, xOf(time.from), xOf(time.to), values);
    QColor ahead = theme.accentText;
    ahead.setAlphaF(0.5F);
    const double played = std::clamp(xOf(position_), rect.left(), rect.right());
    painter.save();
    painter.setClipRect(QRectF(played, rect.top(), rect.right() - played, rect.height()), Qt::IntersectClip);
    painter.fillPath(path, ahead);
    painter.restore();
    painter.save();
    painter.setClipRect(QRectF(rect.left(), rect.top(), played - rect.left(), rect.height()), Qt::IntersectClip);
    painter.fillPath(path, theme.accentText);
    painter.restore();
}

void WaveformView::paintLanes(QPainter& painter) const {
    const Theme& theme = themeOf(palette());
    const Part* part = detail();
    const TimeSpan time = part ? part->time : TimeSpan{0, duration_};
    const QRectF area = QRectF(rect()).adjusted(kInset, 4, -kInset, -4);
    if (!showsLanes()) return paintLane(painter, area, time, part ? part->single : single_);
    const auto& lanes = part ? part->lanes : lanes_;
    const double height = area.height() / static_cast<double>(lanes.size());
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.8);
    painter.setFont(small);
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
        const QRectF rect(area.left(), area.top() + height * static_cast<double>(lane), area.width(), height);
        if (lane > 0) {
            painter.setPen(theme.border);
            painter.drawLine(rect.topLeft(), rect.topRight());
        }
        paintLane(painter, rect.adjusted(0, 1, 0, -1), time, lanes[lane]);
        if (tags_.size() != static_cast<qsizetype>(lanes.size())) continue;
        paintLaneTag(painter, rect.topLeft() + QPointF(2, 2), tags_.at(static_cast<qsizetype>(lane)), theme);
    }
}

// Two edges and a tint; what will loop has a bar at the top as well.
void WaveformView::paintSelection(QPainter& painter) const {
    if (!selection_) return;
    const Theme& theme = themeOf(palette());
    const QRectF rect(QPointF(xOf(selection_->from), 3), QPointF(xOf(selection_->to), height() - 3.0));
    QColor tint = theme.orange;
    tint.setAlphaF(0.18F);
    painter.fillRect(rect, tint);
    painter.fillRect(QRectF(rect.left(), rect.top(), 1.5, rect.height()), theme.orange);
    painter.fillRect(QRectF(rect.right() - 1.5, rect.top(), 1.5, rect.height()), theme.orange);
    if (loops_) painter.fillRect(QRectF(rect.left(), rect.top(), rect.width(), 3), theme.orange);
}

// Where in the file the part that is shown lies.
void WaveformView::paintScroll(QPainter& painter) const {
    if (shown_.isWhole() || duration_ <= 0) return;
    constexpr double thickness = 3;
    constexpr double shortest = 8;
    const double left = kInset + shown_.from() / duration_ * laneWidth();
    const double length = std::max(shortest, shown_.length() / duration_ * laneWidth());
    const QRectF bar(std::min(left, width() - kInset - shortest), height() - thickness - 2, length, thickness);
    painter.setPen(Qt::NoPen);
    painter.setBrush(themeOf(palette()).secondaryText);
    painter.drawRoundedRect(bar, thickness / 2, thickness / 2);
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
    painter.save();
    painter.setClipRect(QRectF(kInset, 0, laneWidth(), height()), Qt::IntersectClip);
    paintSelection(painter);
    paintLanes(painter);
    painter.restore();
    paintScroll(painter);
    if (duration_ > 0 && shown_.shows(position_))
        painter.fillRect(QRectF(xOf(position_) - 0.75, 2, 1.5, height() - 4), theme.text);
}

void WaveformView::select(double anchor, double time) {
    const TimeSpan span{std::min(anchor, time), std::max(anchor, time)};
    Q_EMIT selected(span.length() >= PlaybackTravel::kShortestLoop ? std::optional(span) : std::nullopt);
}

void WaveformView::mousePressEvent(QMouseEvent* event) {
    if (duration_ <= 0 || drag_ != Drag::none) return;
    dragTime_ = timeAt(event->position().x());
    if (event->button() == Qt::MiddleButton) {
        drag_ = Drag::scroll;
    } else if (event->button() == Qt::LeftButton && event->modifiers().testFlag(Qt::ShiftModifier)) {
        drag_ = Drag::select;
        select(dragTime_, dragTime_);
    } else if (event->button() == Qt::LeftButton) {
        drag_ = Drag::seek;
        Q_EMIT seekRequested(dragTime_);
    }
}

void WaveformView::mouseMoveEvent(QMouseEvent* event) {
    const double time = timeAt(event->position().x());
    switch (drag_) {
    case Drag::none: return;
    case Drag::seek: Q_EMIT seekRequested(time); return;
    case Drag::select: return select(dragTime_, time);
    case Drag::scroll: break;
    }
    shown_.scroll(dragTime_ - time);
    windowChanged();
}

void WaveformView::mouseReleaseEvent(QMouseEvent*) { drag_ = Drag::none; }

void WaveformView::wheelEvent(QWheelEvent* event) {
    constexpr double notch = 120;
    const QPoint turned = event->angleDelta();
    const bool isSideways = std::abs(turned.x()) > std::abs(turned.y());
    event->accept();
    if (isSideways || event->modifiers().testFlag(Qt::ShiftModifier)) {
        shown_.scroll(-(isSideways ? turned.x() : turned.y()) / notch * kScrollPart * shown_.length());
        return windowChanged();
    }
    zoom(std::pow(kZoomStep, turned.y() / notch), timeAt(event->position().x()));
}

void WaveformView::seekBy(double seconds) { Q_EMIT seekRequested(std::clamp(position_ + seconds, 0.0, duration_)); }

// The end that the playhead stands at moves along with it; elsewhere a new selection begins.
void WaveformView::selectByKey(double seconds) {
    const auto isAt = [this](double time) { return std::abs(time - position_) < PlaybackTravel::kShortestLoop / 2; };
    double anchor = position_;
    if (selection_ && isAt(selection_->to)) anchor = selection_->from;
    if (selection_ && isAt(selection_->from)) anchor = selection_->to;
    const double time = std::clamp(position_ + seconds, 0.0, duration_);
    select(anchor, time);
    Q_EMIT seekRequested(time);
}

bool WaveformView::zoomByKey(const QKeyEvent& key) {
    // Whatever lies under the playhead stays in sight.
    const double middle = shown_.shows(position_) ? position_ : shown_.from() + shown_.length() / 2;
    switch (key.key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal: zoom(kKeyZoom, middle); return true;
    case Qt::Key_Minus: zoom(1 / kKeyZoom, middle); return true;
    case Qt::Key_0:
        shown_.showWhole();
        windowChanged();
        return true;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        shown_.scroll(key.key() == Qt::Key_PageUp ? -shown_.length() : shown_.length());
        windowChanged();
        return true;
    default: return false;
    }
}

bool WaveformView::moveByKey(const QKeyEvent& key) {
    const double step = shown_.isWhole() ? kKeyStep : std::min(kKeyStep, shown_.length() * kKeyPart);
    const bool selects = key.modifiers().testFlag(Qt::ShiftModifier);
    switch (key.key()) {
    case Qt::Key_Left: selects ? selectByKey(-step) : seekBy(-step); return true;
    case Qt::Key_Right: selects ? selectByKey(step) : seekBy(step); return true;
    case Qt::Key_Home: seekBy(-duration_); return true;
    case Qt::Key_End: seekBy(duration_); return true;
    case Qt::Key_Escape:
        if (!selection_) return false;
        Q_EMIT selected(std::nullopt);
        return true;
    default: return false;
    }
}

void WaveformView::keyPressEvent(QKeyEvent* event) {
    const bool isPlain = (event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == Qt::NoModifier;
    if (!isPlain || duration_ <= 0 || (!zoomByKey(*event) && !moveByKey(*event))) QWidget::keyPressEvent(event);
}

void WaveformView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    windowChanged();
    Q_EMIT layoutChanged();
}

} // namespace ostrel
