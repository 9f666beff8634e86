#include "polytools/preview/preview_files.h"

#include "foundation/domain_error.h"
#include "foundation/tools/ffmpeg_command.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "platform/text/text.h"
#include "polytools/records/merge_graph.h"
#include "polytools/services/engine_services.h"

#include <QFileInfo>

namespace ostrel {

QStringList buildExtractChannelCommand(const QString& polyURL, int channelIndex, const QString& output) {
    return {QStringLiteral("-y"),
            QStringLiteral("-i"),
            polyURL,
            QStringLiteral("-af"),
            QStringLiteral("pan=mono|c0=c%1").arg(channelIndex),
            QStringLiteral("-acodec"),
            QStringLiteral("pcm_s24le"),
            output};
}

QStringList buildPreviewPolyCommand(const QStringList& isoURLs, int bitDepth, const QString& output) {
    const QString count = QString::number(isoURLs.size());
    QStringList arguments{QStringLiteral("-y")};
    for (const QString& url : isoURLs) arguments << QStringLiteral("-i") << url;
    return arguments << QStringLiteral("-filter_complex")
                     << mergeGraph(std::vector<int>(static_cast<std::size_t>(isoURLs.size()), 1),
                                   anyNamesSpeakers(isoURLs))
                     << QStringLiteral("-map") << QStringLiteral("[aout]") << QStringLiteral("-ac") << count
                     << QStringLiteral("-c:a") << wavCodec(bitDepth) << QStringLiteral("-rf64")
                     << QStringLiteral("auto") << output;
}

void extractChannel(const QString& polyURL, int channelIndex, const QString& output, const QString& ffmpegPath) {
    const ProcessResult ffmpeg = ChildProcess::runSilently(
        ffmpegPath, buildExtractChannelCommand(polyURL, channelIndex, output), limitsByProgress({output}));
    if (ffmpeg.succeeded()) return;
    files::removeQuietly(output);
    throw DomainError(QStringLiteral("Preview"), ffmpeg.exitStatus, faultText(ffmpeg));
}

QString generateTempPreviewPoly(const QStringList& isoURLs, int bitDepth, const QString& folder,
                                const QString& ffmpegPath, const std::function<void(const QString&)>& tell) {
    if (isoURLs.size() < 2) {
        tell(QStringLiteral("⚠️ [TempPoly] Skipped: only %1 ISOs (need >= 2)").arg(isoURLs.size()));
        return {};
    }
    if (ffmpegPath.isEmpty()) {
        tell(QStringLiteral("⚠️ [TempPoly] Skipped: no ffmpegPath"));
        return {};
    }
    const QString output = paths::append(folder, QStringLiteral("preview_poly.wav"));
    try {
        const ProcessResult ffmpeg = ChildProcess::runSilently(
            ffmpegPath, buildPreviewPolyCommand(isoURLs, bitDepth, output), limitsByProgress({output}));
        if (!ffmpeg.succeeded()) {
            tell(QStringLiteral("[TempPoly] ❌ ffmpeg failed (exit %1)").arg(ffmpeg.exitStatus));
            return {};
        }
    } catch (const ProcessLaunchError& error) {
        tell(QStringLiteral("[TempPoly] ❌ ffmpeg launch error: ") + error.description);
        return {};
    }
    tell(QStringLiteral("✅ [TempPoly] Generated successfully: preview_poly.wav (%1 bytes)")
             .arg(QFileInfo(output).size()));
    return output;
}

QString PreviewFolder::makeFresh() {
    remove();
    const QString path = paths::append(makeOwnPreviewFolder(name_), freshUuid());
    files::createFolder(path);
    return path_ = path;
}

void PreviewFolder::remove() {
    if (path_.isEmpty()) return;
    removePreviewFolder(path_);
    path_.clear();
}

} // namespace ostrel
