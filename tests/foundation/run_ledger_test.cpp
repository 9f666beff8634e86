#include "foundation/run/run_ledger.h"

#include "foundation/run/recording_list.h"
#include "platform/files/new_file.h"
#include "support/own_state.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

using namespace testing;

class RunLedgerTest : public ::testing::Test {
protected:
    QString path(const char* name) const { return folder.path(QString::fromUtf8(name)); }
    QString write(const char* name, const QByteArray& contents = "audio") const {
        return folder.write(QString::fromUtf8(name), contents);
    }
    void expectRefused(const WritePermission& permission, const QString& reason) const {
        EXPECT_EQ(permission.kind, WritePermission::Kind::refused);
        EXPECT_EQ(permission.reason, reason);
        EXPECT_FALSE(permission.isGranted() || permission.replaces);
    }

    TestFolder folder;
};

TEST_F(RunLedgerTest, RulesOfExistingOutputs) {
    EXPECT_EQ(existingOutputRule(true, false), ExistingOutput::skipped);
    EXPECT_EQ(existingOutputRule(true, true), ExistingOutput::skipped);
    EXPECT_EQ(existingOutputRule(false, true), ExistingOutput::replaced);
    EXPECT_EQ(existingOutputRule(false, false), ExistingOutput::refused);
}

TEST_F(RunLedgerTest, AFreeNameIsGrantedUnderEveryRule) {
    const RunLedger ledger;
    for (const ExistingOutput rule : {ExistingOutput::skipped, ExistingOutput::refused, ExistingOutput::replaced}) {
        const WritePermission permission = ledger.mayWrite(path("new.wav"), rule);
        EXPECT_TRUE(permission.isGranted());
        EXPECT_FALSE(permission.replaces);
        EXPECT_TRUE(permission.reason.isEmpty());
    }
}

TEST_F(RunLedgerTest, AnExistingFileGoesByTheRule) {
    const RunLedger ledger;
    const QString there = write("there.wav");
    const WritePermission skipped = ledger.mayWrite(there, ExistingOutput::skipped);
    EXPECT_EQ(skipped.kind, WritePermission::Kind::exists);
    EXPECT_EQ(skipped.reason, QStringLiteral("there.wav is there already"));
    const WritePermission off = ledger.mayWrite(there, ExistingOutput::refused);
    EXPECT_EQ(off.kind, WritePermission::Kind::overwriteOff);
    EXPECT_EQ(off.reason, QStringLiteral("Output exists, overwrite disabled: there.wav"));
    EXPECT_FALSE(off.isGranted() || off.replaces);
    const WritePermission replaced = ledger.mayWrite(there, ExistingOutput::replaced);
    EXPECT_TRUE(replaced.isGranted() && replaced.replaces);
}

TEST_F(RunLedgerTest, AnEmptyFileIsNoFinishedOutput) {
    const RunLedger ledger;
    const QString empty = write("empty.wav", "");
    expectRefused(ledger.mayWrite(empty, ExistingOutput::skipped), QStringLiteral("empty.wav is there and empty"));
    expectRefused(ledger.mayWrite(empty, ExistingOutput::refused), QStringLiteral("empty.wav is there and empty"));
    EXPECT_TRUE(ledger.mayWrite(empty, ExistingOutput::replaced).isGranted());
}

TEST_F(RunLedgerTest, WhatIsNoFileIsNeverReplaced) {
    const RunLedger ledger;
    path("folder.wav/inside");
    ASSERT_TRUE(QFile::link(QStringLiteral("/nowhere/at all"), path("nowhere.wav")));
    for (const ExistingOutput rule : {ExistingOutput::skipped, ExistingOutput::refused, ExistingOutput::replaced}) {
        expectRefused(ledger.mayWrite(path("folder.wav"), rule), QStringLiteral("folder.wav is there and is no file"));
        expectRefused(ledger.mayWrite(path("nowhere.wav"), rule),
                      QStringLiteral("nowhere.wav is there and is no file"));
    }
}

TEST_F(RunLedgerTest, ASourceIsRefusedByNameAndThroughLinksOfBothKinds) {
    const QString source = write("in/a.wav");
    ASSERT_TRUE(QFile::link(source, path("out/symbolic.wav")));
    ASSERT_EQ(::link(QFile::encodeName(source).constData(), QFile::encodeName(path("out/hard.wav")).constData()), 0);
    ASSERT_TRUE(QFile::link(path("in"), path("way")));
    const RunLedger ledger({source});
    for (const char* name : {"in/a.wav", "out/symbolic.wav", "out/hard.wav", "way/a.wav", "out/../in/a.wav"}) {
        const QString last = QString::fromUtf8(name).section(u'/', -1);
        expectRefused(ledger.mayWrite(folder.path() + u'/' + QString::fromUtf8(name), ExistingOutput::replaced),
                      last + QStringLiteral(" would replace a source of this run"));
    }
    QFile::remove(source); // its name stays its own
    expectRefused(ledger.mayWrite(source, ExistingOutput::replaced),
                  QStringLiteral("a.wav would replace a source of this run"));
}

TEST_F(RunLedgerTest, AnOutputOfAnotherItemIsRefusedUnderEveryNameAndRule) {
    RunLedger ledger;
    const QString written = write("out/a.wav");
    ledger.noteWritten(written);
    EXPECT_EQ(ledger.written(), QStringList{written});
    ASSERT_TRUE(QFile::link(path("out"), path("way")));
    ASSERT_EQ(::link(QFile::encodeName(written).constData(), QFile::encodeName(path("hard.wav")).constData()), 0);
    for (const ExistingOutput rule : {ExistingOutput::skipped, ExistingOutput::refused, ExistingOutput::replaced}) {
        for (const char* name : {"out/a.wav", "way/a.wav"}) {
            expectRefused(ledger.mayWrite(folder.path() + u'/' + QString::fromUtf8(name), rule),
                          QStringLiteral("Another item of this run already wrote a.wav"));
        }
        expectRefused(ledger.mayWrite(path("hard.wav"), rule),
                      QStringLiteral("Another item of this run already wrote hard.wav"));
    }
    EXPECT_TRUE(ledger.mayWrite(path("out/b.wav"), ExistingOutput::refused).isGranted());
}

TEST_F(RunLedgerTest, ABystanderIsReplacedOnlyByTheItemThatMadeIt) {
    const QString other = write("other.wav");
    const RunLedger ledger({}, {other});
    const QString why = QStringLiteral("other.wav is in the selection and no earlier output of this item");
    expectRefused(ledger.mayWrite(other, ExistingOutput::replaced), why);
    expectRefused(ledger.mayWrite(other, ExistingOutput::replaced, [] { return false; }), why);
    const WritePermission own = ledger.mayWrite(other, ExistingOutput::replaced, [] { return true; });
    EXPECT_TRUE(own.isGranted() && own.replaces);
    EXPECT_EQ(ledger.mayWrite(other, ExistingOutput::skipped).kind, WritePermission::Kind::exists);
    bool wasAsked = false;
    ledger.mayWrite(write("unknown.wav"), ExistingOutput::replaced, [&] { return wasAsked = true; });
    EXPECT_FALSE(wasAsked); // to compare costs time
}

TEST_F(RunLedgerTest, ForeseesWhatARunWouldRefuse) {
    const QString source = write("a.wav");
    const RunLedger ledger({source});
    const std::vector<QString> reasons = ledger.foresee({{path("out/1.wav"), path("out/2.wav")},
                                                         {path("out/3.wav"), path("out/2.wav")},
                                                         {source, path("out/4.wav")},
                                                         {},
                                                         {path("out/4.wav")},
                                                         {path("out/3.wav")}});
    const QStringList expected{QString(),
                               QStringLiteral("Another item of this run already wrote 2.wav"),
                               QStringLiteral("a.wav would replace a source of this run"),
                               QString(),
                               QString(), // the item ahead of it makes none of its files
                               QString()};
    EXPECT_EQ(QStringList(reasons.begin(), reasons.end()), expected);
    EXPECT_TRUE(ledger.written().isEmpty());
}

TEST_F(RunLedgerTest, AFolderIsMadeAndClearedOnce) {
    const OwnState state;
    RunLedger ledger;
    const QString out = folder.path() + QStringLiteral("/deep/out");
    EXPECT_TRUE(ledger.prepareFolder(out).isEmpty());
    EXPECT_TRUE(QFileInfo(out).isDir());
    const QString first = privatePath(out, QStringLiteral("wav"));
    QFile(first).open(QIODevice::WriteOnly);
    EXPECT_TRUE(ledger.prepareFolder(out).isEmpty()); // this run has looked
    EXPECT_TRUE(QFile::exists(first));
    EXPECT_EQ(RunLedger().prepareFolder(out),
              QStringList{QStringLiteral("Removed an unfinished file of an earlier run: ") + first});
    EXPECT_FALSE(QFile::exists(first));
    write("file");
    EXPECT_THROW(ledger.prepareFolder(path("file")), FileError);
}

} // namespace
} // namespace ostrel
