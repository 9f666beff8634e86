#include "metadata/bext_description.h"

#include "metadata/bext/description_lines.h"
#include "metadata/ixml/ixml_text.h"
#include "metadata/ixml_fitting.h"
#include "platform/text/text.h"

#include <algorithm>
#include <optional>

namespace ostrel {
namespace {

struct Line : DescriptionLine {
    explicit Line(DescriptionLine line) : DescriptionLine(std::move(line)), channel(track()) {}

    int channel; // that the key names; 0: none
    bool isOurs = false;
};

// Recorders write ASCII, and some Latin-1 or UTF-8 beyond it: the new text takes the way of the old one.
class Encoding {
public:
    explicit Encoding(const QByteArray& text) : isUtf8_(decodeUtf8(text).has_value()) {}
    QByteArray encode(const QString& text) const { return isUtf8_ ? text.toUtf8() : text.toLatin1(); }

private:
    bool isUtf8_;
};

// What a track is called whose document tells no name: less than what the line may say.
bool isMadeUp(const QString& name) {
    bool isNumber = false;
    if (name.startsWith(QStringLiteral("CH"))) name.mid(2).toInt(&isNumber);
    return isNumber;
}

void setValue(Line& line, const QByteArray& value) {
    // A last line that the field has cut goes on saying what it can.
    const bool isCut = line.end.isEmpty() && !line.value.isEmpty() && value.startsWith(line.value);
    if (line.value == value || isCut) return;
    line.value = value;
    line.isOurs = true;
}

// Lines of channels that the file has not got go; the others tell their names; channels without a line get one behind
// the last of them, in the same manner.
void fitChannels(std::vector<Line>& lines, const std::vector<NamedChannel>& channels, const Encoding& encoding) {
    const auto isTrack = [](const Line& line) { return line.channel > 0; };
    const auto found = std::ranges::find_if(lines, isTrack);
    if (channels.empty() || found == lines.end()) return;
    const Line model = *found;
    auto place = found - lines.begin(); // of the next new line
    std::erase_if(lines, [&](const Line& line) {
        return isTrack(line) && std::ranges::find(channels, line.channel, &NamedChannel::number) == channels.end();
    });
    for (auto line = lines.begin(); line != lines.end(); ++line) {
        if (isTrack(*line)) place = line - lines.begin() + 1;
    }
    for (const NamedChannel& channel : channels) {
        const QByteArray value = encoding.encode(channel.name);
        const auto line = std::ranges::find(lines, channel.number, &Line::channel);
        if (value.isEmpty()) continue;
        if (line != lines.end()) {
            if (line->value.isEmpty() || !isMadeUp(channel.name)) setValue(*line, value);
            continue;
        }
        Line added = model;
        added.key = "TRK" + QByteArray::number(channel.number);
        added.value = value;
        added.channel = channel.number;
        added.end = model.end.isEmpty() ? QByteArray("\r\n") : model.end;
        added.isOurs = true;
        if (place > 0 && lines[static_cast<std::size_t>(place) - 1].end.isEmpty()) {
            lines[static_cast<std::size_t>(place) - 1].end = added.end;
        }
        lines.insert(lines.begin() + place++, added);
    }
}

QByteArray joined(const std::vector<Line>& lines) {
    QByteArray text;
    for (const Line& line : lines) text += line.bytes();
    return text;
}

// Without the last of our lines until the text fits.
QByteArray joinedWithin(std::vector<Line> lines, qsizetype most) {
    while (true) {
        const QByteArray text = joined(lines);
        const auto last = std::find_if(lines.rbegin(), lines.rend(), [](const Line& line) { return line.isOurs; });
        if (text.size() <= most || last == lines.rend()) return text;
        lines.erase(std::next(last).base());
    }
}

} // namespace

std::vector<NamedChannel> namedChannelsOf(const QByteArray& ixml) {
    const QString document = decodedIxml(ixml).value_or(QString());
    const auto count = static_cast<int>(allElementsAcrossLines(document, u"TRACK").size());
    std::vector<NamedChannel> channels;
    for (const TrackIndices& track : tracksOf(document, count)) {
        const int number = track.channelIndex > 0 ? track.channelIndex : track.interleaveIndex;
        channels.push_back({number, decodeXMLText(track.trackName)});
    }
    return channels;
}

QByteArray fittedDescription(const QByteArray& field, const std::vector<NamedChannel>& channels,
                             const QString& fileName) {
    const qsizetype end = field.indexOf('\0');
    const QByteArray text = end < 0 ? field : field.first(end);
    const Encoding encoding(text);
    std::vector<Line> lines;
    for (DescriptionLine& line : descriptionLinesOf(text)) lines.emplace_back(std::move(line));
    fitChannels(lines, channels, encoding);
    for (Line& line : lines) {
        if (line.key == "FILENAME" && !fileName.isEmpty()) setValue(line, encoding.encode(fileName));
    }
    const QByteArray fitted = joinedWithin(lines, field.size());
    return fitted == text ? field : fitted.leftJustified(field.size(), '\0');
}

} // namespace ostrel
