#include "metadata/universal_metadata_engine.h"

#include "foundation/domain_error.h"
#include "metadata/ixml_surgery.h"
#include "platform/files/files.h"
#include "platform/processes/child_process.h"
#include "support/fake_bwfmetaedit.h"
#include "support/wave_file.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

using testing::chunkOf;
using testing::chunksOf;
using testing::FakeBwfmetaedit;
using testing::fingerprintOf;
using testing::PrivateFolders;
using testing::readAll;
using testing::TestFolder;
using testing::waveBytes;
using testing::WaveSpec;

QString trackXml(int channel, int interleave, const QString& name) {
    return QStringLiteral(
               "<TRACK><CHANNEL_INDEX>%1</CHANNEL_INDEX><INTERLEAVE_INDEX>%2</INTERLEAVE_INDEX><NAME>%3</NAME></TRACK>")
        .arg(QString::number(channel), QString::number(interleave), name);
}

QString takeXml(const QString& tracks) {
    return QStringLiteral("<BWFXML><IXML_VERSION>1.5</IXML_VERSION><PROJECT>P</PROJECT><SCENE>1A</SCENE><TAKE>2</"
                          "TAKE><TAPE>R</TAPE>"
                          "<FILE_UID>OLD</FILE_UID><FAMILY_UID>FAM</FAMILY_UID>"
                          "<SPEED><TIMECODE_RATE>25/1</TIMECODE_RATE><TIMECODE_FLAG>NDF</TIMECODE_FLAG>"
                          "<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>48000</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO></SPEED>"
                          "<TRACK_LIST>%1</TRACK_LIST></BWFXML>")
        .arg(tracks);
}

class UniversalMetadataEngineTest : public ::testing::Test {
protected:
    QString wave(const QString& name, const WaveSpec& spec = {}) { return folder_.write(name, waveBytes(spec)); }

    TestFolder folder_;
    PrivateFolders folders_{folder_};
    FakeBwfmetaedit tool_{folder_};
    UniversalMetadataEngine engine_{tool_.path()};
};

TEST_F(UniversalMetadataEngineTest, ExtractsChunksFieldsAndTake) {
    WaveSpec spec;
    spec.before = {{"SMED", "abc"}, {"bext", "left"}};
    spec.after = {{"iXML", "<X/>"}};
    const QString source = wave(u"a.wav"_s, spec);
    FakeBwfmetaedit::setIxml(source, takeXml(QString()));
    const MetadataPreservationResult result = engine_.extractMetadata(source, true);
    EXPECT_TRUE(result.success);
    ASSERT_EQ(result.riffChunks.size(), 2u);
    EXPECT_EQ(result.riffChunks[0].id, "SMED");
    EXPECT_TRUE(result.hasBWF);
    EXPECT_TRUE(result.hasiXML);
    EXPECT_TRUE(result.hasTimecode);
    EXPECT_EQ(result.sceneInfo, (SceneTakeInfo{u"P"_s, u"1A"_s, u"2"_s, u"R"_s}));
    EXPECT_EQ(result.timecode, (TimecodeInfo{48000, 48000, u"25/1"_s, u"NDF"_s}));
    EXPECT_EQ(result.logMessages,
              (QStringList{u"📦 Extracted 2 RIFF chunks"_s, u"   • SMED (3 bytes)"_s, u"   • iXML (4 bytes)"_s,
                           u"✅ BWF metadata extracted"_s, u"✅ iXML metadata extracted: 1A T2"_s,
                           u"✅ Timecode present: 25/1 @ NDF"_s}));
    EXPECT_EQ(tool_.calls(), (QStringList{u"--out-core=-|"_s + source, u"--out-iXML=-|"_s + source}));
}

TEST_F(UniversalMetadataEngineTest, ChunksAreLeftAloneWhenNotEnabled) {
    WaveSpec spec;
    spec.before = {{"SMED", "abc"}};
    const auto result = engine_.extractMetadata(wave(u"a.wav"_s, spec), false);
    EXPECT_TRUE(result.riffChunks.empty());
    EXPECT_EQ(result.logMessages, QStringList{u"✅ BWF metadata extracted"_s});
}

TEST_F(UniversalMetadataEngineTest, AFileWithoutIxmlHasNoSceneAndAddsNoIxmlLine) {
    const QString source = wave(u"a.wav"_s);
    const auto result = engine_.extractMetadata(source, true);
    EXPECT_FALSE(result.hasiXML);
    EXPECT_FALSE(result.hasTimecode);
    EXPECT_FALSE(result.sceneInfo);
    EXPECT_TRUE(engine_.applyMetadata({wave(u"out.wav"_s)}, source, result, false, false, true).isEmpty());
}

TEST_F(UniversalMetadataEngineTest, AMissingTimecodeFlagIsCalledUnknown) {
    const QString source = wave(u"a.wav"_s);
    FakeBwfmetaedit::setIxml(
        source,
        u"<TIMECODE_RATE>24</TIMECODE_RATE><TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>1</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>"_s);
    EXPECT_EQ(engine_.extractMetadata(source, false).logMessages.last(), u"✅ Timecode present: 24 @ unknown"_s);
}

TEST_F(UniversalMetadataEngineTest, ExtractionNeverFails) {
    const UniversalMetadataEngine engine(u"/nowhere/bwfmetaedit"_s);
    const auto result = engine.extractMetadata(folder_.write(u"a.wav"_s, "no RIFF file at all"), true);
    EXPECT_TRUE(result.success);
    EXPECT_FALSE(result.hasBWF);
    EXPECT_EQ(result.logMessages,
              (QStringList{u"⚠️  RIFF chunk extraction failed: Invalid RIFF file: Not a RIFF file"_s,
                           u"⚠️  BWF extraction failed: No such file or directory"_s,
                           u"⚠️  iXML extraction failed: No such file or directory"_s}));
}

TEST_F(UniversalMetadataEngineTest, IxmlThatIsNotUtf8IsAWarning) {
    const QString source = wave(u"a.wav"_s);
    folder_.write(u"a.wav.ixml"_s, "<SCENE>\xE9</SCENE><TAKE>1</TAKE>");
    EXPECT_EQ(engine_.extractMetadata(source, false).logMessages.last(),
              u"⚠️  iXML extraction failed: The iXML of a.wav is not UTF-8"_s);
    EXPECT_FALSE(engine_.extractTrackIndicesFromiXML(source));
}

// What came of it so far must not pass for all that the file holds.
TEST_F(UniversalMetadataEngineTest, AToolThatPrintsWithoutEndIsAWarningAndGivesNothing) {
    const QString source = wave(u"a.wav"_s);
    const UniversalMetadataEngine engine(folder_.writeScript(u"endless"_s, u"exec yes '<BWFXML><SCENE>1'"_s));
    const MetadataPreservationResult result = engine.extractMetadata(source, false);
    EXPECT_FALSE(result.hasBWF);
    EXPECT_FALSE(result.hasiXML);
    const QString why = u"bwfmetaedit was ended because it printed more than 64 MiB"_s;
    EXPECT_EQ(result.logMessages,
              (QStringList{u"⚠️  BWF extraction failed: "_s + why,
                           u"⚠️  iXML extraction failed: The iXML of a.wav was not read: "_s + why}));
    EXPECT_THROW(engine.extractiXMLString(source), DomainError);
}

TEST_F(UniversalMetadataEngineTest, AppliesChunksAndFieldsToEveryTarget) {
    WaveSpec spec;
    spec.after = {{"SMED", "abc"}};
    const QString source = wave(u"source.wav"_s, spec);
    FakeBwfmetaedit::setIxml(source, takeXml(QString()));
    FakeBwfmetaedit::setCoreXml(source, u"<Core><Description>d</Description><CodingHistory>h</CodingHistory></Core>"_s);
    const QString before = fingerprintOf(source);
    const QStringList targets{wave(u"1.wav"_s), wave(u"2.wav"_s)};
    const auto captured = engine_.extractMetadata(source, true);
    const QStringList log = engine_.applyMetadata(targets, source, captured, true, true, true);
    EXPECT_EQ(log, (QStringList{u"✅ RIFF chunks injected: 1.wav"_s, u"✅ BWF metadata copied: 1.wav"_s,
                                u"ℹ️  iXML preservation delegated to ffmpeg -map_metadata 0"_s,
                                u"✅ RIFF chunks injected: 2.wav"_s, u"✅ BWF metadata copied: 2.wav"_s,
                                u"ℹ️  iXML preservation delegated to ffmpeg -map_metadata 0"_s}));
    for (const QString& target : targets) {
        EXPECT_EQ(chunkOf(readAll(target), "SMED"), "abc");
        EXPECT_TRUE(tool_.calls().contains(u"--Description=d|"_s + target));
    }
    EXPECT_EQ(fingerprintOf(source), before);
}

TEST_F(UniversalMetadataEngineTest, EverySwitchTurnsItsPartOff) {
    WaveSpec spec;
    spec.before = {{"SMED", "abc"}};
    const QString source = wave(u"source.wav"_s, spec);
    FakeBwfmetaedit::setIxml(source, takeXml(QString()));
    const QString target = wave(u"out.wav"_s);
    const QByteArray before = readAll(target);
    const auto captured = engine_.extractMetadata(source, true);
    EXPECT_TRUE(engine_.applyMetadata({target}, source, captured, false, false, false).isEmpty());
    EXPECT_EQ(readAll(target), before);
}

TEST_F(UniversalMetadataEngineTest, AFailedInjectionAndAFailedCopyAreLinesAndTheNextTargetGoesOn) {
    WaveSpec spec;
    spec.before = {{"SMED", "abc"}};
    const QString source = wave(u"source.wav"_s, spec);
    const QString bad = folder_.write(u"broken.wav"_s, "nothing with samples");
    const QString good = wave(u"good.wav"_s);
    const auto captured = engine_.extractMetadata(source, true);
    EXPECT_EQ(
        engine_.applyMetadata({bad, good}, source, captured, true, true, false),
        (QStringList{
            u"⚠️  RIFF chunk injection failed for broken.wav: Invalid RIFF file: Cannot find data chunk in output"_s,
            u"⚠️  BWF copy failed for broken.wav: no WAV header\n"_s, u"✅ RIFF chunks injected: good.wav"_s,
            u"✅ BWF metadata copied: good.wav"_s}));
}

TEST_F(UniversalMetadataEngineTest, NormalizesForASingleTrack) {
    const QString source = wave(u"poly.wav"_s);
    const QString output = wave(u"iso.wav"_s);
    FakeBwfmetaedit::setIxml(source, takeXml(trackXml(1, 1, u"a"_s) + trackXml(2, 2, u"b"_s)));
    engine_.normalizeiXMLForSingleTrack(source, output, {1, 6, u"Lav"_s});
    const QString written = FakeBwfmetaedit::ixml(output);
    const QString uid = extractValue(written, u"FILE_UID");
    EXPECT_TRUE(QRegularExpression(u"^USSDVKA[0-9A-F]{16}$"_s).match(uid).hasMatch()) << uid.toStdString();
    EXPECT_EQ(written,
              performUniversalXMLSurgery(FakeBwfmetaedit::ixml(source), singleTrackList({1, 6, u"Lav"_s}), uid));
    EXPECT_EQ(extractValue(written, u"PARENT_UID"), u"OLD"_s);
    EXPECT_EQ(extractValue(written, u"FAMILY_UID"), u"FAM"_s);
    ASSERT_EQ(tool_.calls().size(), 2);
    EXPECT_EQ(tool_.calls()[0], u"--out-iXML=-|"_s + source);
    EXPECT_TRUE(tool_.calls()[1].startsWith(u"--in-iXML="_s + folders_.temporary() + u'/'));
    EXPECT_TRUE(tool_.calls()[1].endsWith(u"/normalized_ixml.xml|"_s + output));
    EXPECT_TRUE(folders_.leftInTemporary().isEmpty());
}

TEST_F(UniversalMetadataEngineTest, ASourceWithoutIxmlGivesAnEmptyDocumentWhichTheToolTakesForNone) {
    const QString output = wave(u"iso.wav"_s);
    engine_.normalizeiXMLForSingleTrack(wave(u"poly.wav"_s), output, {1, 1, u"Lav"_s});
    EXPECT_EQ(FakeBwfmetaedit::ixml(output), QString());
}

QString domainError(const std::function<void()>& action) {
    try {
        action();
    } catch (const DomainError& error) {
        return QStringLiteral("%1 %2 %3").arg(error.domain, QString::number(error.code), error.errorDescription());
    }
    return u"no error"_s;
}

TEST_F(UniversalMetadataEngineTest, AFailedWriteIsThrownAndNothingIsLeftBehind) {
    const QString source = wave(u"poly.wav"_s);
    FakeBwfmetaedit::setIxml(source, takeXml(trackXml(1, 1, u"a"_s)));
    const QString broken = wave(u"broken.wav"_s);
    EXPECT_EQ(domainError([&] {
                  engine_.normalizeiXMLForSingleTrack(source, broken, {1, 1, u"x"_s});
              }),
              u"UniversalMetadataEngine 1 Failed to normalize iXML"_s);
    EXPECT_EQ(domainError([&] { engine_.rebuildMultiTrackiXML({source}, broken); }),
              u"UniversalMetadataEngine 1 Failed to rebuild multi-track iXML"_s);
    EXPECT_THROW(
        UniversalMetadataEngine(u"/nowhere/tool"_s).normalizeiXMLForSingleTrack(source, broken, {1, 1, u"x"_s}),
        ProcessLaunchError);
    EXPECT_TRUE(folders_.leftInTemporary().isEmpty());
}

TEST_F(UniversalMetadataEngineTest, RebuildSortsByInterleaveIndexAndKeepsChannelIndices) {
    QStringList isos;
    for (const auto& [interleave, channel] : {std::pair(3, 30), std::pair(1, 10), std::pair(7, 70)}) {
        isos << wave(QStringLiteral("iso%1.wav").arg(interleave));
        FakeBwfmetaedit::setIxml(isos.last(),
                                 takeXml(trackXml(channel, interleave, QStringLiteral("T%1").arg(interleave))));
    }
    const QString poly = wave(u"poly.wav"_s);
    EXPECT_TRUE(engine_.rebuildMultiTrackiXML(isos, poly).isEmpty());
    const QString written = FakeBwfmetaedit::ixml(poly);
    EXPECT_TRUE(written.contains(multiTrackList({{1, 10, u"T1"_s}, {2, 30, u"T3"_s}, {3, 70, u"T7"_s}})))
        << written.toStdString();
    EXPECT_EQ(extractValue(written, u"PARENT_UID"), u"OLD"_s);
    EXPECT_TRUE(tool_.calls().last().endsWith(u"/multi_track_ixml.xml|"_s + poly));
    EXPECT_TRUE(folders_.leftInTemporary().isEmpty());
}

TEST_F(UniversalMetadataEngineTest, ISOsOfOneInterleaveIndexKeepTheirOrder) {
    QStringList isos;
    for (const QString& name : {u"c"_s, u"a"_s, u"b"_s}) {
        isos << wave(name + u".wav"_s);
        FakeBwfmetaedit::setIxml(isos.last(), takeXml(trackXml(isos.size(), 1, name)));
    }
    const QString poly = wave(u"poly.wav"_s);
    engine_.rebuildMultiTrackiXML(isos, poly);
    EXPECT_TRUE(FakeBwfmetaedit::ixml(poly).contains(multiTrackList({{1, 1, u"c"_s}, {1, 2, u"a"_s}, {1, 3, u"b"_s}})));
}

TEST_F(UniversalMetadataEngineTest, AnISOWithoutIndicesIsListedByItsPlaceAndTold) {
    const QStringList isos{wave(u"1.wav"_s), wave(u"2.wav"_s), wave(u"3.wav"_s)};
    FakeBwfmetaedit::setIxml(isos[0], takeXml(trackXml(1, 1, u"a"_s)));
    FakeBwfmetaedit::setIxml(isos[1], takeXml(u"<TRACK><NAME>no indices</NAME></TRACK>"_s));
    FakeBwfmetaedit::setIxml(isos[2], takeXml(trackXml(3, 3, u"c"_s)));
    const QString poly = wave(u"poly.wav"_s);
    EXPECT_EQ(engine_.rebuildMultiTrackiXML(isos, poly), QStringList{isos[1]});
    EXPECT_TRUE(FakeBwfmetaedit::ixml(poly).contains(
        multiTrackList({{1, 1, u"a"_s}, {2, 2, u"no indices"_s}, {3, 3, u"c"_s}})));
}

TEST_F(UniversalMetadataEngineTest, ISOsWithoutAnyIndicesAreListedAsTheyCome) {
    const QStringList isos{wave(u"1.wav"_s), wave(u"2.wav"_s)};
    for (const QString& iso : isos) FakeBwfmetaedit::setIxml(iso, takeXml(QString()));
    const QString poly = wave(u"poly.wav"_s);
    EXPECT_EQ(engine_.rebuildMultiTrackiXML(isos, poly), isos);
    EXPECT_TRUE(FakeBwfmetaedit::ixml(poly).contains(multiTrackList({{1, 1, u"CH1"_s}, {2, 2, u"CH2"_s}})));
}

TEST_F(UniversalMetadataEngineTest, AnISOWithoutIndicesStaysBehindTheOneAheadOfIt) {
    const QStringList isos{wave(u"1.wav"_s), wave(u"2.wav"_s), wave(u"3.wav"_s)};
    FakeBwfmetaedit::setIxml(isos[0], takeXml(trackXml(3, 3, u"a"_s)));
    FakeBwfmetaedit::setIxml(isos[2], takeXml(trackXml(9, 9, u"c"_s)));
    const QString poly = wave(u"poly.wav"_s);
    engine_.rebuildMultiTrackiXML(isos, poly);
    EXPECT_TRUE(
        FakeBwfmetaedit::ixml(poly).contains(multiTrackList({{1, 3, u"a"_s}, {2, 2, u"CH2"_s}, {3, 9, u"c"_s}})));
}

TEST_F(UniversalMetadataEngineTest, RebuildingFromNothingIsRefused) {
    EXPECT_EQ(domainError([&] { engine_.rebuildMultiTrackiXML({}, wave(u"poly.wav"_s)); }),
              u"UniversalMetadataEngine 1 No ISO files to rebuild the iXML from"_s);
}

TEST_F(UniversalMetadataEngineTest, SavesTheTakeManifestUnderItsKey) {
    engine_.saveManifest({u"P"_s, u"1A"_s, u"2"_s, QString()}, {u"Boom"_s}, std::vector<int>{1}, std::nullopt, {});
    const QString path = folders_.caches() + u"/Ostrel/manifests_v2/P_1A_T2.json"_s;
    const QJsonObject json = QJsonDocument::fromJson(readAll(path)).object();
    EXPECT_EQ(json[u"scene"_s], u"1A"_s);
    EXPECT_TRUE(QRegularExpression(u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$"_s)
                    .match(json[u"created_at"_s].toString())
                    .hasMatch());
}

TEST_F(UniversalMetadataEngineTest, ASceneCannotLeadTheTakeManifestOutOfItsFolder) {
    engine_.saveManifest({QString(), u"../../../x"_s, u"1/2"_s, QString()}, {}, std::nullopt, std::nullopt, {});
    EXPECT_TRUE(QFile::exists(folders_.caches() + u"/Ostrel/manifests_v2/..-..-..-x_T1-2.json"_s));
}

TEST_F(UniversalMetadataEngineTest, ATakeManifestThatCannotBeWrittenIsThrown) {
    QDir().mkpath(folders_.caches() + u"/Ostrel/manifests_v2/x_T1.json"_s); // a folder where the file would be
    EXPECT_THROW(engine_.saveManifest({QString(), u"x"_s, u"1"_s, QString()}, {}, std::nullopt, std::nullopt, {}),
                 FileError);
}

TEST_F(UniversalMetadataEngineTest, TakesOfAVeryLongSceneHaveManifestsOfTheirOwn) {
    for (const QString& take : {u"1"_s, u"2"_s}) {
        engine_.saveManifest({QString(), QString(300, u'録'), take, QString()}, {}, std::nullopt, std::nullopt, {});
    }
    const QStringList names = QDir(folders_.caches() + u"/Ostrel/manifests_v2"_s).entryList(QDir::Files);
    ASSERT_EQ(names.size(), 2) << names.join(u' ').toStdString();
    for (const QString& name : names) EXPECT_TRUE(name.startsWith(u"録録録"_s) && name.endsWith(u".json"_s));
}

TEST_F(UniversalMetadataEngineTest, ItsSessionFolderGoesWithIt) {
    const QString caches = folders_.caches() + u"/Ostrel"_s;
    {
        const UniversalMetadataEngine other(tool_.path());
        EXPECT_EQ(QDir(caches).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 3);
    }
    EXPECT_EQ(QDir(caches).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 2);
}

TEST_F(UniversalMetadataEngineTest, NoOperationTouchesASource) {
    WaveSpec spec;
    spec.before = {{"SMED", "abc"}};
    const QString source = wave(u"sources/poly.wav"_s, spec);
    FakeBwfmetaedit::setIxml(source, takeXml(trackXml(1, 1, u"a"_s)));
    FakeBwfmetaedit::setCoreXml(source, u"<Description>d</Description>"_s);
    const QStringList before = testing::fingerprint(folder_.path(u"sources"_s));
    const QString output = wave(u"out.wav"_s);
    const auto captured = engine_.extractMetadata(source, true);
    engine_.applyMetadata({output}, source, captured, true, true, true);
    engine_.normalizeiXMLForSingleTrack(source, output, {1, 1, u"b"_s});
    engine_.rebuildMultiTrackiXML({source}, output);
    EXPECT_TRUE(engine_.extractTrackIndicesFromiXML(source));
    EXPECT_EQ(testing::fingerprint(folder_.path(u"sources"_s)), before);
    for (const QString& call : tool_.callsWith(source)) EXPECT_TRUE(call.startsWith(u"--out-"_s)) << call.toStdString();
}

} // namespace
} // namespace ostrel
