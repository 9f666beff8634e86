// One multichannel file, as Poly Tools handle it, and the choices that a split knows.
#pragma once

#include <QString>
#include <QUuid>
#include <array>

namespace ostrel {

struct PolyFile {
    QUuid id = QUuid::createUuid();
    QString url;
    QString fileName;
    int channelCount = 0;
    QString channelLayout; // as ffprobe names it; empty if it doesn't
    int sampleRate = 0;    // Hz
    int bitDepth = 0;
    QString codecName;    // empty if unknown
    double duration = 0;  // seconds
    quint64 fileSize = 0; // bytes

    bool operator==(const PolyFile&) const = default;
};

// What the file name of an ISO tells behind the poly's own name.
enum class SplitNamingPattern { channelNumber, channelLetter, trackName, takeNumber };
inline constexpr std::array kAllSplitNamingPatterns{SplitNamingPattern::channelNumber,
                                                    SplitNamingPattern::channelLetter, SplitNamingPattern::trackName,
                                                    SplitNamingPattern::takeNumber};
QString rawText(SplitNamingPattern pattern);

// Where a batch puts the ISOs of one poly.
enum class FolderOrganization { flat, bySceneTake, byScene };
inline constexpr std::array kAllFolderOrganizations{FolderOrganization::flat, FolderOrganization::bySceneTake,
                                                    FolderOrganization::byScene};
QString rawText(FolderOrganization organization);

// A name that says something: neither empty nor the dash that stands for "no name" in lists.
bool isUsableTrackName(const QString& name);
inline QString noTrackName() { return QStringLiteral("—"); }

} // namespace ostrel
