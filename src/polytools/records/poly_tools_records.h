// The records that only the controller of Poly Tools and its views know.
#pragma once

#include <QString>
#include <QStringList>
#include <QUuid>
#include <array>
#include <vector>

namespace ostrel {

enum class PolyMode { split, join, editPoly };
inline constexpr std::array kAllPolyModes{PolyMode::split, PolyMode::join, PolyMode::editPoly};
QString rawText(PolyMode mode); // the tab's labels: "Split Poly → ISOs", ...

enum class ItemStatus { pending, processing, complete, skipped, error };
QString displayName(ItemStatus status);

// One channel of the poly that is to be split.
struct ChannelItem {
    QUuid id = QUuid::createUuid();
    int channelIndex = 0; // zero-based
    QString trackName;    // "—" without a name
    QString outputFileName;
    ItemStatus status = ItemStatus::pending;
    bool isSelected = true;
    QString metadata; // what became of it in the last split, for the report
    QString proof;    // what was proved of it there

    bool operator==(const ChannelItem&) const = default;
};

struct TrackInfo {
    QString name;
    int channelIndex = 0;
    int interleaveIndex = 0; // 1-based

    bool operator==(const TrackInfo&) const = default;
};

// One poly of a batch.
struct BatchPolyMetadata {
    QUuid id = QUuid::createUuid();
    QString url;
    QString baseName;
    int channelCount = 0;
    int sampleRate = 0;  // Hz
    double duration = 0; // seconds
    bool isPreviewReady = false;
    QStringList extractedChannelURLs;
    std::vector<TrackInfo> trackInfo;

    bool operator==(const BatchPolyMetadata&) const = default;
};

// How the ISOs of a join came into their order.
enum class IsoOrdering { none, metadata, manifest, autoOrder, selection };
QString rawText(IsoOrdering ordering);  // "metadata", "manifest", "auto-order", "selection"; empty for none
QString sentence(IsoOrdering ordering); // what the tab shows

} // namespace ostrel
