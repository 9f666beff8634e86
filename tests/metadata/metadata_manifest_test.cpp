#include "metadata/metadata_manifest.h"

#include "metadata/take_manifest.h"
#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "support/fake_bwfmetaedit.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

using testing::TestFolder;

MetadataManifest fullManifest() {
    MetadataManifest manifest;
    manifest.sourceFile = {u"/rec/A.B.WAV"_s, u"A.B.WAV"_s, u"sha256:00ff"_s, 5'000'000'000, u"2026-03-14T09:26:53Z"_s};
    manifest.audioProperties = {48000, 24, 8, 12.5, u"7.1"_s, 0xFFFFFFFFu};
    BEXTMetadata bext;
    bext.description = u"sSCENE=101A\nsNOTE=\"quoted\", näive"_s;
    bext.originator = u"Recorder"_s;
    bext.originatorReference = u"REF"_s;
    bext.originationDate = u"2026-03-14"_s;
    bext.originationTime = u"09:26:53"_s;
    bext.timeReference = 18'446'744'073'709'551'615u;
    bext.timecode = u"12:39:59.000"_s;
    bext.version = 2;
    bext.umid = u"060A"_s;
    bext.loudnessValue = -23.01;
    bext.loudnessRange = 4.5;
    bext.maxTruePeakLevel = -1.0;
    bext.maxMomentaryLoudness = -18.25;
    bext.maxShortTermLoudness = -20.5;
    bext.scene = u"101A"_s;
    bext.take = u"3"_s;
    bext.tape = u"18Y12M31"_s;
    bext.speed = u"023.976-ND"_s;
    bext.note = u"wind"_s;
    bext.soundDevicesTracks = {{1, u"Boom"_s}, {2, u"Lav"_s}};
    manifest.bext = bext;
    manifest.ixml = IXMLMetadata{u"BMH"_s,
                                 u"101A"_s,
                                 u"3"_s,
                                 u"T1"_s,
                                 u"n"_s,
                                 IXMLSpeed{u"24000/1001"_s, 48000, u"up"_s},
                                 {{1, u"Boom"_s, u"M"_s, 0}, {5, u"Lav"_s, QString(), 1}}};
    manifest.customChunks = {{u"SMED"_s, u"AAECAw=="_s}};
    manifest.rawXml = RawXml{u"FileName,\n"_s, u"<BWFXML/>"_s};
    return manifest;
}

QJsonObject parsed(const QByteArray& json) { return QJsonDocument::fromJson(json).object(); }

QByteArray without(const QByteArray& json, const QStringList& path) {
    QJsonObject root = parsed(json);
    if (path.size() == 1) {
        root.remove(path[0]);
    } else {
        QJsonObject inner = root[path[0]].toObject();
        inner.remove(path[1]);
        root[path[0]] = inner;
    }
    return QJsonDocument(root).toJson();
}

TEST(MetadataManifest, ComesBackFromItsJson) {
    EXPECT_EQ(MetadataManifest::fromJson(fullManifest().toJson()), fullManifest());
}

TEST(MetadataManifest, HasExactlyTheKeysOfTheFormat) {
    const QJsonObject json = parsed(fullManifest().toJson());
    EXPECT_EQ(json.keys(), (QStringList{u"audioProperties"_s, u"bext"_s, u"customChunks"_s, u"ixml"_s, u"rawXml"_s,
                                        u"sourceFile"_s, u"version"_s}));
    EXPECT_EQ(json[u"version"_s].toString(), u"1.0"_s);
    EXPECT_EQ(json[u"sourceFile"_s].toObject().keys(),
              (QStringList{u"extractionDate"_s, u"fileHash"_s, u"fileName"_s, u"fileSize"_s, u"path"_s}));
    EXPECT_EQ(json[u"audioProperties"_s].toObject().keys(),
              (QStringList{u"bitDepth"_s, u"channelCount"_s, u"channelLayout"_s, u"channelMask"_s, u"duration"_s,
                           u"sampleRate"_s}));
    EXPECT_EQ(json[u"bext"_s].toObject().keys(), (QStringList{u"description"_s,
                                                              u"loudnessRange"_s,
                                                              u"loudnessValue"_s,
                                                              u"maxMomentaryLoudness"_s,
                                                              u"maxShortTermLoudness"_s,
                                                              u"maxTruePeakLevel"_s,
                                                              u"note"_s,
                                                              u"originationDate"_s,
                                                              u"originationTime"_s,
                                                              u"originator"_s,
                                                              u"originatorReference"_s,
                                                              u"scene"_s,
                                                              u"soundDevicesTracks"_s,
                                                              u"speed"_s,
                                                              u"take"_s,
                                                              u"tape"_s,
                                                              u"timeReference"_s,
                                                              u"timecode"_s,
                                                              u"umid"_s,
                                                              u"version"_s}));
    const QJsonObject ixml = json[u"ixml"_s].toObject();
    EXPECT_EQ(ixml.keys(),
              (QStringList{u"note"_s, u"project"_s, u"scene"_s, u"speed"_s, u"take"_s, u"tape"_s, u"trackList"_s}));
    EXPECT_EQ(ixml[u"speed"_s].toObject().keys(), (QStringList{u"pullUp"_s, u"sampleRate"_s, u"timecodeRate"_s}));
    EXPECT_EQ(ixml[u"trackList"_s].toArray()[0].toObject().keys(),
              (QStringList{u"channelIndex"_s, u"function"_s, u"interleaveIndex"_s, u"name"_s}));
    EXPECT_EQ(ixml[u"trackList"_s].toArray()[1].toObject().keys(),
              (QStringList{u"channelIndex"_s, u"interleaveIndex"_s, u"name"_s}));
}

TEST(MetadataManifest, KeepsUnsignedTimeReferencesExact) {
    EXPECT_TRUE(fullManifest().toJson().contains("\"timeReference\": 18446744073709551615"));
}

TEST(MetadataManifest, IsPrettyPrintedWithSortedKeys) {
    const QByteArray json = fullManifest().toJson();
    EXPECT_TRUE(json.startsWith("{\n  \"audioProperties\": {\n    \"bitDepth\": 24,")) << json.toStdString();
}

TEST(MetadataManifest, WithoutBextDecodesAndLeavesTheKeyOut) {
    const auto manifest = MetadataManifest::fromJson(without(fullManifest().toJson(), {u"bext"_s}));
    ASSERT_TRUE(manifest);
    EXPECT_FALSE(manifest->bext);
    EXPECT_FALSE(parsed(manifest->toJson()).contains(u"bext"_s));
}

TEST(MetadataManifest, WithoutATrackListInItsIxmlDoesNotDecodeAtAll) {
    MetadataManifest manifest = fullManifest();
    manifest.bext.reset();
    EXPECT_FALSE(MetadataManifest::fromJson(without(manifest.toJson(), {u"ixml"_s, u"trackList"_s})));
    EXPECT_TRUE(MetadataManifest::fromJson(without(manifest.toJson(), {u"ixml"_s, u"project"_s})));
}

TEST(MetadataManifest, EveryRequiredKeyIsRequired) {
    MetadataManifest manifest = fullManifest();
    manifest.bext->timeReference = 5; // QJsonDocument takes greater ones for reals
    const QByteArray json = manifest.toJson();
    const QList<QStringList> required{{u"version"_s},
                                      {u"sourceFile"_s},
                                      {u"audioProperties"_s},
                                      {u"sourceFile"_s, u"path"_s},
                                      {u"sourceFile"_s, u"fileName"_s},
                                      {u"sourceFile"_s, u"extractionDate"_s},
                                      {u"audioProperties"_s, u"sampleRate"_s},
                                      {u"audioProperties"_s, u"bitDepth"_s},
                                      {u"audioProperties"_s, u"channelCount"_s}};
    for (const QStringList& path : required) {
        EXPECT_FALSE(MetadataManifest::fromJson(without(json, path))) << path.join(u'.').toStdString();
    }
    for (const QStringList& path :
         QList<QStringList>{{u"ixml"_s}, {u"rawXml"_s}, {u"customChunks"_s}, {u"sourceFile"_s, u"fileHash"_s}}) {
        EXPECT_TRUE(MetadataManifest::fromJson(without(json, path))) << path.join(u'.').toStdString();
    }
}

TEST(MetadataManifest, OfAnotherShapeDoesNotDecode) {
    for (const char* json : {"", "null", "[]", "{}", "\"text\"", "{\"version\": 1}",
                             "{\"version\": \"1.0\", \"sourceFile\": []}", "\xff\xfe", "{\"version\": \"1.0\""}) {
        EXPECT_FALSE(MetadataManifest::fromJson(json)) << json;
    }
    QByteArray json = fullManifest().toJson();
    EXPECT_FALSE(MetadataManifest::fromJson(QByteArray(json).replace("\"bitDepth\": 24", "\"bitDepth\": 24.5")));
    EXPECT_FALSE(MetadataManifest::fromJson(QByteArray(json).replace("\"bitDepth\": 24", "\"bitDepth\": 99999999999")));
    EXPECT_FALSE(MetadataManifest::fromJson(QByteArray(json).replace("\"bitDepth\": 24", "\"bitDepth\": \"24\"")));
    EXPECT_FALSE(
        MetadataManifest::fromJson(QByteArray(json).replace("\"channelMask\": 4294967295", "\"channelMask\": -1")));
}

TEST(MetadataManifest, NullCountsAsNoValueInOptionalFieldsOnly) {
    const QByteArray json = fullManifest().toJson();
    EXPECT_TRUE(
        MetadataManifest::fromJson(QByteArray(json).replace("\"originator\": \"Recorder\"", "\"originator\": null")));
    EXPECT_FALSE(MetadataManifest::fromJson(QByteArray(json).replace("\"bitDepth\": 24", "\"bitDepth\": null")));
}

TEST(MetadataManifest, AFileThatCannotBeDecodedCountsAsAbsent) {
    const TestFolder folder;
    EXPECT_FALSE(readManifestFile(folder.path(u"missing.json"_s)));
    EXPECT_FALSE(readManifestFile(folder.write(u"bad.json"_s, "{")));
    EXPECT_FALSE(readManifestFile(folder.path()));
    EXPECT_EQ(readManifestFile(folder.write(u"good.json"_s, fullManifest().toJson())), fullManifest());
}

TEST(MetadataManifest, FileNamesKeepTheStemAndLowerTheExtension) {
    EXPECT_EQ(manifestFilename(u"/rec/A.B.WAV"_s), u"A.B.wav.metadata.json"_s);
    EXPECT_EQ(manifestFilename(u"/rec/Take 1.wav"_s), u"Take 1.wav.metadata.json"_s);
}

TEST(MetadataManifest, ReadersLookForASidecarInUpperCase) {
    EXPECT_EQ(sidecarManifestPath(u"/rec/take1.wav"_s), u"/rec/take1.WAV.metadata.json"_s);
    EXPECT_EQ(sidecarManifestPath(u"/rec/A.B.WAV"_s), u"/rec/A.B.WAV.metadata.json"_s);
}

TEST(MetadataManifest, LongNamesOfEqualBeginningsFitAndStayApart) {
    const QString beginning = u"/rec/"_s + QString(80, u'録'); // 240 bytes
    for (const auto& nameOf :
         {manifestFilename, +[](const QString& url) { return paths::lastComponent(sidecarManifestPath(url)); }}) {
        const QString one = nameOf(beginning + u"1.wav"_s);
        EXPECT_LE(one.toUtf8().size(), 255);
        EXPECT_TRUE(one.endsWith(u".metadata.json"_s));
        EXPECT_NE(one, nameOf(beginning + u"2.wav"_s));
    }
    // Beside a name goes what an atomic write puts behind it.
    const TestFolder folder;
    files::writeAtomically(folder.path(manifestFilename(beginning + u"1.wav"_s)), "x");
    EXPECT_TRUE(QFile::exists(folder.path(manifestFilename(beginning + u"1.wav"_s))));
    const QString longest(248 - 18, u'x'); // the longest stem that stands whole
    EXPECT_EQ(manifestFilename(longest + u".wav"_s), longest + u".wav.metadata.json"_s);
    files::writeAtomically(folder.path(manifestFilename(longest + u".wav"_s)), "x");
}

TEST(MetadataManifest, CachesLieBesideEachOther) {
    EXPECT_EQ(manifestCacheFolder(), cacheFolder() + u"/manifests"_s);
    EXPECT_EQ(takeManifestCacheFolder(), cacheFolder() + u"/manifests_v2"_s);
}

TEST(TakeManifest, KeyNamesProjectSceneAndTake) {
    EXPECT_EQ((SceneTakeInfo{u"BMH"_s, u"101A"_s, u"3"_s, QString()}.manifestKey()), u"BMH_101A_T3"_s);
}

TEST(TakeManifest, KeyWithoutAProjectHasNoLeadingUnderscore) {
    EXPECT_EQ((SceneTakeInfo{u""_s, u"101A"_s, u"3"_s, QString()}.manifestKey()), u"101A_T3"_s);
}

TEST(TakeManifest, HoldsEveryKeyWithItsDefault) {
    const TakeManifest manifest{
        {QString(), u"101A"_s, u"3"_s, QString()}, {u"Boom"_s, u"Lav"_s}, std::nullopt, std::nullopt, {}};
    const QJsonObject json = parsed(manifest.toJson(u"2026-03-14T09:26:53Z"_s));
    EXPECT_EQ(json, (QJsonObject{{u"scene"_s, u"101A"_s},
                                 {u"take"_s, u"3"_s},
                                 {u"project"_s, QString(u""_s)},
                                 {u"tape"_s, QString(u""_s)},
                                 {u"track_names"_s, QJsonArray{u"Boom"_s, u"Lav"_s}},
                                 {u"track_order"_s, QJsonArray{0, 1}},
                                 {u"timecode_samples"_s, 0},
                                 {u"timecode_rate"_s, QString(u""_s)},
                                 {u"timecode_flag"_s, QString(u""_s)},
                                 {u"sample_rate"_s, 48000},
                                 {u"metadata"_s, QJsonObject()},
                                 {u"created_at"_s, u"2026-03-14T09:26:53Z"_s}}));
}

TEST(TakeManifest, HoldsWhatItWasGiven) {
    const TakeManifest manifest{{u"P"_s, u"S"_s, u"T"_s, u"R1"_s},
                                {u"A"_s},
                                std::vector<int>{7},
                                TimecodeInfo{2190940753, 96000, u"24000/1001"_s, u"NDF"_s},
                                {{u"circled"_s, u"yes"_s}}};
    const QJsonObject json = parsed(manifest.toJson(u"now"_s));
    EXPECT_EQ(json[u"project"_s], u"P"_s);
    EXPECT_EQ(json[u"tape"_s], u"R1"_s);
    EXPECT_EQ(json[u"track_order"_s], QJsonArray{7});
    EXPECT_EQ(json[u"timecode_samples"_s].toInteger(), 2190940753);
    EXPECT_EQ(json[u"timecode_rate"_s], u"24000/1001"_s);
    EXPECT_EQ(json[u"timecode_flag"_s], u"NDF"_s);
    EXPECT_EQ(json[u"sample_rate"_s], 96000);
    EXPECT_EQ(json[u"metadata"_s], (QJsonObject{{u"circled"_s, u"yes"_s}}));
}

} // namespace
} // namespace ostrel
