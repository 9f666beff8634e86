#include "metadata/ixml_parser.h"

#include <QXmlStreamReader>
#include <limits>

namespace ostrel {
namespace {

std::optional<int> integer(const QString& text) {
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

// The document without its declaration, which may claim an encoding that the text no longer has, or never had.
QString withoutDeclaration(const QString& xml) {
    const QString text = xml.startsWith(QChar(QChar::ByteOrderMark)) ? xml.sliced(1).trimmed() : xml.trimmed();
    const bool hasDeclaration = text.startsWith(u"<?xml") && text.size() > 5 && text[5].isSpace();
    const qsizetype end = hasDeclaration ? text.indexOf(u"?>") : -1;
    return end < 0 ? text : text.sliced(end + 2);
}

bool saysAnything(const IXMLMetadata& ixml) {
    return !ixml.project.isEmpty() || !ixml.scene.isEmpty() || !ixml.take.isEmpty() || !ixml.tape.isEmpty() ||
           !ixml.note.isEmpty() || !ixml.trackList.empty();
}

} // namespace

std::optional<IXMLMetadata> parseIxmlXml(const QString& xml) {
    IXMLParserDelegate delegate;
    QXmlStreamReader reader(withoutDeclaration(xml));
    reader.setNamespaceProcessing(false); // recorders use prefixes that they don't declare
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement: delegate.elementStart(reader.qualifiedName().toString()); break;
        case QXmlStreamReader::Characters: delegate.characters(reader.text()); break;
        case QXmlStreamReader::EndElement: delegate.elementEnd(reader.qualifiedName().toString()); break;
        default: break;
        }
    }
    if (reader.hasError() || !saysAnything(delegate.metadata())) return std::nullopt;
    return delegate.metadata();
}

void IXMLParserDelegate::elementStart(const QString& name) {
    const QString element = name.toUpper();
    currentText_.clear();
    if (element == u"TRACK") {
        currentTrack_.emplace();
        currentInterleaveIndex_.reset();
    } else if (element == u"SPEED") {
        currentSpeed_.emplace();
    }
}

void IXMLParserDelegate::elementEnd(const QString& name) {
    const QString element = name.toUpper();
    const QString text = currentText_.trimmed();
    currentText_.clear();
    if (!endField(element, text) && !endSpeedElement(element, text)) endTrackElement(element, text);
}

// An empty element clears what an earlier one set.
bool IXMLParserDelegate::endField(const QString& element, const QString& text) {
    QString* field = element == u"PROJECT" ? &metadata_.project
                     : element == u"SCENE" ? &metadata_.scene
                     : element == u"TAKE"  ? &metadata_.take
                     : element == u"TAPE"  ? &metadata_.tape
                     : element == u"NOTE"  ? &metadata_.note
                                           : nullptr;
    if (!field) return false;
    *field = text;
    return true;
}

bool IXMLParserDelegate::endSpeedElement(const QString& element, const QString& text) {
    if (!currentSpeed_) return false;
    if (element == u"TIMECODE_RATE") {
        currentSpeed_->timecodeRate = text;
    } else if (element == u"SAMPLE_RATE") {
        currentSpeed_->sampleRate = integer(text);
    } else if (element == u"PULL_UP") {
        currentSpeed_->pullUp = text;
    } else if (element == u"SPEED") {
        metadata_.speed = *std::exchange(currentSpeed_, std::nullopt);
    } else {
        return false;
    }
    return true;
}

void IXMLParserDelegate::endTrackElement(const QString& element, const QString& text) {
    if (element == u"CHANNEL_INDEX") {
        TrackBuilder& builder = track();
        if (const auto index = integer(text)) builder.channelIndex = index;
    } else if (element == u"NAME") {
        track().name = text;
    } else if (element == u"FUNCTION") {
        track().function = text;
    } else if (element == u"INTERLEAVE_INDEX") {
        if (const auto index = integer(text); index && *index >= 1) currentInterleaveIndex_ = *index - 1;
    } else if (element == u"TRACK") {
        finishTrack();
    }
}

IXMLParserDelegate::TrackBuilder& IXMLParserDelegate::track() {
    if (!currentTrack_) currentTrack_.emplace();
    return *currentTrack_;
}

void IXMLParserDelegate::finishTrack() {
    const TrackBuilder builder = track();
    IXMLTrack finished;
    finished.channelIndex = builder.channelIndex.value_or(static_cast<int>(metadata_.trackList.size()) + 1);
    finished.name = builder.name.isEmpty() ? QStringLiteral("Channel %1").arg(finished.channelIndex) : builder.name;
    finished.function = builder.function;
    finished.interleaveIndex = currentInterleaveIndex_.value_or(interleaveIndexCounter_);
    metadata_.trackList.push_back(finished);
    // Numbering goes on from an explicit index; 2^31 - 1 is the highest that there is.
    interleaveIndexCounter_ = std::min(finished.interleaveIndex, std::numeric_limits<int>::max() - 1) + 1;
    currentTrack_.reset();
    currentInterleaveIndex_.reset();
}

} // namespace ostrel
