#include "delivery/facts/ixml_facts.h"

#include "metadata/ixml_fitting.h"

#include <QStringList>
#include <QXmlStreamReader>

namespace ostrel {
namespace {

std::optional<int> indexOf(const QString& text) {
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    return isNumber ? std::optional(value) : std::nullopt;
}

void putIntoTrack(IxmlTrackFacts& track, QStringView element, const QString& text) {
    if (element == u"CHANNEL_INDEX") track.channelIndex = indexOf(text);
    if (element == u"INTERLEAVE_INDEX") track.interleaveIndex = indexOf(text);
    if (element == u"NAME") track.name = text;
    if (element == u"FUNCTION") track.function = text;
}

class DocumentReader {
public:
    DocumentReader(const QString& document, IxmlFacts& facts) : xml_(document), facts_(facts) {}

    void read() {
        while (!xml_.atEnd()) {
            switch (xml_.readNext()) {
            case QXmlStreamReader::StartElement: start(xml_.name().toString()); break;
            case QXmlStreamReader::Characters: text_ += xml_.text(); break;
            case QXmlStreamReader::EndElement: end(); break;
            default: break;
            }
        }
        facts_.isWellFormed = !xml_.hasError();
    }

private:
    void start(const QString& name) {
        place_ << name;
        text_.clear();
        if (place() == QStringLiteral("TRACK_LIST/TRACK")) facts_.tracks.emplace_back();
    }

    void end() {
        const QString path = place();
        const QString text = text_.trimmed();
        if (path.startsWith(QStringLiteral("TRACK_LIST/TRACK/")) && !facts_.tracks.empty()) {
            putIntoTrack(facts_.tracks.back(), place_.last(), text);
        } else if (!path.isEmpty() && !facts_.fields.contains(path)) {
            facts_.fields.insert(path, text);
        }
        place_.removeLast();
        text_.clear();
    }

    // Below the root element, whatever its name.
    QString place() const { return place_.mid(1).join(u'/'); }

    QXmlStreamReader xml_;
    IxmlFacts& facts_;
    QStringList place_;
    QString text_;
};

std::optional<quint64> wordOf(const QString& text) {
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    if (!isNumber || value < -2'147'483'648LL || value > 4'294'967'295LL) return std::nullopt;
    return static_cast<quint64>(value) & 0xFFFFFFFFU;
}

} // namespace

std::optional<qint64> IxmlFacts::number(const char* path) const {
    bool isNumber = false;
    const qint64 value = field(path).toLongLong(&isNumber);
    return isNumber ? std::optional(value) : std::nullopt;
}

std::optional<quint64> IxmlFacts::timestamp() const {
    const auto both = [this](const char* highPath, const char* lowPath) -> std::optional<quint64> {
        const auto low = wordOf(field(lowPath));
        const QString told = field(highPath);
        const auto high = told.isEmpty() ? std::optional<quint64>(0) : wordOf(told);
        return low && high ? std::optional(*high << 32 | *low) : std::nullopt;
    };
    const auto ofSpeed = both("SPEED/TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI", "SPEED/TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO");
    return ofSpeed ? ofSpeed : both("BEXT/BWF_TIME_REFERENCE_HIGH", "BEXT/BWF_TIME_REFERENCE_LOW");
}

IxmlFacts ixmlFactsOf(const QByteArray& chunk) {
    IxmlFacts facts;
    const std::optional<QString> document = decodedIxml(chunk);
    if (!document) return facts;
    facts.isReadable = true;
    DocumentReader(*document, facts).read();
    return facts;
}

} // namespace ostrel
