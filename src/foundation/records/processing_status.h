// The state of one item of a job, with all its words: views, logs and reports take them from here.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

struct ProcessingStatus {
    enum class Kind {
        pending,
        ready,
        missingChannels, // channels
        mismatchSampleRate,
        mismatchBitDepth,
        mismatchDuration, // leftDuration, rightDuration in seconds
        outputExists,
        processing,
        completed,
        completedWithWarning, // text
        failed,               // text
        skipped,              // text
        readyLRMerge,
        protectedSurround,   // text (the reason), fileCount
        protectedAmbisonics, // text, fileCount
        incompletePair,      // text, fileCount
        notLRPair,           // text
        // An L/R merge whose audio was verified, but whose BEXT identity could not be: the sources are left alone.
        completedUncertified, // text
        // An L/R merge verified in channels and duration, with its BEXT identity present in the output.
        completedCarbonCopyCertified,
    };

    Kind kind = Kind::pending;
    QStringList channels;
    double leftDuration = 0;
    double rightDuration = 0;
    QString text;
    int fileCount = 0;

    bool operator==(const ProcessingStatus&) const = default;

    static ProcessingStatus pending() { return {Kind::pending}; }
    static ProcessingStatus ready() { return {Kind::ready}; }
    static ProcessingStatus missingChannels(const QStringList& tags) { return {Kind::missingChannels, tags}; }
    static ProcessingStatus mismatchSampleRate() { return {Kind::mismatchSampleRate}; }
    static ProcessingStatus mismatchBitDepth() { return {Kind::mismatchBitDepth}; }
    static ProcessingStatus mismatchDuration(double left, double right) {
        return {Kind::mismatchDuration, {}, left, right};
    }
    static ProcessingStatus outputExists() { return {Kind::outputExists}; }
    static ProcessingStatus processing() { return {Kind::processing}; }
    static ProcessingStatus completed() { return {Kind::completed}; }
    static ProcessingStatus completedWithWarning(const QString& text) {
        return withText(Kind::completedWithWarning, text);
    }
    static ProcessingStatus failed(const QString& reason) { return withText(Kind::failed, reason); }
    static ProcessingStatus skipped(const QString& reason) { return withText(Kind::skipped, reason); }
    static ProcessingStatus readyLRMerge() { return {Kind::readyLRMerge}; }
    static ProcessingStatus protectedSurround(const QString& reason, int files) {
        return withText(Kind::protectedSurround, reason, files);
    }
    static ProcessingStatus protectedAmbisonics(const QString& reason, int files) {
        return withText(Kind::protectedAmbisonics, reason, files);
    }
    static ProcessingStatus incompletePair(const QString& reason, int files) {
        return withText(Kind::incompletePair, reason, files);
    }
    static ProcessingStatus notLRPair(const QString& reason) { return withText(Kind::notLRPair, reason); }
    static ProcessingStatus completedUncertified(const QString& reason) {
        return withText(Kind::completedUncertified, reason);
    }
    static ProcessingStatus completedCarbonCopyCertified() { return {Kind::completedCarbonCopyCertified}; }

    // A job takes items in these states, and in no other.
    bool isProcessable() const { return kind == Kind::pending || kind == Kind::ready || kind == Kind::readyLRMerge; }

    // The item's audio output stands, whatever else is to be said of it.
    bool stands() const {
        return kind == Kind::completed || kind == Kind::completedWithWarning || kind == Kind::completedUncertified ||
               kind == Kind::completedCarbonCopyCertified;
    }

    // The item can't be or was not done, by a fault that a person should look at.
    bool isError() const {
        return kind == Kind::missingChannels || kind == Kind::mismatchSampleRate || kind == Kind::mismatchBitDepth ||
               kind == Kind::mismatchDuration || kind == Kind::failed;
    }

    QString caseName() const;
    QString displayText() const;
    QString shortDisplayText() const;
    QString icon() const; // a symbol name, which the window maps to its icons

    // The meaning of the state's colour; the window's theme gives the shade.
    enum class Color { secondary, blue, orange, yellow, purple, green, red, cyan };
    Color statusColor() const;

private:
    static ProcessingStatus withText(Kind kind, const QString& text, int files = 0) {
        return {kind, {}, 0, 0, text, files};
    }
};

} // namespace ostrel
