// What of a recording is shown to a tool that is asked for its metadata.
//
// Some releases of the original tool write a file anew that they only display: one whose texts are not UTF-8, one with
// 64-bit sizes, one whose sizes are not true. Of such a recording they see a copy of its head: a small RIFF file of
// that name with every chunk but the audio, of which it has one frame of zeros. All others are shown themselves.
#pragma once

#include <QString>

namespace ostrel {

class ShownRecording {
public:
    // Blocks on the disk. Never fails: without room for the copy its path leads to no file, which the tool then says.
    explicit ShownRecording(const QString& recording);
    ~ShownRecording(); // the copy goes
    ShownRecording(const ShownRecording&) = delete;
    ShownRecording& operator=(const ShownRecording&) = delete;

    // For the tool's command line. What it prints may name this path.
    const QString& path() const { return path_; }
    bool isCopy() const { return !folder_.isEmpty(); }

private:
    QString path_;
    QString folder_; // of the copy, made for it alone
};

} // namespace ostrel
