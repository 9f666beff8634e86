#include "interleaver/interleave_command.h"

#include "foundation/tools/ffmpeg_command.h"
#include "platform/text/text.h"

#include <map>

namespace ostrel {
namespace {

// The muxer's arguments around the codec; what is not listed is written as WAV, whatever the file is called.
QStringList interleaveOutputArguments(const QString& format, const QString& codec) {
    static const std::map<QString, QString> muxers{{QStringLiteral("flac"), QStringLiteral("flac")},
                                                   {QStringLiteral("mp3"), QStringLiteral("mp3")},
                                                   {QStringLiteral("m4a"), QStringLiteral("ipod")},
                                                   {QStringLiteral("aiff"), QStringLiteral("aiff")},
                                                   {QStringLiteral("ogg"), QStringLiteral("ogg")}};
    const auto muxer = muxers.find(format);
    const QString name = muxer == muxers.end() ? QStringLiteral("wav") : muxer->second;
    QStringList arguments{QStringLiteral("-f"), name, QStringLiteral("-c:a"), codec};
    if (name == QStringLiteral("aiff")) arguments.last().replace(QStringLiteral("le"), QStringLiteral("be"));
    if (format == QStringLiteral("mp3")) arguments << wordsOf("-q:a 2");
    if (name == QStringLiteral("wav")) arguments << wordsOf("-write_bext 1 -rf64 auto");
    return arguments;
}

QStringList deinterleaveOutputArguments(const QString& format) {
    if (format == QStringLiteral("flac")) return wordsOf("-f flac");
    if (format == QStringLiteral("mp3")) return wordsOf("-f mp3 -q:a 2");
    if (format == QStringLiteral("m4a")) return wordsOf("-f ipod");
    return wordsOf("-f wav -write_bext 1");
}

} // namespace

QStringList buildInterleaveCommand(const InterleaveGroup& group, const ChannelLayout& layout, const QString& format,
                                   const QString& outputURL) {
    QStringList arguments{QStringLiteral("-y")};
    QString graph;
    for (qsizetype i = 0; i < layout.channelTags.size(); ++i) {
        const QString file = group.channelFiles.value(layout.channelTags[i]);
        if (!file.isEmpty()) arguments << QStringLiteral("-i") << file;
        graph += QStringLiteral("[%1:a]").arg(i);
    }
    const QString count = QString::number(layout.channelTags.size());
    arguments << QStringLiteral("-filter_complex") << graph + QStringLiteral("amerge=inputs=") + count;
    arguments << QStringLiteral("-ac") << count;
    arguments << interleaveOutputArguments(format, codecForFormat(format, group.bitDepth));
    return arguments << outputURL;
}

FFmpegLayout ffmpegLayoutOf(const ChannelLayout& layout) {
    static const std::map<QString, FFmpegLayout> layouts{
        {QStringLiteral("stereo"), {QStringLiteral("stereo"), wordsOf("L R")}},
        {QStringLiteral("5.1-smpte"), {QStringLiteral("5.1"), wordsOf("L R C LFE Ls Rs")}},
        {QStringLiteral("5.1-film"), {QStringLiteral("5.1(side)"), wordsOf("L C R Ls Rs LFE")}},
        {QStringLiteral("7.1-smpte"), {QStringLiteral("7.1"), wordsOf("L R C LFE Lsr Rsr Lss Rss")}},
        {QStringLiteral("7.1-film"), {QStringLiteral("7.1(wide)"), wordsOf("L C R Lss Rss Lsr Rsr LFE")}}};
    const auto found = layouts.find(layout.id);
    return found == layouts.end() ? FFmpegLayout{QStringLiteral("stereo"), layout.channelTags} : found->second;
}

QStringList buildDeinterleaveCommand(const MultiChannelSource& source, const ProcessingOptions& options,
                                     const QString& format, const QMap<QString, QString>& outputs) {
    const FFmpegLayout layout = ffmpegLayoutOf(source.layout);
    QString graph = QStringLiteral("[0:a]channelsplit=channel_layout=") + layout.name;
    for (const QString& tag : layout.tags) graph += QStringLiteral("[%1]").arg(tag);

    QStringList arguments;
    if (!options.skipIfExists || options.overwriteExisting) arguments << QStringLiteral("-y");
    arguments << QStringLiteral("-i") << source.sourceURL << QStringLiteral("-filter_complex") << graph;
    for (const QString& tag : layout.tags) {
        if (!outputs.contains(tag)) continue;
        arguments << QStringLiteral("-map") << QStringLiteral("[%1]").arg(tag) << QStringLiteral("-c:a")
                  << codecForFormat(format, source.bitDepth) << wordsOf("-ac 1") << deinterleaveOutputArguments(format)
                  << wordsOf("-map_metadata 0") << outputs.value(tag);
    }
    return arguments;
}

QStringList unselectedChannelSinks(const MultiChannelSource& source, const QMap<QString, QString>& outputs) {
    QStringList arguments;
    for (const QString& tag : ffmpegLayoutOf(source.layout).tags) {
        if (!outputs.contains(tag))
            arguments << QStringLiteral("-map") << QStringLiteral("[%1]").arg(tag) << wordsOf("-f null -");
    }
    return arguments;
}

} // namespace ostrel
