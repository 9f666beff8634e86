#include "preview/preview_commands.h"

#include "platform/files/file_name.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

// Blanks and points of the key become "_". A key too long for a file name loses its end: what tells two previews apart
// is the folder that they stand in.
QString fileName(const QString& key, const QString& suffix) {
    QString cleaned = key;
    cleaned.replace(u' ', u'_').replace(u'.', u'_');
    return fittedFileName(cleaned, suffix);
}

QStringList withOutputFormat(QStringList arguments) {
    return arguments << QStringLiteral("-c:a") << QStringLiteral("pcm_s16le");
}

QStringList fromOneInput(const QString& input, const QString& filter) {
    return withOutputFormat({QStringLiteral("-y"), QStringLiteral("-i"), input, QStringLiteral("-af"), filter});
}

QStringList fromInputs(const QStringList& inputs, const QString& graph) {
    QStringList result{QStringLiteral("-y")};
    for (const QString& input : inputs) result << QStringLiteral("-i") << input;
    return withOutputFormat(result << QStringLiteral("-filter_complex") << graph << QStringLiteral("-map")
                                   << QStringLiteral("[a]"));
}

bool is51(const QString& id) { return id == QLatin1String("5.1-smpte") || id == QLatin1String("5.1-film"); }
bool is71(const QString& id) { return id == QLatin1String("7.1-smpte") || id == QLatin1String("7.1-film"); }

struct Speaker {
    const char16_t* name;
    const char16_t* tag;
};

// The back channels of pan's "5.1" are BL and BR, not SL and SR.
const std::vector<Speaker> kSpeakers51{{u"FL", u"L"},    {u"FR", u"R"},  {u"FC", u"C"},
                                       {u"LFE", u"LFE"}, {u"BL", u"Ls"}, {u"BR", u"Rs"}};
const std::vector<Speaker> kSpeakers71{{u"FL", u"L"},   {u"FR", u"R"},   {u"FC", u"C"},   {u"LFE", u"LFE"},
                                       {u"BL", u"Lsr"}, {u"BR", u"Rsr"}, {u"SL", u"Lss"}, {u"SR", u"Rss"}};

const std::vector<Speaker>& speakersOf(const ChannelLayout& layout) {
    static const std::vector<Speaker> none;
    return is51(layout.id) ? kSpeakers51 : is71(layout.id) ? kSpeakers71 : none;
}

QString inputLabels(qsizetype count) {
    QString result;
    for (qsizetype input = 0; input < count; ++input) result += QStringLiteral("[%1:a]").arg(input);
    return result;
}

QStringList tagsWithFiles(const QMap<QString, QString>& channelFiles, const ChannelLayout& layout) {
    QStringList result;
    for (const QString& tag : layout.channelTags) {
        if (channelFiles.contains(tag)) result << tag;
    }
    return result;
}

} // namespace

PreviewRecipe stereoPreview(const QString& left, const QString& right) {
    const QString key = QStringLiteral("%1_%2").arg(paths::lastComponent(left), paths::lastComponent(right));
    return {QStringLiteral("stereo preview"),
            fileName(key, QStringLiteral("_stereo.wav")),
            {left, right},
            fromInputs({left, right}, QStringLiteral("[0:a][1:a]join=inputs=2:channel_layout=stereo[a]"))};
}

PreviewRecipe surroundPreview(const QString& groupName, const QMap<QString, QString>& channelFiles,
                              const ChannelLayout& layout) {
    const QStringList tags = tagsWithFiles(channelFiles, layout);
    QStringList inputs;
    for (const QString& tag : tags) inputs << channelFiles.value(tag);
    return {QStringLiteral("surround preview"),
            fileName(QStringLiteral("%1_%2_v2").arg(groupName, layout.id), QStringLiteral("_surround.wav")), inputs,
            fromInputs(inputs, surroundGraph(tags, layout))};
}

bool usesSimpleJoin(const QStringList& tags, const ChannelLayout& layout) {
    const std::vector<Speaker>& speakers = speakersOf(layout);
    return speakers.empty() || std::any_of(speakers.begin(), speakers.end(), [&tags](const Speaker& speaker) {
               return !tags.contains(QString::fromUtf16(speaker.tag));
           });
}

QString surroundGraph(const QStringList& tags, const ChannelLayout& layout) {
    const QString labels = inputLabels(tags.size());
    if (usesSimpleJoin(tags, layout)) {
        return QStringLiteral("%1join=inputs=%2:channel_layout=stereo[a]").arg(labels).arg(tags.size());
    }
    QString graph = QStringLiteral("%1amerge=inputs=%2[merged];[merged]pan=%3")
                        .arg(labels)
                        .arg(tags.size())
                        .arg(is51(layout.id) ? QStringLiteral("5.1") : QStringLiteral("7.1"));
    for (const Speaker& speaker : speakersOf(layout)) {
        graph += QStringLiteral("|%1=c%2")
                     .arg(QString::fromUtf16(speaker.name))
                     .arg(tags.indexOf(QString::fromUtf16(speaker.tag)));
    }
    return graph + QStringLiteral("[a]");
}

PreviewRecipe channelPreview(const QString& file, const QString& channel) {
    const QString speaker = channel == QLatin1String("left")    ? QStringLiteral("FL")
                            : channel == QLatin1String("right") ? QStringLiteral("FR")
                                                                : QStringLiteral("FC");
    return {QStringLiteral("%1 channel preview").arg(channel),
            fileName(QStringLiteral("%1_%2").arg(paths::stem(file), channel), QStringLiteral(".wav")),
            {file},
            fromOneInput(file, QStringLiteral("pan=mono|c0=%1").arg(speaker))};
}

PreviewRecipe extractedChannel(const QString& file, const QString& tag, const ChannelLayout& layout) {
    const QString key = QStringLiteral("%1_%2_%3_v1").arg(paths::stem(file), tag, layout.id);
    return {QStringLiteral("channel extraction"),
            fileName(key, QStringLiteral("_channel.wav")),
            {file},
            fromOneInput(file, QStringLiteral("pan=mono|c0=%1").arg(ffmpegChannelNameForTag(tag)))};
}

PreviewRecipe speakerRouted(const QString& baseName, const QString& file, const QString& tag,
                            const ChannelLayout& layout, int sourceChannelIndex) {
    const QString key = QStringLiteral("%1_%2_%3_speakerRouted_v2").arg(baseName, tag, layout.id);
    return {QStringLiteral("speaker-routed preview"),
            fileName(key, QStringLiteral("_qc.wav")),
            {file},
            fromOneInput(file, buildSpeakerRoutedPanFilter(tag, layout, sourceChannelIndex))};
}

QString buildSpeakerRoutedPanFilter(const QString& tag, const ChannelLayout& layout, int sourceChannelIndex) {
    const QString own = ffmpegChannelNameForTag(tag);
    QString filter = QStringLiteral("pan=%1").arg(ffmpegLayoutName(layout.id));
    for (const QString& name : ffmpegChannelOrder(layout.id)) {
        const QString factor = name == own ? QString() : QStringLiteral("0*");
        filter += QStringLiteral("|%1=%2c%3").arg(name, factor).arg(sourceChannelIndex);
    }
    return filter;
}

QString ffmpegLayoutName(const QString& layoutId) {
    if (layoutId == QLatin1String("stereo")) return QStringLiteral("stereo");
    return is71(layoutId) ? QStringLiteral("7.1") : QStringLiteral("5.1(side)");
}

QStringList ffmpegChannelOrder(const QString& layoutId) {
    if (layoutId == QLatin1String("stereo")) return QStringLiteral("FL FR").split(u' ');
    const QString order =
        is71(layoutId) ? QStringLiteral("FL FR FC LFE BL BR SL SR") : QStringLiteral("FL FR FC LFE SL SR");
    return order.split(u' ');
}

QString ffmpegChannelNameForTag(const QString& tag) {
    static const QMap<QString, QString> names{
        {QStringLiteral("L"), QStringLiteral("FL")},   {QStringLiteral("R"), QStringLiteral("FR")},
        {QStringLiteral("C"), QStringLiteral("FC")},   {QStringLiteral("LFE"), QStringLiteral("LFE")},
        {QStringLiteral("Ls"), QStringLiteral("SL")},  {QStringLiteral("Rs"), QStringLiteral("SR")},
        {QStringLiteral("Lss"), QStringLiteral("SL")}, {QStringLiteral("Rss"), QStringLiteral("SR")},
        {QStringLiteral("Lsr"), QStringLiteral("BL")}, {QStringLiteral("Rsr"), QStringLiteral("BR")}};
    return names.value(tag, tag);
}

} // namespace ostrel
