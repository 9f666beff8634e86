#include "preview/preview_commands.h"

#include "preview/preview_mode.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

QMap<QString, QString> filesOf(const ChannelLayout& layout) {
    QMap<QString, QString> result;
    for (const QString& tag : layout.channelTags) result.insert(tag, QStringLiteral("/t/Take.%1.wav").arg(tag));
    return result;
}

QString words(const PreviewRecipe& recipe) { return recipe.arguments.join(u' '); }

TEST(PreviewCommands, Stereo) {
    const PreviewRecipe recipe = stereoPreview(QStringLiteral("/t/My Take.L.wav"), QStringLiteral("/t/My Take.R.wav"));
    EXPECT_EQ(recipe.fileName, QStringLiteral("My_Take_L_wav_My_Take_R_wav_stereo.wav"));
    EXPECT_EQ(recipe.arguments,
              (QStringList{QStringLiteral("-y"), QStringLiteral("-i"), QStringLiteral("/t/My Take.L.wav"),
                           QStringLiteral("-i"), QStringLiteral("/t/My Take.R.wav"), QStringLiteral("-filter_complex"),
                           QStringLiteral("[0:a][1:a]join=inputs=2:channel_layout=stereo[a]"), QStringLiteral("-map"),
                           QStringLiteral("[a]"), QStringLiteral("-c:a"), QStringLiteral("pcm_s16le")}));
}

TEST(PreviewCommands, SurroundOfFiveOneUsesTheBackChannels) {
    const PreviewRecipe smpte =
        surroundPreview(QStringLiteral("A.B C"), filesOf(ChannelLayout::smpte51), ChannelLayout::smpte51);
    EXPECT_EQ(smpte.fileName, QStringLiteral("A_B_C_5_1-smpte_v2_surround.wav"));
    EXPECT_EQ(
        words(smpte),
        QStringLiteral("-y -i /t/Take.L.wav -i /t/Take.R.wav -i /t/Take.C.wav -i /t/Take.LFE.wav -i /t/Take.Ls.wav "
                       "-i /t/Take.Rs.wav -filter_complex [0:a][1:a][2:a][3:a][4:a][5:a]amerge=inputs=6[merged];"
                       "[merged]pan=5.1|FL=c0|FR=c1|FC=c2|LFE=c3|BL=c4|BR=c5[a] -map [a] -c:a pcm_s16le"));
    const PreviewRecipe film =
        surroundPreview(QStringLiteral("A"), filesOf(ChannelLayout::film51), ChannelLayout::film51);
    EXPECT_TRUE(words(film).contains(QStringLiteral("pan=5.1|FL=c0|FR=c2|FC=c1|LFE=c5|BL=c3|BR=c4[a]")));
}

TEST(PreviewCommands, SurroundOfSevenOne) {
    const PreviewRecipe smpte =
        surroundPreview(QStringLiteral("A"), filesOf(ChannelLayout::smpte71), ChannelLayout::smpte71);
    EXPECT_TRUE(words(smpte).contains(
        QStringLiteral("amerge=inputs=8[merged];[merged]pan=7.1|FL=c0|FR=c1|FC=c2|LFE=c3|BL=c6|BR=c7|SL=c4|SR=c5[a]")));
}

TEST(PreviewCommands, ALayoutOrSetWithoutAGraphFallsToASimpleJoin) {
    const QStringList tags{QStringLiteral("L"), QStringLiteral("C"), QStringLiteral("R")};
    EXPECT_EQ(surroundGraph(tags, ChannelLayout::smpte51),
              QStringLiteral("[0:a][1:a][2:a]join=inputs=3:channel_layout=stereo[a]"));
    const ChannelLayout quad{QStringLiteral("quad"), QStringLiteral("Quad"), tags};
    EXPECT_TRUE(usesSimpleJoin(tags, quad));
    EXPECT_FALSE(usesSimpleJoin(ChannelLayout::film71.channelTags, ChannelLayout::film71));
}

TEST(PreviewCommands, ChannelsOfAFile) {
    const QString file = QStringLiteral("/t/My.Take 1.wav");
    EXPECT_EQ(channelPreview(file, QStringLiteral("left")).fileName, QStringLiteral("My_Take_1_left.wav"));
    EXPECT_EQ(words(channelPreview(file, QStringLiteral("left"))),
              QStringLiteral("-y -i /t/My.Take 1.wav -af pan=mono|c0=FL -c:a pcm_s16le"));
    EXPECT_TRUE(words(channelPreview(file, QStringLiteral("right"))).contains(QStringLiteral("pan=mono|c0=FR ")));
    EXPECT_TRUE(words(channelPreview(file, QStringLiteral("center"))).contains(QStringLiteral("pan=mono|c0=FC ")));
}

TEST(PreviewCommands, ExtractedChannels) {
    const PreviewRecipe recipe =
        extractedChannel(QStringLiteral("/t/My.Take 1.wav"), QStringLiteral("Ls"), ChannelLayout::smpte51);
    EXPECT_EQ(recipe.fileName, QStringLiteral("My_Take_1_Ls_5_1-smpte_v1_channel.wav"));
    EXPECT_EQ(words(recipe), QStringLiteral("-y -i /t/My.Take 1.wav -af pan=mono|c0=SL -c:a pcm_s16le"));
}

TEST(PreviewCommands, AnUnknownTagPassesIntoTheFilterAsItStands) {
    const PreviewRecipe recipe =
        extractedChannel(QStringLiteral("/t/a.wav"), QStringLiteral("Lfe"), ChannelLayout::smpte51);
    EXPECT_TRUE(recipe.arguments.contains(QStringLiteral("pan=mono|c0=Lfe")));
}

TEST(PreviewCommands, SpeakerRouted) {
    const PreviewRecipe recipe = speakerRouted(QStringLiteral("Take 1"), QStringLiteral("/t/a.wav"),
                                               QStringLiteral("C"), ChannelLayout::smpte51, 0);
    EXPECT_EQ(recipe.fileName, QStringLiteral("Take_1_C_5_1-smpte_speakerRouted_v2_qc.wav"));
    EXPECT_EQ(words(recipe), QStringLiteral("-y -i /t/a.wav -af pan=5.1(side)|FL=0*c0|FR=0*c0|FC=c0|LFE=0*c0|SL=0*c0|"
                                            "SR=0*c0 -c:a pcm_s16le"));
    EXPECT_EQ(buildSpeakerRoutedPanFilter(QStringLiteral("Rsr"), ChannelLayout::film71, 6),
              QStringLiteral("pan=7.1|FL=0*c6|FR=0*c6|FC=0*c6|LFE=0*c6|BL=0*c6|BR=c6|SL=0*c6|SR=0*c6"));
    EXPECT_EQ(buildSpeakerRoutedPanFilter(QStringLiteral("R"), ChannelLayout::stereo, 1),
              QStringLiteral("pan=stereo|FL=0*c1|FR=c1"));
}

TEST(PreviewCommands, FfmpegsWords) {
    EXPECT_EQ(ffmpegLayoutName(QStringLiteral("stereo")), QStringLiteral("stereo"));
    EXPECT_EQ(ffmpegLayoutName(QStringLiteral("5.1-film")), QStringLiteral("5.1(side)"));
    EXPECT_EQ(ffmpegLayoutName(QStringLiteral("7.1-smpte")), QStringLiteral("7.1"));
    EXPECT_EQ(ffmpegLayoutName(QStringLiteral("other")), QStringLiteral("5.1(side)"));
    EXPECT_EQ(ffmpegChannelOrder(QStringLiteral("7.1-film")).join(u' '), QStringLiteral("FL FR FC LFE BL BR SL SR"));
    EXPECT_EQ(ffmpegChannelOrder(QStringLiteral("other")).join(u' '), QStringLiteral("FL FR FC LFE SL SR"));
    const char* const table[][2] = {{"L", "FL"},   {"R", "FR"},   {"C", "FC"},   {"LFE", "LFE"},
                                    {"Ls", "SL"},  {"Rs", "SR"},  {"Lss", "SL"}, {"Rss", "SR"},
                                    {"Lsr", "BL"}, {"Rsr", "BR"}, {"Lfe", "Lfe"}};
    for (const auto& [tag, name] : table) {
        EXPECT_EQ(ffmpegChannelNameForTag(QString::fromLatin1(tag)), QString::fromLatin1(name));
    }
}

TEST(PreviewCommands, AKeyTooLongForAFileNameLosesItsEnd) {
    const QString name = QString(200, u'ä') + QStringLiteral(".wav");
    const PreviewRecipe recipe = stereoPreview(QStringLiteral("/t/") + name, QStringLiteral("/u/") + name);
    EXPECT_LE(recipe.fileName.toUtf8().size(), 255);
    EXPECT_TRUE(recipe.fileName.endsWith(QStringLiteral("_stereo.wav")));
    const QString emoji =
        QString::fromUtf8("x🎙").repeated(60) + QStringLiteral(".wav"); // between two of them or not
    const QString cut = stereoPreview(QStringLiteral("/t/") + emoji, QStringLiteral("/u/") + emoji).fileName;
    EXPECT_LE(cut.toUtf8().size(), 255);
    EXPECT_EQ(QString::fromUtf8(cut.toUtf8()), cut) << "half a letter";
}

TEST(PreviewMode, Words) {
    EXPECT_EQ(displayText(PreviewMode::source), QStringLiteral("Source"));
    EXPECT_EQ(displayText(PreviewMode::postInterleave), QStringLiteral("Post-Interleave (Stereo)"));
    EXPECT_EQ(displayText(PreviewMode::postInterleaveSurround), QStringLiteral("Post-Interleave (Surround)"));
    EXPECT_EQ(displayText(PreviewMode::leftChannel), QStringLiteral("L Channel"));
    EXPECT_EQ(displayText(PreviewMode::rightChannel), QStringLiteral("R Channel"));
    EXPECT_EQ(displayText(PreviewMode::centerChannel), QStringLiteral("Center Channel"));
    EXPECT_EQ(rawText(PreviewRouting::mono), QStringLiteral("Mono (Unpanned)"));
    EXPECT_EQ(rawText(PreviewRouting::speakerRouted), QStringLiteral("Speaker-Panned (QC)"));
}

} // namespace
} // namespace ostrel
