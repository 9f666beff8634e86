// The peaks that a view shows of one file or of several, one above the other: what is in memory at once, finer ones
// read behind the main thread as they are asked for. The last wish wins.
//
// Main thread. A file that can't be read has lanes of silence: the player says why it can't be heard.
#pragma once

#include "preview/waveform_peaks.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QStringList>
#include <optional>

namespace ostrel {

class PeakReader : public QObject {
    Q_OBJECT

public:
    // A lane for each channel, in proportion to its own greatest peak. Or one for each file, of its loudest channel, in
    // proportion to the loudest file.
    enum class Lanes { channels, files };
    struct Wish {
        double from = 0; // seconds
        double to = 0;
        int points = 0;
        bool operator==(const Wish&) const = default;
    };

    explicit PeakReader(QObject* parent = nullptr) : QObject(parent) {}
    ~PeakReader() override;

    // For files that only ffmpeg decodes; see AudioFile.
    void setFFmpegPath(const QString& path) { ffmpegPath_ = path; }

    // Nothing is read before something is wished for.
    void setFiles(const QStringList& files, Lanes lanes);
    void want(const Wish& wish);

    // What `lanes()` are of; nothing before the first answer.
    const std::optional<Wish>& answered() const { return answered_; }
    const PeakLanes& lanes() const { return result_; }         // 0 to 1
    const std::vector<float>& whole() const { return whole_; } // all lanes as one
    bool isReading() const { return isReading_; }

Q_SIGNALS:
    void changed(); // lanes() or isReading()

private:
    using Files = std::vector<std::shared_ptr<WaveformPeaks>>; // null: can't be read

    QCoro::Task<> open(TaskHandle task);
    QCoro::Task<> refine(Wish wish, TaskHandle task);
    void answer(const Wish& wish, const std::vector<PeakLanes>& peaks);
    void showFromMemory(const Wish& wish);
    void setReading(bool isReading);

    QString ffmpegPath_;
    QStringList paths_;
    Lanes kind_ = Lanes::channels;
    std::optional<Files> files_; // once they are open
    TaskHandle opening_;
    TaskHandle refining_;
    std::optional<Wish> wish_;
    std::optional<Wish> answered_;
    PeakLanes result_;
    std::vector<float> whole_;
    bool isReading_ = false;
};

} // namespace ostrel
