// The JSON record of everything known about one source WAV file: where it came from, its audio properties, its BEXT and
// iXML fields, and the raw text that bwfmetaedit gave for them. A later step reads it instead of running the tool
// again.
//
// Optional fields that hold no value are left out of the JSON; a missing or mistyped required key fails the decoding.
// BEXT fields: EBU Tech 3285. iXML elements: the iXML specification (BWFXML).
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <vector>

namespace ostrel {

struct SourceFileInfo {
    QString path;
    QString fileName;
    QString fileHash;               // "sha256:" and 64 hexadecimal digits; optional
    std::optional<qint64> fileSize; // bytes
    QString extractionDate;         // ISO 8601, UTC: "2026-03-14T09:26:53Z"

    bool operator==(const SourceFileInfo&) const = default;
};

struct AudioProperties {
    int sampleRate = 0; // Hz; the three required numbers are 0 until somebody probed the file
    int bitDepth = 0;
    int channelCount = 0;
    std::optional<double> duration; // seconds
    QString channelLayout;          // ffprobe's name; optional
    std::optional<quint32> channelMask;

    bool operator==(const AudioProperties&) const = default;
};

// A track name that a recorder wrote into the BEXT Description ("sTRK1=Boom").
struct SoundDevicesTrackMap {
    int channelNumber = 0;
    QString trackName;

    bool operator==(const SoundDevicesTrackMap&) const = default;
};

struct BEXTMetadata {
    QString description; // as it stands, recorder key lines included
    QString originator;
    QString originatorReference;
    QString originationDate;
    QString originationTime;
    std::optional<quint64> timeReference; // samples since midnight
    QString timecode;                     // bwfmetaedit's translation of TimeReference
    std::optional<int> version;
    QString umid;
    std::optional<double> loudnessValue; // LUFS, LU and dBTP as EBU Tech 3285 gives them
    std::optional<double> loudnessRange;
    std::optional<double> maxTruePeakLevel;
    std::optional<double> maxMomentaryLoudness;
    std::optional<double> maxShortTermLoudness;
    QString scene; // this and what follows: from the Description's key lines
    QString take;
    QString tape;
    QString speed;
    QString note;
    std::optional<std::vector<SoundDevicesTrackMap>> soundDevicesTracks; // by channel number

    bool operator==(const BEXTMetadata&) const = default;
};

struct IXMLSpeed {
    QString timecodeRate;
    std::optional<int> sampleRate; // Hz
    QString pullUp;

    bool operator==(const IXMLSpeed&) const = default;
};

struct IXMLTrack {
    int channelIndex = 0; // CHANNEL_INDEX, 1-based as written
    QString name;         // never empty
    QString function;
    int interleaveIndex = 0; // zero-based, unlike the file's INTERLEAVE_INDEX

    bool operator==(const IXMLTrack&) const = default;
};

struct IXMLMetadata {
    QString project;
    QString scene;
    QString take;
    QString tape;
    QString note;
    std::optional<IXMLSpeed> speed;
    std::vector<IXMLTrack> trackList;

    bool operator==(const IXMLMetadata&) const = default;
};

struct CustomChunk {
    QString id;
    QString rawDataBase64;

    bool operator==(const CustomChunk&) const = default;
};

struct RawXml {
    QString bext; // the CSV of the core export, in spite of the name
    QString ixml; // the iXML document

    bool operator==(const RawXml&) const = default;
};

struct MetadataManifest {
    QString version = QStringLiteral("1.0"); // not compared on loading
    SourceFileInfo sourceFile;
    AudioProperties audioProperties;
    std::optional<BEXTMetadata> bext;
    std::optional<IXMLMetadata> ixml;
    std::optional<std::vector<CustomChunk>> customChunks; // decoded if present, never made here
    std::optional<RawXml> rawXml;

    bool operator==(const MetadataManifest&) const = default;

    // Pretty-printed, keys sorted, UTF-8.
    QByteArray toJson() const;
    // Nothing for what is not a manifest.
    static std::optional<MetadataManifest> fromJson(const QByteArray& json);
};

// A manifest file; nothing if there is none, or one that can't be read or decoded.
std::optional<MetadataManifest> readManifestFile(const QString& path);

// "{stem}.{extension in lower case}.metadata.json": "A.B.WAV" -> "A.B.wav.metadata.json". A stem that is too long for
// that is cut and tells itself by a digest, here and below: two recordings never share a manifest for their beginnings.
QString manifestFilename(const QString& url);

// Where the readers of Poly Tools look beside a file: "{stem}.WAV.metadata.json", in this letter case only.
QString sidecarManifestPath(const QString& url);

// `{caches}/Ostrel/manifests`, not created here.
QString manifestCacheFolder();

} // namespace ostrel
