#include "delivery/delivery_check.h"
#include "delivery/header_fixes.h"
#include "metadata/bext/description_lines.h"
#include "platform/files/files.h"
#include "support/own_state.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QFile>
#include <gtest/gtest.h>
#include <set>

namespace ostrel::testing {
namespace {

const QByteArray kDocument =
    "<?xml "
    "version=\"1.0\"?><BWFXML><SCENE>12A</SCENE><TAKE>3</TAKE><SPEED><AUDIO_BIT_DEPTH>16</AUDIO_BIT_DEPTH></SPEED>"
    "<TRACK_LIST><TRACK_COUNT>9</TRACK_COUNT><TRACK><CHANNEL_INDEX>2</CHANNEL_INDEX><INTERLEAVE_INDEX>1</"
    "INTERLEAVE_INDEX>"
    "<NAME>Boom</NAME></TRACK></TRACK_LIST></BWFXML>";

class HeaderFixing : public ::testing::Test {
protected:
    QString write(const QByteArray& document = kDocument + QByteArray(8, ' ')) {
        WaveSpec spec{.frames = 480};
        spec.before = {{"bext", bextPayload({.description = "zSCENE=12B\nzTAKE=3\nzTRK2=Lav\nfree text\n",
                                             .originationDate = "2019:01:01",
                                             .originationTime = "13:36:16",
                                             .timeReference = 48000,
                                             .codingHistory = "A=PCM,F=48000,W=24,M=mono\r\n"})},
                       {"iXML", document}};
        spec.after = {{"LIST", "INFOISFT\4\0\0\0abc\0"}};
        return folder_.write(QStringLiteral("12A_3.wav"), waveBytes(spec));
    }

    static std::set<std::string> idsOf(const QString& file, Reader reader) {
        DeliveryCheck check({.reader = reader});
        std::set<std::string> ids;
        for (const Finding& each : check.look(file)) ids.insert(each.rule->id);
        return ids;
    }

    OwnState state_;
    TestFolder folder_;
    Journal journal_{QStringLiteral("test")};
};

TEST_F(HeaderFixing, ACopyHasTheRightAnswersAndEveryOtherByteOfTheRecording) {
    const QString recording = write();
    const QByteArray before = readAll(recording);
    ASSERT_EQ(idsOf(recording, Reader::avid),
              (std::set<std::string>{"agree.scene", "agree.track-name", "bext.date-form", "bext.line-ends",
                                     "ixml.bit-depth", "ixml.track-count", "ixml.timecode-rate"}));
    const HeaderFixes plan = planFixes(recording, Reader::avid);
    EXPECT_EQ(plan.fixes.size(), 6U);
    EXPECT_TRUE(plan.left.isEmpty()) << plan.left.join(u'\n').toStdString();
    const QString copy = folder_.path(QStringLiteral("out/12A_3.wav"));
    writeFixedCopy(recording, plan, copy);
    EXPECT_EQ(readAll(recording), before);
    EXPECT_EQ(idsOf(copy, Reader::avid), (std::set<std::string>{"ixml.timecode-rate"}));
    const QByteArray after = readAll(copy);
    ASSERT_EQ(after.size(), before.size());
    EXPECT_EQ(chunkOf(after, "data"), chunkOf(before, "data"));
    EXPECT_EQ(chunkOf(after, "LIST"), chunkOf(before, "LIST"));
    EXPECT_TRUE(
        chunkOf(after, "bext").startsWith(QByteArray("zSCENE=12A\r\nzTAKE=3\r\nzTRK2=Boom\r\nfree text\r\n") + '\0'));
    EXPECT_EQ(chunkOf(after, "bext").mid(256),
              QByteArray(chunkOf(before, "bext").mid(256)).replace("2019:01:01", "2019-01-01"));
    EXPECT_TRUE(planFixes(copy, Reader::avid).edits.empty()); // a second time there is nothing to do
}

TEST_F(HeaderFixing, WithoutRoomTheIxmlStaysAndSaysSo) {
    QByteArray document = kDocument;
    document.replace(">9<", "><").replace("<TRACK_COUNT></TRACK_COUNT>", "<TRACK_COUNT>9</TRACK_COUNT>");
    QByteArray tracks;
    for (int i = 0; i < 9; ++i) tracks += "<TRACK><NAME>t</NAME></TRACK>";
    document.replace("</TRACK_LIST>", tracks + "</TRACK_LIST>"); // ten in the list, nine counted
    const QString recording = write(document.size() % 2 == 0 ? document : document + ' ');
    const HeaderFixes plan = planFixes(recording, Reader::anybody);
    const bool fits = document.size() % 2 != 0; // one blank is room enough
    EXPECT_EQ(plan.left.size(), fits ? 0 : 1);
}

TEST_F(HeaderFixing, InPlaceTheRecordingIsReplacedInOneStepAndJournalled) {
    const QString recording = write();
    const QByteArray audio = chunkOf(readAll(recording), "data");
    fixInPlace(recording, planFixes(recording, Reader::anybody), *FileStamp::of(recording), journal_);
    EXPECT_EQ(chunkOf(readAll(recording), "data"), audio);
    EXPECT_FALSE(idsOf(recording, Reader::anybody).contains("agree.scene"));
    EXPECT_EQ(namesIn(folder_.path()), (QStringList{QStringLiteral("12A_3.wav")}));
    EXPECT_FALSE(journalSteps().isEmpty());
}

TEST_F(HeaderFixing, ARecordingThatChangedMeanwhileStays) {
    const QString recording = write();
    const FileStamp seen = *FileStamp::of(recording);
    const HeaderFixes plan = planFixes(recording, Reader::anybody);
    QFile file(recording);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("more");
    file.close();
    const QByteArray now = readAll(recording);
    EXPECT_THROW(fixInPlace(recording, plan, seen, journal_), FileError);
    EXPECT_EQ(readAll(recording), now);
}

TEST_F(HeaderFixing, ARecordingWithAudioBehindItsEndIsNotReplaced) {
    const QString recording = write();
    const QByteArray longer = readAll(recording) + QByteArray(4801, '\7');
    folder_.write(QStringLiteral("12A_3.wav"), longer);
    EXPECT_THROW(fixInPlace(recording, planFixes(recording, Reader::anybody), *FileStamp::of(recording), journal_),
                 FileError);
    EXPECT_EQ(readAll(recording), longer);
}

TEST_F(HeaderFixing, ACopyNeverTakesTheNameOfAnotherFile) {
    const QString recording = write();
    const QString other = folder_.write(QStringLiteral("out/12A_3.wav"), "something else");
    EXPECT_THROW(writeFixedCopy(recording, planFixes(recording, Reader::anybody), other), FileError);
    EXPECT_EQ(readAll(other), QByteArray("something else"));
    EXPECT_EQ(namesIn(folder_.path(QStringLiteral("out"))).size(), 1);
}

TEST(DescriptionLines, WhatDoesNotFitIsNothing) {
    const QByteArray field = QByteArray("a=1\n").repeated(60).leftJustified(256, '\0');
    EXPECT_FALSE(descriptionWith(field, {}, true)); // 60 more bytes
    EXPECT_EQ(descriptionWith(field, {}, false), field);
}

TEST(DescriptionLines, OnlyTheValueOfTheKeyChanges) {
    const QByteArray field = QByteArray("sSCENE=1\r\nsSCENES=2\r\nSCENE\r\n").leftJustified(256, '\0');
    EXPECT_EQ(descriptionWith(field, {{"SCENE", "12=A"}}, true),
              QByteArray("sSCENE=12=A\r\nsSCENES=2\r\nSCENE\r\n").leftJustified(256, '\0'));
}

} // namespace
} // namespace ostrel::testing
