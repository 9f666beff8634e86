#include "app/panels/help_texts.h"

#include "app/panels/install_command.h"

namespace ostrel {
namespace {

constexpr char16_t kShortcuts[] =
    u"Tab Navigation:\n"
    u"⌘1 — Interleaver\n"
    u"⌘2 — Poly Tools\n"
    u"⌘3 — Stereo Validator\n"
    u"\n"
    u"Universal Actions (work on every tab):\n"
    u"⌘I — Select input files or folder\n"
    u"⌘O — Select output folder\n"
    u"⌘S — Scan / Analyze\n"
    u"⌘R — Run / Process / Export\n"
    u"Space — Play / Pause preview\n"
    u"\n"
    u"Listening:\n"
    u"J, K, L — Backwards, pause, forwards; again for 2, 4, 8 times as fast\n"
    u"⌘← ⌘→ — Jump 5 seconds\n"
    u"⌘L — Loop the selection, or the whole file\n"
    u"In a waveform:\n"
    u"← → — 1 second; with Shift they select (as Shift and drag does), Esc takes it back\n"
    u"+ − 0 — Zoom in, out, show all (wheel: zoom, sideways: scroll)\n"
    u"Page Up, Page Down — Scroll (so does a drag with the middle button)\n"
    u"\n"
    u"Interleaver Modes:\n"
    u"⌘, — Interleave (multi-mono → interleaved)\n"
    u"⌘. — De-interleave (interleaved → multi-mono)\n"
    u"\n"
    u"Poly Tools Modes:\n"
    u"⌘, — Split (poly → ISOs)\n"
    u"⌘. — Join (ISOs → poly)\n"
    u"⌘/ — Edit Poly (rename, remove, reorder channels)\n"
    u"\n"
    u"Appearance:\n"
    u"⌘⇧0 — System\n"
    u"⌘⇧1 — Light\n"
    u"⌘⇧2 — Dark";

constexpr char16_t kInterleaver[] =
    u"Converts between multi-mono (one file per channel) and a single interleaved multichannel file. "
    u"Embedded metadata (iXML, BWF, SMED) is kept when present in the source.\n"
    u"\n"
    u"▸ INTERLEAVE (multi-mono → interleaved multichannel)\n"
    u"Drag in mono channel files and Tessarine groups them into 2.0, 5.1, or 7.1 sets using filename "
    u"matching. Choose a channel layout or use Auto Detect (by channel count), then Scan to review the "
    u"mapping and Run to export.\n"
    u"\n"
    u"▸ DE-INTERLEAVE (interleaved multichannel → multi-mono)\n"
    u"Drag in an interleaved multichannel file and export each channel as its own mono file. Extract all "
    u"channels or only the ones you need.\n"
    u"\n"
    u"Supports WAV, AIFF, CAF, FLAC, and several common compressed formats. Output can preserve the "
    u"source format or be forced to WAV. Originals can be kept, moved to a backup folder, or optionally "
    u"deleted after success.\n"
    u"\n"
    u"Drag-and-drop, waveform preview with click-to-seek, audition mode (spacebar), row-click "
    u"auto-advance, and optional CSV result reports.";

constexpr char16_t kPolyTools[] =
    u"Three tools for working with poly WAV (multitrack) audio used in production sound and post.\n"
    u"\n"
    u"▸ SPLIT (poly → ISOs)\n"
    u"Takes a poly WAV and extracts each track as a separate mono file. Track names, BWF timestamps, and "
    u"embedded metadata carry through to every export.\n"
    u"\n"
    u"▸ JOIN (ISOs → poly)\n"
    u"Groups mono tracks by scene and take using iXML, BWF, and/or filename patterns, then joins each "
    u"group back into a single poly file. Handles common recorder brands and naming conventions. Scan "
    u"first to review groups, then Run.\n"
    u"\n"
    u"▸ EDIT POLY\n"
    u"Non-destructive channel editing on poly files — rename tracks, remove unwanted channels, and "
    u"reorder the channel layout. Metadata stays intact.\n"
    u"\n"
    u"All three modes support drag-and-drop, batch processing, inline preview with click-to-seek, and "
    u"optional CSV result reports.";

constexpr char16_t kStereoValidator[] =
    u"Analyzes stereo files and flags common issues — dual mono, near mono, one-sided, out-of-phase, or "
    u"silent channels — then lets you batch-fix the ones you choose.\n"
    u"\n"
    u"▸ HOW IT WORKS\n"
    u"Select files or a folder, pick a detection preset (Recommended, Strict, or Relaxed), and hit "
    u"Analyze. The results table shows each file's classification plus correlation, confidence, lag, and "
    u"mid/side balance.\n"
    u"\n"
    u"▸ WHAT IT DETECTS\n"
    u"• Dual Mono — left and right are identical (including simple gain offsets)\n"
    u"• Near Mono — very similar channels with small differences\n"
    u"• True Stereo — healthy stereo content, no action needed\n"
    u"• One-Sided — audio on one side, silence on the other\n"
    u"• Out-of-Phase — inverted or unstable stereo relationship\n"
    u"• Silent — no meaningful audio on either channel\n"
    u"\n"
    u"▸ CLEAN & EXPORT\n"
    u"Converts selected problem types to proper mono. Choose which types to fix, which channel to keep "
    u"(or Auto when one side is clearly better), and whether to add a \"_mono\" suffix. Processes in "
    u"batch.\n"
    u"\n"
    u"Includes auditioning (spacebar play/pause), click-through playback while reviewing, and optional "
    u"CSV result reports.";

constexpr auto kNoBwfmetaedit =
    u"⚠️ BWF MetaEdit not found (unexpected - should be bundled with app)\n\nIf you see this error, please contact "
    u"support.\n\nAdvanced users can install via Homebrew as fallback:\nbrew install bwfmetaedit";

} // namespace

QString forThisDesktop(const QString& text) {
    QString result = text;
    result.replace(QStringLiteral("⌘"), QStringLiteral("Ctrl+"));
    result.replace(QStringLiteral("⇧"), QStringLiteral("Shift+"));
    return result;
}

QString keyboardShortcutsText() { return forThisDesktop(QString::fromUtf16(kShortcuts)); }
QString aboutOstrelText(const QString& version) {
    return QStringLiteral("Version %1\n\n"
                          "Interleaves, splits, joins and checks Broadcast WAV recordings, and guards what recorders "
                          "write into them.\n\n"
                          "MIT licensed. Made with:\n"
                          "Qt %2 (LGPL 3) · QCoro (MIT) · ICU (Unicode License)\n"
                          "libsndfile (LGPL 2.1) · libsoxr (LGPL 2.1) · SDL 2 (zlib)\n"
                          "Eigen (MPL 2) · OpenSSL (Apache 2) · xxHash (BSD 2-Clause)\n"
                          "JSON for Modern C++ (MIT)\n\n"
                          "ffmpeg and ffprobe are programs of their own, which Ostrel starts.")
        .arg(version, QString::fromLatin1(qVersion()));
}
QString aboutInterleaverText() { return QString::fromUtf16(kInterleaver); }
QString aboutPolyToolsText() { return QString::fromUtf16(kPolyTools); }
QString aboutStereoValidatorText() { return QString::fromUtf16(kStereoValidator); }

QString missingFFmpegText() {
    const QString command = installCommand(QStringLiteral("ffmpeg"));
    return QStringLiteral("⚠️ ffmpeg not found\n\n") +
           (command.isEmpty() ? QStringLiteral("Install ffmpeg with this system's package manager.")
                              : QStringLiteral("Install it in a terminal:\n") + command);
}
QString missingBwfmetaeditText() { return QString::fromUtf16(kNoBwfmetaedit); }

} // namespace ostrel
