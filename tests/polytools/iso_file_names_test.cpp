#include "polytools/records/iso_file_names.h"

#include "support/test_folder.h"

#include <QSet>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

constexpr auto kNumber = SplitNamingPattern::channelNumber;
constexpr auto kLetter = SplitNamingPattern::channelLetter;
constexpr auto kTrack = SplitNamingPattern::trackName;

QString name(int channel, SplitNamingPattern pattern, const char* track = "") {
    return isoOutputName(QStringLiteral("T1"), channel, pattern, QString::fromUtf8(track));
}

TEST(IsoFileNames, PatternsAndTheirWords) {
    EXPECT_EQ(rawText(kNumber), QStringLiteral("Channel Number (ch1, ch2...)"));
    EXPECT_EQ(rawText(kLetter), QStringLiteral("Channel Letter (A, B, C...)"));
    EXPECT_EQ(rawText(kTrack), QStringLiteral("Track Name (from iXML)"));
    EXPECT_EQ(rawText(FolderOrganization::flat), QStringLiteral("Flat (all files in output folder)"));
    EXPECT_EQ(rawText(FolderOrganization::bySceneTake), QStringLiteral("By Scene/Take (e.g., 9C-T01/)"));
    EXPECT_EQ(rawText(FolderOrganization::byScene), QStringLiteral("By Scene Only (e.g., 9C/)"));
    EXPECT_EQ(name(2, kNumber, "Boom"), QStringLiteral("T1_ch3.wav"));
    EXPECT_EQ(name(2, kTrack, "Boom"), QStringLiteral("T1_Boom.wav"));
    EXPECT_EQ(name(2, SplitNamingPattern::takeNumber, "Boom"), QStringLiteral("T1_3.wav"));
}

TEST(IsoFileNames, LettersEndAtTwentySixAndNumbersGoOn) {
    EXPECT_EQ(name(0, kLetter), QStringLiteral("T1_A.wav"));
    EXPECT_EQ(name(25, kLetter), QStringLiteral("T1_Z.wav"));
    EXPECT_EQ(name(26, kLetter), QStringLiteral("T1_27.wav"));
}

TEST(IsoFileNames, TrackNamesAreSanitised) {
    EXPECT_EQ(name(0, kTrack, "Boom/Mic: 1?"), QStringLiteral("T1_Boom-Mic-_1.wav"));
    EXPECT_EQ(name(0, kTrack, "a\\b|c*\"<d>"), QStringLiteral("T1_a-b-cd.wav"));
    EXPECT_EQ(name(0, kTrack, "Zoé & 録音"), QString::fromUtf8("T1_Zoé_&_録音.wav"));
}

TEST(IsoFileNames, ADashOrNothingFallsBackToTheChannelNumber) {
    EXPECT_EQ(name(3, kTrack, "—"), QStringLiteral("T1_ch4.wav"));
    EXPECT_EQ(name(3, kTrack, ""), QStringLiteral("T1_ch4.wav"));
    EXPECT_EQ(name(3, kTrack, "??"), QStringLiteral("T1_ch4.wav"));
}

TEST(IsoFileNames, AVeryLongTrackNameStillFitsTheFileSystem) {
    const QString long1 = isoOutputName(QStringLiteral("T1"), 0, kTrack, QString(400, QChar(u'é')));
    EXPECT_LE(long1.toUtf8().size(), 255);
    EXPECT_TRUE(long1.endsWith(QStringLiteral("é.wav")));
}

// Every name of a split fits, none is that of another, and each holds whole letters only.
void expectUsable(const QStringList& names) {
    QSet<QString> seen;
    for (const QString& each : names) {
        EXPECT_LE(each.toUtf8().size(), 255) << each.toStdString();
        EXPECT_EQ(QString::fromUtf8(each.toUtf8()), each) << "half a letter";
        EXPECT_TRUE(each.endsWith(QStringLiteral(".wav")));
        seen.insert(each.toCaseFolded());
    }
    EXPECT_EQ(seen.size(), names.size());
}

TEST(IsoFileNames, ATrackOfAHundredAndFiftyEmojiIsCutBetweenThem) {
    const QString emoji = QString::fromUtf8("🎙");
    // 255 bytes less "T1_" and ".wav" hold 62 of 4 bytes.
    EXPECT_EQ(isoOutputName(QStringLiteral("T1"), 0, kTrack, emoji.repeated(150)),
              QStringLiteral("T1_%1.wav").arg(emoji.repeated(62)));
    const QString singer = QString::fromUtf8("👩🏽‍🎤"); // 15 bytes, four code points
    EXPECT_EQ(isoOutputName(QStringLiteral("T1"), 0, kTrack, singer.repeated(150)),
              QStringLiteral("T1_%1.wav").arg(singer.repeated(16)));
}

TEST(IsoFileNames, TracksOfEqualBeginningsThatAreCutGetNamesOfTheirOwn) {
    const QString beginning(299, u'x');
    const std::vector<IsoNameRequest> channels{{0, beginning + u'1'}, {1, beginning + u'2'}, {2, beginning + u'3'}};
    const QStringList names = isoOutputNames(QStringLiteral("T1"), channels, kTrack, false, {});
    expectUsable(names);
    EXPECT_EQ(names[0], QStringLiteral("T1_%1.wav").arg(QString(248, u'x')));
    EXPECT_EQ(names[1], QStringLiteral("T1_%1_2.wav").arg(QString(246, u'x')));
    EXPECT_EQ(names[2], QStringLiteral("T1_%1_3.wav").arg(QString(246, u'x')));
}

TEST(IsoFileNames, BesideALongPolyNameTheTrackKeepsARest) {
    const QString base(251, u'b');
    const QString full = isoOutputName(base, 0, kTrack, QString(300, u'x'));
    EXPECT_EQ(full, QString(186, u'b') + u'_' + QString(64, u'x') + QStringLiteral(".wav"));
    EXPECT_EQ(isoOutputName(base, 0, kTrack, QStringLiteral("Boom")), QString(246, u'b') + QStringLiteral("_Boom.wav"));
    EXPECT_EQ(isoOutputName(base, 9, kNumber, {}), QString(246, u'b') + QStringLiteral("_ch10.wav"));
    EXPECT_EQ(isoOutputName(base, 2, kLetter, {}), QString(249, u'b') + QStringLiteral("_C.wav"));
}

TEST(IsoFileNames, NumberedNamesOfALongPolyFitToo) {
    const QString base = QString::fromUtf8("録").repeated(83); // 249 bytes
    const std::vector<IsoNameRequest> channels(12);
    const QStringList names = isoOutputNames(base, channels, kNumber, true, {base + QStringLiteral(".wav")});
    expectUsable(names);
    EXPECT_EQ(names[0], QString::fromUtf8("録").repeated(83) + QStringLiteral("_1.wav"));
    EXPECT_EQ(names[11], QString::fromUtf8("録").repeated(82) + QStringLiteral("_12.wav"));
}

TEST(IsoFileNames, PercentSignsOfAPolyNameStay) {
    EXPECT_EQ(isoOutputName(QStringLiteral("50%1 and %2"), 2, kNumber, {}), QStringLiteral("50%1 and %2_ch3.wav"));
    const std::vector<IsoNameRequest> channels{{0, {}}, {1, {}}};
    EXPECT_EQ(isoOutputNames(QStringLiteral("50%2"), channels, kNumber, true, {}).join(u' '),
              QStringLiteral("50%2.wav 50%2_2.wav"));
}

TEST(IsoFileNames, NamesThatDifferInTheWayALetterIsComposedClash) {
    const std::vector<IsoNameRequest> channels{{0, QString::fromUtf8("Zo\u00e9")}, {1, QString::fromUtf8("Zoe\u0301")}};
    EXPECT_EQ(isoOutputNames(QStringLiteral("T1"), channels, kTrack, false, {}).join(u' '),
              QString::fromUtf8("T1_Zo\u00e9.wav T1_Zoe\u0301_2.wav"));
}

TEST(IsoFileNames, NoTwoChannelsShareAName) {
    const std::vector<IsoNameRequest> channels{{0, QStringLiteral("Lav")},
                                               {1, QStringLiteral("lav")},
                                               {2, QStringLiteral("Lav_2")},
                                               {3, QStringLiteral("Boom")}};
    EXPECT_EQ(isoOutputNames(QStringLiteral("T1"), channels, kTrack, false, {}).join(u' '),
              QStringLiteral("T1_Lav.wav T1_lav_2.wav T1_Lav_2_3.wav T1_Boom.wav"));
}

TEST(IsoFileNames, KeptOriginalNamesAreNumberedWhereTheyClash) {
    const std::vector<IsoNameRequest> channels{{0, {}}, {1, {}}, {2, {}}};
    EXPECT_EQ(isoOutputNames(QStringLiteral("T1"), channels, kNumber, true, {}).join(u' '),
              QStringLiteral("T1.wav T1_2.wav T1_3.wav"));
    EXPECT_EQ(isoOutputNames(QStringLiteral("T1"), channels, kNumber, true, {QStringLiteral("T1.WAV")}).join(u' '),
              QStringLiteral("T1_1.wav T1_2.wav T1_3.wav"));
}

} // namespace
} // namespace ostrel
