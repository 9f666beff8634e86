// The fields of an iXML document (BWFXML), as XML events bring them.
#pragma once

#include "metadata/metadata_manifest.h"

#include <QString>
#include <optional>

namespace ostrel {

// Nothing for what is not well-formed, and for a document without project, scene, take, tape, note and tracks.
std::optional<IXMLMetadata> parseIxmlXml(const QString& xml);

// Takes the events. Nesting is not looked at: "NAME" counts in any element, and of two "SCENE"s the later one wins.
// That is meant for these flat documents.
class IXMLParserDelegate {
public:
    void elementStart(const QString& name);
    void characters(QStringView text) { currentText_ += text; }
    void elementEnd(const QString& name);

    const IXMLMetadata& metadata() const { return metadata_; }

private:
    struct TrackBuilder {
        std::optional<int> channelIndex;
        QString name;
        QString function;
    };

    bool endField(const QString& element, const QString& text);
    bool endSpeedElement(const QString& element, const QString& text);
    void endTrackElement(const QString& element, const QString& text);
    TrackBuilder& track();
    void finishTrack();

    IXMLMetadata metadata_;
    QString currentText_;
    std::optional<TrackBuilder> currentTrack_;
    std::optional<IXMLSpeed> currentSpeed_;
    std::optional<int> currentInterleaveIndex_; // zero-based
    int interleaveIndexCounter_ = 0;
};

} // namespace ostrel
