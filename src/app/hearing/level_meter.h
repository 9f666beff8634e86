// The peak level of each channel of the sound output, as bars with a line at the highest of the last moments. It looks
// at the output only while its player plays, and costs nothing otherwise.
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <vector>

namespace ostrel {

class AudioOutput;

class LevelMeter : public QWidget {
    Q_OBJECT

public:
    static constexpr double kFloor = -60; // dB, of full scale

    explicit LevelMeter(AudioOutput& output, QWidget* parent = nullptr);

    void setRunning(bool isRunning); // what was shown falls to nothing
    bool isRunning() const { return timer_.isActive(); }
    // In dB, `kFloor` for silence; one a channel that was heard.
    const std::vector<double>& levels() const { return levels_; }
    const std::vector<double>& held() const { return held_; }
    // The greatest magnitudes of a stretch of so many seconds.
    void take(const std::vector<float>& peaks, double seconds);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void look();
    void tell();

    AudioOutput& output_;
    QTimer timer_;
    QElapsedTimer sinceLook_;
    std::vector<double> levels_;
    std::vector<double> held_;
    std::vector<double> heldFor_; // seconds
    double untold_ = 0;           // seconds since assistive technology was told
};

} // namespace ostrel
