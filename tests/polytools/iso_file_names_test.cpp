#include "polytools/iso_file_names.h"

#include "support/test_folder.h"

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
