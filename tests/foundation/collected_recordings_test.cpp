#include "foundation/run/recording_list.h"

#include "support/test_folder.h"

#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::TestFolder;

class CollectedRecordingsTest : public ::testing::Test {
protected:
    QString write(const char* name) const { return folder_.write(QString::fromUtf8(name), "x"); }
    QString hardLink(const QString& to, const char* name) const {
        const QString path = folder_.path(QString::fromUtf8(name));
        EXPECT_EQ(::link(QFile::encodeName(to).constData(), QFile::encodeName(path).constData()), 0);
        return path;
    }
    QString link(const QString& to, const char* name) const {
        const QString path = folder_.path(QString::fromUtf8(name));
        EXPECT_TRUE(QFile::link(to, path));
        return path;
    }
    QString path(const char* relative) const { return folder_.path() + u'/' + QString::fromUtf8(relative); }

    QStringList collected(const QStringList& selection, bool recursive = true) const {
        QStringList names;
        for (const QString& file : collectRecordings(selection, recursive, {QStringLiteral("wav")}).files) {
            names << file.mid(folder_.path().size() + 1);
        }
        return names;
    }

    TestFolder folder_;
};

TEST_F(CollectedRecordingsTest, AFolderItsSubfolderAndAFileOfIt) {
    write("in/b.wav");
    write("in/sub/a.wav");
    write("in/T10.wav");
    write("in/T2.wav");
    EXPECT_EQ(collected({path("in"), path("in/sub"), path("in/b.wav")}).join(u' '),
              QStringLiteral("in/b.wav in/sub/a.wav in/T2.wav in/T10.wav"));
    EXPECT_EQ(collected({path("in/T10.wav"), path("in/sub"), path("in")}).join(u' '),
              QStringLiteral("in/T10.wav in/sub/a.wav in/b.wav in/T2.wav"));
    EXPECT_EQ(collected({path("in"), path("in/sub")}, false).join(u' '),
              QStringLiteral("in/b.wav in/T2.wav in/T10.wav in/sub/a.wav"));
}

TEST_F(CollectedRecordingsTest, TwoHardLinksInOneFolderAreOneRecording) {
    const QString a = write("in/a.wav");
    const QString b = hardLink(a, "in/b.wav");
    const CollectedRecordings found = collectRecordings({path("in"), path("in")}, true, {QStringLiteral("wav")});
    EXPECT_EQ(found.files, QStringList{a});
    EXPECT_EQ(found.remarks, QStringList{QStringLiteral("%1 is the same file as %2 and taken once").arg(b, a)});
}

TEST_F(CollectedRecordingsTest, TheWalkLeavesLinksOutSoThatALoopEnds) {
    write("in/a.wav");
    link(path("in"), "in/loop");
    link(path("in/a.wav"), "in/soft.wav");
    EXPECT_EQ(collected({path("in")}), QStringList{QStringLiteral("in/a.wav")});
    link(path("in"), "door"); // by hand, a link to a folder opens
    EXPECT_EQ(collected({path("door")}), QStringList{QStringLiteral("door/a.wav")});
    EXPECT_EQ(collected({path("door"), path("in")}), QStringList{QStringLiteral("door/a.wav")});
}

TEST_F(CollectedRecordingsTest, WhatIsNotWantedAndWhatCannotBeOpened) {
    const QString a = write("a.WAV");
    const QString notes = write("notes.txt");
    const CollectedRecordings found = collectRecordings({notes, a, path("gone")}, true, {QStringLiteral("wav")});
    EXPECT_EQ(found.files, QStringList{a});
    EXPECT_EQ(found.unopened, QStringList{path("gone")});
    EXPECT_EQ(collected({path("gone.wav")}), QStringList{QStringLiteral("gone.wav")}) << "its job says what is wrong";
    EXPECT_EQ(collectRecordings({notes}, true, {}).files, QStringList{notes});
}

} // namespace
} // namespace ostrel
