#include "platform/files/file_name.h"

#include "support/test_folder.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

QString utf8(const char* text) { return QString::fromUtf8(text); }

// What every name must be, whatever it was made from.
void expectUsable(const QString& name, qsizetype mostBytes = kMostNameBytes) {
    const QByteArray bytes = name.toUtf8();
    EXPECT_LE(bytes.size(), mostBytes);
    EXPECT_FALSE(name.isEmpty());
    EXPECT_NE(name, QStringLiteral("."));
    EXPECT_NE(name, QStringLiteral(".."));
    EXPECT_FALSE(name.contains(u'/') || name.contains(QChar(u'\0')));
    EXPECT_EQ(QString::fromUtf8(bytes), name) << "half a letter";
}

TEST(FileName, WhatFitsStaysAsItIs) {
    for (const char* stem : {"Take 1", "ends.with.points..", "blank at the end ", "Zoé & 録音", "a\nb", ".hidden"}) {
        EXPECT_EQ(fittedFileName(utf8(stem), utf8(".wav")), utf8(stem) + utf8(".wav"));
        EXPECT_EQ(fittedFileName(utf8(stem), QString()), utf8(stem));
    }
    const QString full(251, u'x');
    EXPECT_EQ(fittedFileName(full, utf8(".wav")), full + utf8(".wav"));
}

TEST(FileName, TheStemIsCutAndTheEndingStays) {
    EXPECT_EQ(fittedFileName(QString(252, u'x'), utf8(".wav")), QString(251, u'x') + utf8(".wav"));
    EXPECT_EQ(fittedFileName(QString(900, u'x'), utf8("_mono_12.wav")), QString(243, u'x') + utf8("_mono_12.wav"));
    EXPECT_EQ(fittedFileName(utf8("abcdef"), utf8(".wav"), 7), utf8("abc.wav"));
}

TEST(FileName, LettersAreNeverCut) {
    struct Case {
        const char* letter;
        int whole; // of them, in the 251 bytes ahead of ".wav"
    };
    const Case cases[] = {
        {"é", 125},              // 2 bytes
        {"録", 83},              // 3
        {"🎙", 62},            // 4, a surrogate pair in UTF-16
        {"e\u0301", 83},         // a letter and its accent, 3 bytes
        {"👩🏽‍🎤", 16}, // a person, a skin tone, a joiner and a microphone, 15 bytes
        {"🇩🇪", 31},              // two code points that are one flag, 8 bytes
    };
    for (const Case& each : cases) {
        const QString letter = utf8(each.letter);
        const QString name = fittedFileName(letter.repeated(200), utf8(".wav"));
        expectUsable(name);
        EXPECT_EQ(name, letter.repeated(each.whole) + utf8(".wav")) << each.letter;
    }
}

TEST(FileName, OneLetterLongerThanANameIsCutBetweenItsCodePoints) {
    const QString letter = utf8("a") + QString(150, QChar(0x0301)); // 301 bytes, one letter to a person
    const QString name = fittedFileName(letter, utf8(".wav"));
    expectUsable(name);
    EXPECT_EQ(name, letter.first(126) + utf8(".wav"));                 // 1 + 125 * 2 bytes
    const QString family = utf8("👩🏽‍🎤\u200d").repeated(20); // joined into one
    expectUsable(fittedFileName(family, utf8(".wav")));
    EXPECT_GT(fittedFileName(family, utf8(".wav")).toUtf8().size(), 240);
}

TEST(FileName, AWholeLetterGoesRatherThanAPartOfItWhereThereAreOthers) {
    const QString letter = utf8("a") + QString(150, QChar(0x0301));
    EXPECT_EQ(fittedFileName(utf8("T1_") + letter, utf8(".wav")), utf8("T1_.wav"));
}

TEST(FileName, AnEndingWithoutRoomIsCutLikeAStem) {
    const QString name = fittedFileName(utf8("x"), utf8("é").repeated(200));
    expectUsable(name);
    EXPECT_EQ(name, utf8("é").repeated(127));
    expectUsable(fittedFileName(utf8("🎙"), QString(253, u'e'))); // no room for the first letter of the stem
}

TEST(FileName, NamesThatLeadElsewhereAreReplaced) {
    EXPECT_EQ(fittedFileName(QString(), QString()), utf8("-"));
    EXPECT_EQ(fittedFileName(utf8("."), QString()), utf8("-"));
    EXPECT_EQ(fittedFileName(utf8("."), utf8(".")), utf8("--"));
    EXPECT_EQ(fittedFileName(utf8("..."), QString()), utf8("..."));
    EXPECT_EQ(fittedFileName(utf8("../etc/x"), utf8("/.wav")), utf8("..-etc-x-.wav"));
    EXPECT_EQ(fittedFileName(QString(2, QChar(u'\0')), utf8(".wav")), utf8("--.wav"));
}

TEST(FileName, HalfASurrogatePairIsNoLetter) {
    expectUsable(fittedFileName(QString(QChar(0xD83C)) + utf8("x") + QChar(0xDF99), utf8(".wav")));
    expectUsable(fittedFileName(QString(200, QChar(0xD83C)), utf8(".wav")));
}

TEST(FileName, AFileSystemTakesThem) {
    const testing::TestFolder folder;
    for (const QString& stem :
         {utf8("🎙").repeated(150), utf8("👩🏽‍🎤").repeated(150), QString(400, QChar(u'é')),
          utf8("a") + QString(300, QChar(0x0301)), QString(QChar(0xD83C)), utf8("..")}) {
        const QString name = fittedFileName(stem, utf8(".wav"));
        folder.write(name, "x");
        EXPECT_TRUE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).contains(name)) << name.toStdString();
    }
}

TEST(FileName, LongStemsOfEqualBeginningsStayApartWhereTheyAreLookedUp) {
    const QString one = QString(400, u'x') + u'1';
    const QString two = QString(400, u'x') + u'2';
    const QString ending = utf8(".wav.metadata.json");
    EXPECT_EQ(fittedFileName(one, ending), fittedFileName(two, ending));
    EXPECT_NE(distinctFileName(one, ending), distinctFileName(two, ending));
    EXPECT_EQ(distinctFileName(one, ending), distinctFileName(one, ending));
    EXPECT_TRUE(distinctFileName(one, ending).endsWith(ending));
    expectUsable(distinctFileName(one, ending, 248), 248);
    EXPECT_EQ(distinctFileName(utf8("A.B"), ending), utf8("A.B.wav.metadata.json"));
}

TEST(FileName, KeysAreEqualWhereSomeFileSystemTakesTwoNamesForOne) {
    EXPECT_EQ(fileNameKey(utf8("Boom.WAV")), fileNameKey(utf8("bOOM.wav")));
    EXPECT_EQ(fileNameKey(utf8("Zo\u00e9")), fileNameKey(utf8("Zoe\u0301")));
    EXPECT_EQ(fileNameKey(utf8("ZO\u00c9")), fileNameKey(utf8("zoe\u0301")));
    EXPECT_EQ(fileNameKey(utf8("\u1e9b\u0323")), fileNameKey(utf8("\u1e69"))); // marks that folding leaves unordered
    EXPECT_NE(fileNameKey(utf8("Zoé")), fileNameKey(utf8("Zoe")));
    EXPECT_NE(fileNameKey(utf8("Lav 1")), fileNameKey(utf8("Lav_1")));
}

} // namespace
} // namespace ostrel
