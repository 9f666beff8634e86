#include "foundation/records/channel_layout.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(ChannelLayout, PresetsStandInTheirOrder) {
    QStringList ids;
    for (const ChannelLayout& layout : ChannelLayout::allLayouts()) ids << layout.id;
    EXPECT_EQ(ids.join(u' '), QStringLiteral("stereo 5.1-film 5.1-smpte 7.1-film 7.1-smpte"));
    EXPECT_EQ(ChannelLayout::smpte71.channelTags.join(u' '), QStringLiteral("L R C LFE Lss Rss Lsr Rsr"));
    EXPECT_EQ(ChannelLayout::film71.channelTags.join(u' '), QStringLiteral("L C R Lss Rss Lsr Rsr LFE"));
    EXPECT_EQ(ChannelLayout::film51.displayName, QStringLiteral("5.1 Film (L C R Ls Rs LFE)"));
}

TEST(ChannelLayout, WordsOfEveryPreset) {
    QStringList words;
    for (const ChannelLayout& layout : ChannelLayout::allLayouts())
        words << layout.displayName + QStringLiteral(": ") + layout.channelTags.join(u' ');
    EXPECT_EQ(words, QStringList({QStringLiteral("Stereo (L/R): L R"),
                                  QStringLiteral("5.1 Film (L C R Ls Rs LFE): L C R Ls Rs LFE"),
                                  QStringLiteral("5.1 SMPTE (L R C LFE Ls Rs): L R C LFE Ls Rs"),
                                  QStringLiteral("7.1 Film (L C R Lss Rss Lsr Rsr LFE): L C R Lss Rss Lsr Rsr LFE"),
                                  QStringLiteral("7.1 SMPTE (L R C LFE Lss Rss Lsr Rsr): L R C LFE Lss Rss Lsr Rsr")}));
}

TEST(ChannelLayout, FoundByItsId) {
    for (const ChannelLayout& layout : ChannelLayout::allLayouts()) EXPECT_EQ(ChannelLayout::withId(layout.id), layout);
    EXPECT_EQ(ChannelLayout::withId(QStringLiteral("Stereo")), std::nullopt);
    EXPECT_EQ(ChannelLayout::withId(QString()), std::nullopt);
}

TEST(ChannelLayout, EqualityComparesAllThreeFields) {
    ChannelLayout other = ChannelLayout::stereo;
    EXPECT_EQ(other, ChannelLayout::stereo);
    other.channelTags << QStringLiteral("C");
    EXPECT_NE(other, ChannelLayout::stereo);
    other = ChannelLayout::stereo;
    other.displayName = QStringLiteral("x");
    EXPECT_NE(other, ChannelLayout::stereo);
}

TEST(ChannelLayout, ExtractBaseName) {
    const auto base = [](const char* name) { return ChannelLayout::extractBaseName(QString::fromUtf8(name)); };
    EXPECT_EQ(base("Take1_LFE.wav"), QStringLiteral("Take1"));
    EXPECT_EQ(base("Take1.lfe.WAV"), QStringLiteral("Take1"));
    EXPECT_EQ(base("Take1 Lss.wav"), QStringLiteral("Take1"));
    EXPECT_EQ(base("Take1.Lfe1.wav"), QStringLiteral("Take1"));
    EXPECT_EQ(base("A.B.R.wav"), QStringLiteral("A.B"));
    EXPECT_EQ(base("TakeL.wav"), std::nullopt);
    EXPECT_EQ(base("Take-L.wav"), std::nullopt);
    EXPECT_EQ(base("Take.L.aif"), std::nullopt);
}

} // namespace
} // namespace ostrel
