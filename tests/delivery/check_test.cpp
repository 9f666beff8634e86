#include "delivery/delivery_check.h"
#include "delivery/rules/rule.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QFile>
#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace ostrel::testing {
namespace {

QByteArray ixmlOf(const QByteArray& inside) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML>" + inside + "</BWFXML>";
}

QByteArray track(int place, int input, const QByteArray& name) {
    return "<TRACK><CHANNEL_INDEX>" + QByteArray::number(input) + "</CHANNEL_INDEX><INTERLEAVE_INDEX>" +
           QByteArray::number(place) + "</INTERLEAVE_INDEX><NAME>" + name + "</NAME></TRACK>";
}

QByteArray tracks(const QByteArray& inside, int count) {
    return "<TRACK_LIST><TRACK_COUNT>" + QByteArray::number(count) + "</TRACK_COUNT>" + inside + "</TRACK_LIST>";
}

constexpr quint64 kStart = 48000ULL * 3600 * 10;

QByteArray speed(quint64 start, const QByteArray& rate = "25/1") {
    return "<SPEED><TIMECODE_RATE>" + rate +
           "</TIMECODE_RATE><TIMECODE_FLAG>NDF</TIMECODE_FLAG><FILE_SAMPLE_RATE>48000</FILE_SAMPLE_RATE>"
           "<AUDIO_BIT_DEPTH>24</AUDIO_BIT_DEPTH><TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>" +
           QByteArray::number(start >> 32) +
           "</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI><TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>" +
           QByteArray::number(start & 0xFFFFFFFF) + "</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO></SPEED>";
}

class Check : public ::testing::Test {
protected:
    // A file with nothing to find: what a test changes of it is what it looks for.
    struct Recording {
        BextSpec bext{.description = "sSCENE=12A\r\nsTAKE=03\r\nsTAPE=R1\r\nsTRK3=Boom\r\nsSPEED=025.000-ND\r\n",
                      .originator = "Recorder",
                      .timeReference = kStart,
                      .codingHistory = "A=PCM,F=48000,W=24,M=mono,T=Recorder\r\n"};
        QByteArray ixml = ixmlOf("<SCENE>12A</SCENE><TAKE>3</TAKE><TAPE>R1</TAPE><FILE_UID>U1</FILE_UID>" +
                                 speed(kStart) + tracks(track(1, 3, "Boom"), 1));
        WaveSpec wave{.frames = 480};
    };

    QString write(const char* name, const Recording& recording) {
        WaveSpec spec = recording.wave;
        spec.before.push_back({"bext", bextPayload(recording.bext)});
        if (!recording.ixml.isEmpty()) spec.before.push_back({"iXML", recording.ixml});
        return folder_.write(QString::fromUtf8(name), waveBytes(spec));
    }

    static std::multiset<std::string> idsOf(const std::vector<Finding>& findings) {
        std::multiset<std::string> ids;
        for (const Finding& each : findings) ids.insert(each.rule->id);
        return ids;
    }

    std::multiset<std::string> found(const Recording& recording, Reader reader = Reader::anybody) {
        DeliveryCheck check({.reader = reader});
        return idsOf(check.look(write("12A_03.wav", recording)));
    }

    using Ids = std::multiset<std::string>;
    TestFolder folder_;
};

TEST_F(Check, AFileAsItShouldBeHasNoFindings) {
    EXPECT_EQ(found({}), Ids());
    EXPECT_EQ(found({}, Reader::avid), Ids());
    EXPECT_EQ(found({}, Reader::proTools), Ids());
}

TEST_F(Check, DisagreementsOfIxmlAndDescriptionAreNamed) {
    Recording recording;
    recording.bext.description = "sSCENE=12B\r\nsTAKE=04\r\nsTAPE=R2\r\nsTRK3=Lav\r\nsSPEED=024.000-ND\r\n";
    recording.bext.timeReference = kStart + 1;
    EXPECT_EQ(found(recording), (Ids{"agree.scene", "agree.take", "agree.tape", "agree.track-name", "agree.start",
                                     "agree.timecode-rate"}));
}

TEST_F(Check, ATextThatTheDescriptionHadNoRoomForIsNoDisagreement) {
    Recording recording;
    recording.bext.description = "sSCENE=12\r\nsTRK3=Bo\r\n";
    EXPECT_EQ(found(recording), Ids());
}

TEST_F(Check, TrackListsAreCounted) {
    Recording recording;
    recording.wave.channels = 2;
    recording.bext.codingHistory = {};
    recording.bext.description = {};
    const QByteArray head = "<SCENE>12A</SCENE><TAKE>3</TAKE>" + speed(kStart);
    recording.ixml = ixmlOf(head + tracks(track(1, 3, "Boom") + track(1, 3, "Lav"), 5));
    EXPECT_EQ(found(recording), (Ids{"ixml.track-count", "ixml.interleave-doubled", "ixml.channel-doubled"}));
    recording.ixml = ixmlOf(head + tracks(track(1, 3, "Boom") + track(3, 4, "Lav"), 2));
    EXPECT_EQ(found(recording), (Ids{"ixml.interleave-range"}));
    recording.ixml = ixmlOf(head + tracks(track(1, 3, "Boom"), 1));
    EXPECT_EQ(found(recording), (Ids{"ixml.tracks-of-file"}));
}

TEST_F(Check, IxmlThatParsersRefuseIsAnError) {
    Recording recording;
    recording.ixml = ixmlOf("<SCENE>12A & B</SCENE>");
    EXPECT_EQ(found(recording), (Ids{"ixml.malformed"}));
    recording.ixml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML><NOTE>caf\xe9</NOTE></BWFXML>";
    EXPECT_EQ(found(recording), (Ids{"ixml.unreadable"}));
}

TEST_F(Check, RateAndDepthOfTheIxmlAreTheFiles) {
    Recording recording;
    recording.wave.bitDepth = 16;
    recording.wave.sampleRate = 44100;
    recording.bext.codingHistory = {};
    EXPECT_EQ(found(recording), (Ids{"ixml.sample-rate", "ixml.bit-depth"}));
}

TEST_F(Check, DatesAndTimesOfAnotherFormAreToldWithTheRightOne) {
    Recording recording;
    recording.bext.originationDate = "2019:01:01";
    recording.bext.originationTime = "13-36-16";
    DeliveryCheck check({});
    const std::vector<Finding> findings = check.look(write("12A_03.wav", recording));
    ASSERT_EQ(idsOf(findings), (Ids{"bext.date-form", "bext.time-form"}));
    EXPECT_EQ(findings[0].found, QStringLiteral("2019:01:01"));
    EXPECT_EQ(findings[0].expected, QStringLiteral("2019-01-01"));
    EXPECT_EQ(findings[1].expected, QStringLiteral("13:36:16"));
}

TEST_F(Check, AStartBehindTheDayIsToldButNotThatOfALongerDayOfLabels) {
    Recording recording;
    recording.bext.description = {};
    recording.bext.timeReference = 48000ULL * 86400 + 48000;
    recording.ixml = ixmlOf(speed(recording.bext.timeReference));
    EXPECT_EQ(found(recording), (Ids{"bext.start-past-midnight"}));
    recording.ixml = ixmlOf(speed(recording.bext.timeReference, "24000/1001"));
    EXPECT_EQ(found(recording), Ids());
    recording.bext.timeReference = 0;
    recording.ixml = {};
    EXPECT_EQ(found(recording), (Ids{"bext.start-zero"}));
}

TEST_F(Check, ACodingHistoryOfAnotherFormatIsTold) {
    Recording recording;
    recording.bext.codingHistory = "A=ANALOGUE,M=stereo\r\nA=PCM,F=44100,W=16,M=stereo\r\n";
    EXPECT_EQ(found(recording), (Ids{"bext.coding-history", "bext.coding-history", "bext.coding-history"}));
    recording.bext.codingHistory = "A=PCM,F=48000,W=24,M=dual-mono\r\n";
    EXPECT_EQ(found(recording), Ids());
}

TEST_F(Check, AvidsOwnRulesHoldForAvidOnly) {
    Recording recording;
    recording.bext.description = "sSCENE=12A\nsTAKE=3\n";
    EXPECT_EQ(found(recording), Ids());
    EXPECT_EQ(found(recording, Reader::avid), (Ids{"bext.line-ends"}));
    recording = {};
    recording.wave.channels = 25;
    recording.wave.bitDepth = 32;
    recording.ixml = {};
    recording.bext.codingHistory = {};
    const Ids ids = found(recording, Reader::avid);
    EXPECT_TRUE(ids.contains("fmt.avid-channels") && ids.contains("fmt.avid-bits"));
}

TEST_F(Check, AFileThatWasNeverClosedIsTold) {
    const QString path = folder_.write(QStringLiteral("a.wav"), withDataSize(waveBytes({.frames = 480}), 0));
    DeliveryCheck check({});
    EXPECT_TRUE(idsOf(check.look(path)).contains("file.sizes"));
    EXPECT_EQ(idsOf(check.look(folder_.write(QStringLiteral("b.wav"), "no recording"))), (Ids{"file.unreadable"}));
}

TEST_F(Check, AStaleDigestIsFoundByTheAudioItself) {
    WaveSpec spec{.frames = 480, .before = {{"bext", bextPayload({.timeReference = 1})}}};
    spec.after = {{"MD5 ", QByteArray(16, '\1')}};
    DeliveryCheck check({});
    EXPECT_TRUE(idsOf(check.look(folder_.write(QStringLiteral("a.wav"), waveBytes(spec)))).contains("md5.stale"));
}

TEST_F(Check, AudioDefinitionsPointAtTracksThatAreThere) {
    const auto row = [](int number, const QByteArray& uid) {
        return littleEndian16(static_cast<quint16>(number)) + uid + QByteArray(26, '\0');
    };
    WaveSpec spec{.channels = 2, .frames = 480, .before = {{"bext", bextPayload({.timeReference = 1})}}};
    const auto with = [&](const QByteArray& chna) {
        WaveSpec made = spec;
        made.before.push_back({"chna", chna});
        made.before.push_back({"axml", "<a>ATU_00000001 ATU_00000002</a>"});
        DeliveryCheck check({});
        Ids ids = idsOf(check.look(folder_.write(QStringLiteral("a.wav"), waveBytes(made))));
        ids.erase("ixml.timecode-rate");
        return ids;
    };
    const QByteArray room(80, '\0');
    EXPECT_EQ(with(littleEndian16(2) + littleEndian16(2) + row(1, "ATU_00000001") + row(2, "ATU_00000002") + room),
              Ids());
    EXPECT_EQ(with(littleEndian16(2) + littleEndian16(3) + row(1, "ATU_00000001") + row(3, "ATU_00000009")),
              (Ids{"chna.counts", "chna.track", "chna.uid"}));
}

TEST_F(Check, NamesThatOtherSystemsRefuseAreTold) {
    DeliveryCheck check({});
    EXPECT_TRUE(idsOf(check.look(write("12A:03.wav", {}))).contains("name.characters"));
    EXPECT_TRUE(idsOf(check.look(write("CON.wav", {}))).contains("name.characters"));
}

TEST_F(Check, FilesAreComparedWithEachOther) {
    Recording odd;
    odd.ixml.replace("25/1", "24/1");
    odd.bext.description.replace("025", "024");
    Recording first;
    first.bext.umid = QByteArray::fromHex("060a2b34") + QByteArray(60, '\2');
    DeliveryCheck check({});
    for (const char* name : {"12A_1.wav", "12A_2.wav"}) check.look(write(name, first));
    check.look(write("12A_10.wav", odd));
    const std::vector<Finding> findings = check.across();
    EXPECT_EQ(idsOf(findings), (Ids{"bext.umid-shared", "ixml.file-uid-shared", "ixml.file-uid-shared",
                                    "set.timecode-rate", "name.order"}));
    for (const Finding& each : findings) {
        const bool isOdd = each.path.endsWith(QStringLiteral("12A_10.wav"));
        EXPECT_TRUE(isOdd || std::string_view(each.rule->id) != "set.timecode-rate");
    }
}

TEST_F(Check, TheProjectsRateCountsWhereItIsGiven) {
    DeliveryCheck check({.reader = Reader::finalCut, .projectRate = TimecodeRate::of(QStringLiteral("24"))});
    check.look(write("12A_1.wav", {}));
    EXPECT_EQ(idsOf(check.across()), (Ids{"set.project-rate"}));
}

TEST(Rules, EachHasAnIdOfItsOwnAndASource) {
    std::set<std::string> ids;
    for (const Rule& rule : allRules()) {
        EXPECT_TRUE(ids.insert(rule.id).second) << rule.id;
        EXPECT_FALSE(QString::fromUtf8(rule.source).isEmpty());
    }
}

TEST(Rules, ThePageIsTheTable) {
    EXPECT_EQ(QString::fromUtf8(readAll(QStringLiteral(OSTREL_RULES_PAGE))), rulesAsMarkdown());
}

} // namespace
} // namespace ostrel::testing
