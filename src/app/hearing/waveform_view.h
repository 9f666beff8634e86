// Draws peak values, one lane or one a channel, with a playhead and a selection.
//
// A click or a drag asks for a seek. The wheel zooms about the pointer; sideways, or with Shift, it scrolls, and so
// does a drag with the middle button. A drag with Shift selects. Keys: arrows seek, with Shift they select, + - and 0
// zoom, Page Up and Page Down scroll, Escape takes the selection back.
#pragma once

#include "app/hearing/waveform_window.h"
#include "preview/playback_travel.h"

#include <QStringList>
#include <QWidget>
#include <vector>

namespace ostrel {

class WaveformView : public QWidget {
    Q_OBJECT

public:
    static constexpr int minReadableLaneHeight = 22; // with less, one lane stands for all
    static constexpr int absoluteMinLaneHeight = 22; // the view is never lower than two of these

    explicit WaveformView(QWidget* parent = nullptr);

    // Of the whole file.
    void setData(const std::vector<float>& single, const std::vector<std::vector<float>>& lanes,
                 const QStringList& tags);
    // Finer ones, of the part that was asked for. Drawn as long as they cover what is shown.
    void setDetail(const TimeSpan& part, const std::vector<float>& single,
                   const std::vector<std::vector<float>>& lanes);
    void forgetDetail();
    void setPosition(double seconds, double duration);
    void setSelection(const std::optional<TimeSpan>& selection, bool loops);
    // In the place of a waveform: "No waveform", or why there is none.
    void setMessage(const QString& message);

    bool showsLanes() const;          // more than one
    bool lacksHeightForLanes() const; // it would show them if it were higher
    const QStringList& tags() const { return tags_; }
    int laneCount() const { return static_cast<int>(lanes_.size()); }
    const WaveformWindow& shown() const { return shown_; }
    bool showsDetail() const;

    QSize sizeHint() const override { return {400, 2 * absoluteMinLaneHeight}; }
    QSize minimumSizeHint() const override { return {120, 2 * absoluteMinLaneHeight}; }

Q_SIGNALS:
    void seekRequested(double seconds);
    void layoutChanged(); // lanes came or went
    void selected(std::optional<ostrel::TimeSpan> span);
    // The whole is too coarse for what is shown now. Points: as many as can be told apart.
    void detailWanted(ostrel::TimeSpan part, int points);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum class Drag { none, seek, select, scroll };
    struct Part {
        TimeSpan time;
        std::vector<float> single;
        std::vector<std::vector<float>> lanes;
    };

    double laneWidth() const;
    double xOf(double time) const;
    double timeAt(double x) const; // held to the file
    void windowChanged();
    void zoom(double factor, double time);
    void select(double anchor, double time);
    void selectByKey(double seconds);
    void seekBy(double seconds);
    bool zoomByKey(const QKeyEvent& key);
    bool moveByKey(const QKeyEvent& key);
    const Part* detail() const; // null where the whole is drawn
    void paintLanes(QPainter& painter) const;
    void paintLane(QPainter& painter, const QRectF& rect, const TimeSpan& time, const std::vector<float>& values) const;
    void paintSelection(QPainter& painter) const;
    void paintScroll(QPainter& painter) const;

    std::vector<float> single_;
    std::vector<std::vector<float>> lanes_;
    std::optional<Part> detail_;
    QStringList tags_;
    QString message_;
    WaveformWindow shown_;
    double position_ = 0; // seconds
    double duration_ = 0;
    std::optional<TimeSpan> selection_;
    bool loops_ = false;
    Drag drag_ = Drag::none;
    double dragTime_ = 0; // where a selection began, or what was under the pointer
};

} // namespace ostrel
