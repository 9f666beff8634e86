// Draws peak values, one lane or one a channel, with a playhead. A click or a drag asks for a seek; so do the arrow
// keys.
#pragma once

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

    void setData(const std::vector<float>& single, const std::vector<std::vector<float>>& lanes,
                 const QStringList& tags);
    void setPosition(double seconds, double duration);
    // In the place of a waveform: "No waveform", or why there is none.
    void setMessage(const QString& message);

    bool showsLanes() const;          // more than one
    bool lacksHeightForLanes() const; // it would show them if it were higher
    int laneCount() const { return static_cast<int>(lanes_.size()); }

    QSize sizeHint() const override { return {400, 2 * absoluteMinLaneHeight}; }
    QSize minimumSizeHint() const override { return {120, 2 * absoluteMinLaneHeight}; }

Q_SIGNALS:
    void seekRequested(double seconds);
    void layoutChanged(); // lanes came or went

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    double playheadX() const;
    void seekTo(double x);
    void paintLane(QPainter& painter, const QRectF& rect, const std::vector<float>& values) const;

    std::vector<float> single_;
    std::vector<std::vector<float>> lanes_;
    QStringList tags_;
    QString message_;
    double position_ = 0; // seconds
    double duration_ = 0;
};

} // namespace ostrel
