// Timecode of day, exact: samples since midnight on one side, labels of a rate on the other, whole numbers in between.
//
// Labels: SMPTE ST 12-1. At 23.976 and 29.97 (without drop frame) a day of labels is longer than a day, so the labels
// of a recording wrap at 24:00:00:00 and not at midnight. Pure; for any thread.
#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>

namespace ostrel {

struct TimecodeRate {
    int numerator = 25; // frames a second, as a fraction in lowest terms: 24000/1001
    int denominator = 1;
    bool isDrop = false; // labels are left out so that they keep up with the clock; 29.97 and 59.94 only

    bool operator==(const TimecodeRate&) const = default;

    int labelsPerSecond() const { return (numerator + denominator - 1) / denominator; } // 24 for 23.976
    qint64 framesPerDay() const;                                                        // labels of 24 hours

    // "23.976", "29.97 DF", "25": what a person calls it.
    QString name() const;

    // Of an iXML document's TIMECODE_RATE ("24000/1001", "25/1") and TIMECODE_FLAG ("NDF", "DF"), or of what recorders
    // write into a Description ("023.976-ND", "25"). Nothing for what is no rate that has labels.
    static std::optional<TimecodeRate> of(const QString& rate, const QString& flag = QString());
};

struct TimecodeOfDay {
    quint64 samples = 0;        // since midnight
    quint32 sampleRate = 48000; // Hz, of those samples
    TimecodeRate rate;

    // Of the frame that is running, 0 at 00:00:00:00. Recorders cut or round what they write to a sample, so the one
    // behind counts as there.
    qint64 frame() const;
    // "13:36:06:04", with drop frame "00:01:00;02".
    QString label() const;

    // The first sample of a frame, to the nearest.
    static quint64 sampleOf(qint64 frame, quint32 sampleRate, const TimecodeRate& rate);
    static QString labelOf(qint64 frame, const TimecodeRate& rate);
    // "hh:mm:ss:ff", any of ":;.," ahead of the frames. Nothing for what is no label of the rate: drop frame leaves
    // two a minute out.
    static std::optional<qint64> frameOf(const QString& label, const TimecodeRate& rate);
};

} // namespace ostrel
