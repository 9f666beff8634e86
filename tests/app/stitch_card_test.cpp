// Takes in several files, in the window.
#include "app/poly/stitch_card.h"
#include "support/scripted_desktop.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QPushButton>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class StitchCardTest : public ::testing::Test {
protected:
    // Of 1000 frames each, in takes of their own starts.
    void put(const QString& name, int signal, quint64 start, const QByteArray& take) {
        folder_.write(u"card/"_s + name,
                      waveBytes({.channels = 2,
                                 .frames = 1000,
                                 .before = {{"bext", bextPayload({.originator = "R", .timeReference = start})}},
                                 .after = {{"iXML", "<BWFXML><IXML_VERSION>1.5</IXML_VERSION><TAKE>" + take +
                                                        "</TAKE></BWFXML>"}},
                                 .firstSignal = signal}));
    }
    QString card() { return folder_.path(u"card"_s); }
    QByteArray audio(const QString& name) { return chunkOf(readAll(card() + u"/"_s + name), "data"); }
    QPushButton& button() { return *card_.findChild<QPushButton*>(); }

    TestFolder folder_;
    ScriptedDesktop desktop_;
    QWidget window_;
    StitchCard card_{desktop_, &window_};
};

TEST_F(StitchCardTest, OneFileOfThreePartsOnRequest) {
    put(u"A1.wav"_s, 1, 500, "5");
    put(u"A2.wav"_s, 2, 1500, "5");
    put(u"A3.wav"_s, 3, 2500, "5");
    put(u"B.wav"_s, 4, 900'000, "6");
    window_.show();
    card_.look({card()});
    ASSERT_TRUE(waitUntil([this] { return card_.isVisible(); }));
    EXPECT_EQ(card_.text(), u"Take 5, three parts, sample-exact"_s);
    EXPECT_EQ(card_.accessibleName(), card_.text());
    desktop_.openPanelAnswer = {folder_.path(u"out"_s)};
    button().click();
    ASSERT_EQ(desktop_.alerts.size(), 1U);
    const QString made = folder_.path(u"out/A1_stitched.wav"_s);
    EXPECT_TRUE(desktop_.alerts.front().text.contains(made));
    EXPECT_EQ(chunkOf(readAll(made), "data"), audio(u"A1.wav"_s) + audio(u"A2.wav"_s) + audio(u"A3.wav"_s));
    EXPECT_EQ(namesIn(card()).size(), 4);
}

TEST_F(StitchCardTest, WhatDoesNotFitIsToldAndNotMade) {
    put(u"A1.wav"_s, 1, 500, "5");
    put(u"A2.wav"_s, 2, 2734, "5");
    window_.show();
    card_.look({card()});
    ASSERT_TRUE(waitUntil([this] { return card_.isVisible(); }));
    EXPECT_EQ(card_.text(), u"Take 5, two parts, gap of 1,234 samples"_s);
    EXPECT_FALSE(button().isEnabled());
    card_.look({});
    EXPECT_FALSE(card_.isVisible()) << "another source, without any";
}

} // namespace
} // namespace ostrel
