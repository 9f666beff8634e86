// What the Interleaver's tests share: sets of mono files with known samples, and fake tools.
#pragma once

#include "foundation/records/interleave_group.h"
#include "foundation/tools/external_tool_detector.h"
#include "interleaver/app_view_model.h"
#include "platform/files/new_file.h"
#include "platform/paths.h"
#include "support/scripted_desktop.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QStandardPaths>
#include <gtest/gtest.h>

namespace ostrel::testing {

inline QString tool(const char* name) { return installedTool(QString::fromLatin1(name)); }

// One mono file a tag, "{folder}/{base}.{tag}.wav", channel i carrying noise i; the first one with the spec's chunks.
inline InterleaveGroup writeSet(const TestFolder& folder, const ChannelLayout& layout, WaveSpec spec,
                                const QString& base = QStringLiteral("Take")) {
    InterleaveGroup group;
    group.baseName = base;
    group.bitDepth = spec.bitDepth;
    group.containerKind = ContainerKind::riffWave;
    for (const QString& tag : layout.channelTags) {
        const QString path = folder.write(QStringLiteral("%1.%2.wav").arg(base, tag), waveBytes(spec));
        group.channelFiles.insert(tag, path);
        spec.before.clear();
        spec.after.clear();
        ++spec.firstSignal;
    }
    return group;
}

// The samples that a file made of such a set has to hold.
inline Samples expectedSamples(WaveSpec spec, int channels) {
    spec.channels = channels;
    return scaledTo32(samplesOf(spec), spec.bitDepth);
}

// A copy of ffmpeg that goes on with `afterwards` when it has done its work. There "$out" is the last file that it
// wrote.
inline QString ffmpegAnd(const TestFolder& folder, const QString& afterwards,
                         const QString& relative = QStringLiteral("tools/bin/ffmpeg")) {
    return folder.writeScript(
        relative, QStringLiteral("%1 \"$@\" || exit\nfor out; do :; done\n%2\nexit 0").arg(tool("ffmpeg"), afterwards));
}

// A bwfmetaedit that writes its arguments, one a line and an empty line behind each call, into "calls" beside it. It
// exports a CORE CSV that names its source; with a Description over two lines if "two-lines" stands beside it, whose
// second line differs from file to file with "second-lines"; fails on request by a file "fail-{option}".
inline QString fakeBwfmetaedit(const TestFolder& folder,
                               const QString& relative = QStringLiteral("tools/bin/bwfmetaedit")) {
    return folder.writeScript(relative, QStringLiteral(R"(
here=$(dirname "$0")
for a in "$@"; do printf '%s\n' "$a" >> "$here/calls"; done
printf '\n' >> "$here/calls"
for last in "$@"; do :; done
case "$1" in
  --reject-overwrite) [ ! -e "$here/fail-copy" ] || { echo "no copy" >&2; exit 1; } ;;
  --out-core=-) [ -e "$here/no-bext" ] && { printf 'FileName,A\n%s,,,,,,,\n' "$last"; exit 0; }
                printf 'FileName,A\n%s,Desc,Orig,Ref,,,,48000\n' "$last" ;;
  --out-core=*) [ ! -e "$here/fail-export" ] || { echo "no export" >&2; exit 1; }
                f=${1#--out-core=}
                if [ -e "$here/no-bext" ]; then printf 'FileName,Description,Originator,OriginatorReference\n%s,,,\n' "$last" > "$f"
                elif [ -e "$here/second-lines" ]; then printf 'FileName,Description,Originator,OriginatorReference\n"%s","two\n%s",Me,Ref1\n' "$last" "$last" > "$f"
                elif [ ! -e "$here/two-lines" ]; then printf 'FileName,Description,Originator,OriginatorReference\n%s,One line,Me,Ref1\n' "$last" > "$f"
                else printf 'FileName,Description,Originator,OriginatorReference\n"%s","two\nlines",Me,Ref1\n' "$last" > "$f"; fi ;;
  --out-core-xml=-) [ ! -e "$here/fail-export" ] || exit 1
                printf '<File name="%s"><Core><Description>two\nlines</Description><TimeReference>5000000000</TimeReference></Core></File>\n' "$last" ;;
  --in-core=*) cp "${1#--in-core=}" "$here/imported"; [ ! -e "$here/fail-import" ] || { echo "no import" >&2; exit 1; } ;;
esac
exit 0)"));
}

// The delivered tool of that name, where a test needs what is really written into a file.
inline QString deliveredBwfmetaedit() {
    return QDir::cleanPath(paths::parent(builtProgram(QStringLiteral("ostrel-cli"))) +
                           QStringLiteral("/../libexec/ostrel/bin/bwfmetaedit"));
}

inline QStringList callsOf(const QString& fakeTool) {
    const QString calls = QString(fakeTool).replace(QStringLiteral("bwfmetaedit"), QStringLiteral("calls"));
    return QFile::exists(calls) ? QString::fromUtf8(readAll(calls)).split(QStringLiteral("\n\n"), Qt::SkipEmptyParts)
                                : QStringList();
}

// What a tool is given to write on the way to `output`: a hidden file beside it with the same extension, gone by now.
inline void expectPrivateTwin(const QString& path, const QString& output) {
    EXPECT_EQ(paths::parent(path), paths::parent(output));
    EXPECT_TRUE(isPrivateName(paths::lastComponent(path))) << path.toStdString();
    EXPECT_EQ(paths::extension(path), paths::extension(output));
    EXPECT_FALSE(QFile::exists(path)) << path.toStdString();
}

// A detector over a resource folder of fakes; real tools are found on the PATH beside them.
inline std::unique_ptr<ExternalToolDetector> detectorFor(const QString& resourceFolder) {
    return std::make_unique<ExternalToolDetector>(resourceFolder);
}

inline bool waitForTasks(AppViewModel& controller) {
    return waitUntil([&] { return !controller.hasRunningTask(); }, 120'000);
}

inline QStringList messages(const AppViewModel& controller) {
    QStringList result;
    for (const ProcessingLogEntry& entry : controller.logEntries) {
        result << QStringLiteral("[%1] [%2] %3").arg(rawText(entry.level), rawText(entry.category), entry.message);
    }
    return result;
}

} // namespace ostrel::testing
