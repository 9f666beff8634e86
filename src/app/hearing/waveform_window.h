// Which part of a file's time a waveform shows. Values and pure rules; seconds.
#pragma once

namespace ostrel {

class WaveformWindow {
public:
    static constexpr double kShortest = 0.02;

    double from() const { return from_; }
    double to() const { return from_ + length_; }
    double length() const { return length_; }
    bool isWhole() const { return length_ >= duration_; }
    bool shows(double time) const { return time >= from() && time <= to(); }

    void setDuration(double duration); // another one shows the whole of it
    void showWhole();
    // A factor above 1 shows less. `time` stays where it is on the screen, as far as the file's ends allow.
    void zoom(double factor, double time);
    void scroll(double seconds);
    // Scrolls so that the time comes near the left end, from where playback goes on through all that is shown.
    void follow(double time);

private:
    void moveTo(double from);

    double duration_ = 0;
    double from_ = 0;
    double length_ = 0;
};

} // namespace ostrel
