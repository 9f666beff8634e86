#include "foundation/chunks/shown_recording.h"

#include "foundation/chunks/chunk_bytes.h"
#include "platform/diagnostics.h"
#include "platform/files/files.h"
#include "platform/files/own_folder.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>

namespace ostrel {
namespace {

constexpr qsizetype kTextEnd = 338;      // of a bext chunk's texts; numbers and identifiers follow
constexpr qsizetype kHistoryStart = 602; // of its coding history

bool isAsciiText(const QByteArray& text) {
    return std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) > 127; });
}

bool hasForeignText(const WaveChunks& chunks) {
    for (const auto& [kind, place] : chunks.all()) {
        const bool isBext = kind == "bext";
        if (!isBext && kind != "iXML" && kind != "LIST INFO") continue;
        const QByteArray bytes = chunks.bytes(place).value_or(QByteArray());
        if (!isAsciiText(isBext ? bytes.first(std::min(bytes.size(), kTextEnd)) + bytes.mid(kHistoryStart) : bytes)) {
            return true;
        }
    }
    return false;
}

bool mayBeRewritten(const WaveLayout& layout, const WaveChunks& chunks) {
    return layout.kind != WaveLayout::Kind::riff || !layout.endsAsDeclared() || hasForeignText(chunks);
}

void append(QByteArray& file, const QByteArray& id, const QByteArray& payload) {
    quint32 size = qToLittleEndian(static_cast<quint32>(payload.size()));
    file += id + QByteArray(reinterpret_cast<const char*>(&size), sizeof size) + payload;
    if (payload.size() & 1) file += '\0';
}

// ds64 goes: nothing in the copy is long.
QByteArray headOf(const WaveLayout& layout, const WaveChunks& chunks) {
    QByteArray body = "WAVE";
    for (const auto& [kind, place] : chunks.all()) {
        const QByteArray id = kind.first(4);
        if (id == "data" || id == "ds64") continue;
        if (const auto bytes = chunks.bytes(place)) append(body, id, *bytes);
    }
    append(body, "data", QByteArray(layout.format ? layout.format->blockAlign : 0, '\0'));
    QByteArray file;
    append(file, "RIFF", body);
    return file;
}

} // namespace

ShownRecording::ShownRecording(const QString& recording) : path_(recording) {
    const auto layout = readWaveLayout(QFile::encodeName(recording).toStdString());
    if (!layout) return;
    const WaveChunks chunks(recording);
    if (!mayBeRewritten(*layout, chunks)) return;
    try {
        folder_ = makeOwnTemporaryFolder(QStringLiteral("ostrel-shown-") + freshUuid());
        path_ = paths::append(folder_, paths::lastComponent(recording));
        files::writeAtomically(path_, headOf(*layout, chunks));
    } catch (const FileError& error) {
        path_ = paths::append(recording, QStringLiteral("head")); // no file, and never the recording itself
        printDiagnostic(QStringLiteral("⚠️ The head of a recording can't be copied: ") + error.description);
    }
}

ShownRecording::~ShownRecording() {
    if (isCopy()) files::removeFolderQuietly(folder_);
}

} // namespace ostrel
