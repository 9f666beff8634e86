#include "roads/road.h"

#include "support/test_folder.h"
#include "support/wave_file.h"
#include "wave/wave_layout.h"

#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

const QByteArray kDocument = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML><IXML_VERSION>1.5</IXML_VERSION>"
                             "<FILE_UID>ABC</FILE_UID><SCENE>7</SCENE><TRACK_LIST><TRACK_COUNT>3</TRACK_COUNT>"
                             "</TRACK_LIST></BWFXML>";

// One row of `chna`: track number, UID, format and pack names, a pad byte.
QByteArray chnaRow(int track, const QByteArray& uid) {
    return littleEndian16(static_cast<quint16>(track)) + uid.leftJustified(12, '0') + QByteArray(26, 'f');
}

class DirectRoadTest : public ::testing::Test {
protected:
    QString source(const QString& name, const WaveSpec& spec) { return folder.write(name, waveBytes(spec)); }
    QString output(const QString& name) { return folder.path(name); }
    static WaveLayout layoutOf(const QString& file) { return readWaveLayout(file.toStdString()).value(); }

    // The samples of each channel, read without the code under test.
    static Samples samplesIn(const QString& file) { return decodedByFfmpeg(file); }

    TestFolder folder;
};

TEST_F(DirectRoadTest, TakesAPolyApartInOnePass) {
    const WaveSpec spec{.channels = 3, .frames = 4801};
    const QString poly = source(u"poly.wav"_s, spec);
    std::vector<PlannedOutput> outputs;
    for (int i = 0; i < 3; ++i) outputs.push_back({output(u"%1.wav"_s.arg(i)), {{poly, i}}, {poly}});
    const DirectRoad road({poly}, 3);
    ASSERT_EQ(road.objection(), QString());
    EXPECT_TRUE(road.make(outputs).isEmpty());
    const Samples expected = scaledTo32(samplesOf(spec), 24);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(samplesIn(outputs[i].file), Samples{expected[i]}) << i;
        EXPECT_TRUE(layoutOf(outputs[i].file).endsAsDeclared());
    }
}

TEST_F(DirectRoadTest, PutsMonoFilesTogetherAndEndsWithTheShortest) {
    const WaveSpec left{.frames = 1000};
    const WaveSpec right{.frames = 900, .firstSignal = 1};
    const PlannedOutput planned{
        output(u"o.wav"_s), {{source(u"l.wav"_s, left), 0}, {source(u"r.wav"_s, right), 0}}, {folder.path(u"l.wav"_s)}};
    const DirectRoad road({folder.path(u"l.wav"_s), folder.path(u"r.wav"_s)}, 1);
    ASSERT_EQ(road.objection(), QString());
    road.make({planned});
    Samples expected = samplesOf(left);
    expected[0].resize(900);
    expected.push_back(samplesOf(right)[0]);
    EXPECT_EQ(samplesIn(planned.file), scaledTo32(expected, 24));
}

TEST_F(DirectRoadTest, ValidBitsAndWideContainersStay) {
    const QString poly = source(u"poly.wav"_s, {.channels = 2, .bitDepth = 24, .frames = 100, .sampleBytes = 4});
    const PlannedOutput planned{output(u"o.wav"_s), {{poly, 1}}, {poly}};
    DirectRoad({poly}, 2).make({planned});
    const WaveLayout was = layoutOf(poly);
    const WaveLayout is = layoutOf(planned.file);
    EXPECT_EQ(is.format->bits, was.format->bits);
    EXPECT_EQ(is.format->bytesPerSample(), 4);
    EXPECT_EQ(is.frames(), was.frames());
}

TEST_F(DirectRoadTest, ThreeChannelsNameNoSpeakersUnlessAskedTo) {
    const QString poly = source(u"poly.wav"_s, {.channels = 3, .frames = 10});
    PlannedOutput planned{output(u"o.wav"_s), {{poly, 2}, {poly, 0}, {poly, 1}}, {poly}};
    DirectRoad({poly}, 3).make({planned});
    EXPECT_TRUE(layoutOf(planned.file).format->isExtensible);
    EXPECT_EQ(layoutOf(planned.file).format->speakers, 0U);
    planned.head.speakers = 0x7;
    planned.file = output(u"p.wav"_s);
    DirectRoad({poly}, 3).make({planned});
    EXPECT_EQ(layoutOf(planned.file).format->speakers, 7U);
}

TEST_F(DirectRoadTest, EveryChunkThatStaysTrueGoesAlongFromWhereverItStands) {
    const BextSpec bext{.description = "sTRK1=Boom\r\nsNOTE=x",
                        .timeReference = 123456789,
                        .umid = QByteArray(64, 'u'),
                        .codingHistory = "A=PCM\r\n"};
    const QString poly =
        source(u"poly.wav"_s, {.channels = 2,
                               .frames = 10,
                               .before = {{"bext", bextPayload(bext)}, {"PEAK", "old"}, {"levl", "old"}},
                               .after = {{"cue ", "marks"}, {"iXML", kDocument}, {"LIST", "INFOx"}}});
    const PlannedOutput kept{output(u"k.wav"_s), {{poly, 0}, {poly, 1}}, {poly}};
    const PlannedOutput cleared{
        output(u"c.wav"_s), {{poly, 1}}, {.source = poly, .umid = SourceUmid::cleared, .tracks = {{1, 2, u"Lav"_s}}}};
    DirectRoad({poly}, 2).make({kept, cleared});
    const QByteArray whole = readAll(kept.file);
    EXPECT_EQ(chunkOf(whole, "bext"), bextPayload(bext));
    EXPECT_EQ(chunkOf(whole, "cue "), "marks");
    EXPECT_EQ(chunkOf(whole, "LIST"), "INFOx");
    EXPECT_EQ(chunkOf(whole, "iXML"), kDocument);
    EXPECT_TRUE(chunkOf(whole, "PEAK").isEmpty());
    EXPECT_TRUE(chunkOf(whole, "levl").isEmpty());
    const QByteArray part = readAll(cleared.file);
    BextSpec without = bext;
    without.umid.clear();
    without.description = "sTRK2=Lav\r\nsNOTE=x"; // of the track that the document lists
    EXPECT_EQ(chunkOf(part, "bext"), bextPayload(without));
    const QByteArray document = chunkOf(part, "iXML");
    EXPECT_TRUE(document.contains("<NAME>Lav</NAME>"));
    EXPECT_TRUE(document.contains("<CHANNEL_INDEX>2</CHANNEL_INDEX>"));
    EXPECT_TRUE(document.contains("<SCENE>7</SCENE>"));
    EXPECT_TRUE(document.contains("<PARENT_UID>ABC</PARENT_UID>"));
}

TEST_F(DirectRoadTest, AudioDefinitionsFollowTheirChannelsAndStayWithTheWholeSet) {
    const QByteArray rows = chnaRow(1, "ATU_1") + chnaRow(2, "ATU_2");
    const QByteArray chna = littleEndian16(2) + littleEndian16(2) + rows;
    const QString poly =
        source(u"poly.wav"_s, {.channels = 2, .frames = 10, .before = {{"chna", chna}, {"axml", "<a/>"}}});
    const PlannedOutput swapped{output(u"s.wav"_s), {{poly, 1}, {poly, 0}}, {poly}};
    const PlannedOutput part{output(u"p.wav"_s), {{poly, 1}}, {poly}};
    DirectRoad({poly}, 2).make({swapped, part});
    EXPECT_EQ(chunkOf(readAll(swapped.file), "chna"),
              littleEndian16(2) + littleEndian16(2) + chnaRow(2, "ATU_1") + chnaRow(1, "ATU_2"));
    EXPECT_EQ(chunkOf(readAll(swapped.file), "axml"), "<a/>");
    EXPECT_TRUE(chunkOf(readAll(part.file), "chna").isEmpty());
    EXPECT_TRUE(chunkOf(readAll(part.file), "axml").isEmpty());
}

TEST_F(DirectRoadTest, SaysWhyItCannotTakeAFile) {
    const QString wide = source(u"wide.wav"_s, {.bitDepth = 24, .frames = 10});
    const QString narrow = source(u"narrow.wav"_s, {.bitDepth = 16, .frames = 10});
    const QString text = folder.write(u"text.wav"_s, "no recording");
    EXPECT_EQ(DirectRoad({wide, narrow}, 1).objection(), u"narrow.wav differs from wide.wav in its sample format"_s);
    EXPECT_EQ(DirectRoad({text}, 1).objection(), u"text.wav is no WAV file"_s);
    EXPECT_EQ(DirectRoad({wide}, 2).objection(), u"wide.wav has 1 channel, not 2"_s);
    QByteArray lengthless = waveBytes({.frames = 10});
    lengthless.replace(0, 4, "RF64"); // and no ds64
    lengthless.replace(lengthless.indexOf("data") + 4, 4, littleEndian32(0xFFFFFFFF));
    EXPECT_EQ(DirectRoad({folder.write(u"long.wav"_s, lengthless + chunkBytes("LIST", "INFO"))}, 1).objection(),
              u"the header of long.wav does not say how long it is"_s);
    EXPECT_THROW(DirectRoad({wide}, 1).make({{output(u"o.wav"_s), {{wide, 1}}, {wide}}}), RoadError);
    EXPECT_THROW(DirectRoad({wide}, 1).make({{output(u"o.wav"_s), {{narrow, 0}}, {wide}}}), RoadError);
}

TEST_F(DirectRoadTest, ARoadSaysWhyItTakesFfmpegInstead) {
    const QString wide = source(u"wide.wav"_s, {.frames = 10});
    EXPECT_TRUE(Road(EngineChoice::direct, {wide}, 1, u"wav"_s).isDirect());
    const Road byChoice(EngineChoice::ffmpeg, {wide}, 1, u"wav"_s);
    EXPECT_FALSE(byChoice.isDirect());
    EXPECT_EQ(byChoice.detour(), QString());
    const Road byNeed(EngineChoice::direct, {wide}, 1, u"flac"_s);
    EXPECT_FALSE(byNeed.isDirect());
    EXPECT_TRUE(byNeed.detour().contains(u"flac"_s));
    bool hasRun = false;
    byNeed.make({}, [&] { hasRun = true; });
    EXPECT_TRUE(hasRun);
}

TEST_F(DirectRoadTest, AFileThatGrewSinceItsHeaderWasReadIsNotCopied) {
    const QString poly = source(u"poly.wav"_s, {.channels = 2, .frames = 10});
    const DirectRoad road({poly}, 2);
    QFile file(poly);
    ASSERT_TRUE(file.open(QIODevice::Append) && file.write("more") == 4);
    file.close();
    EXPECT_THROW(road.make({{output(u"o.wav"_s), {{poly, 0}}, {poly}}}), RoadError);
}

TEST_F(DirectRoadTest, AFileThatGoesAwayIsNamed) {
    const QString poly = source(u"poly.wav"_s, {.channels = 2, .frames = 10});
    const DirectRoad road({poly}, 2);
    ASSERT_TRUE(QFile::remove(poly));
    try {
        road.make({{output(u"o.wav"_s), {{poly, 0}}, {poly}}});
        FAIL() << "read a file that is not there";
    } catch (const RoadError& error) {
        EXPECT_TRUE(error.description.startsWith(u"poly.wav: "_s)) << error.description.toStdString();
    }
}

} // namespace
} // namespace ostrel::testing
