// The certificate of a run, from a job's document to the page.
#include "cli/command.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class ReportProof : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return folder.path(relative); }
    // The document of a split, kept as a file.
    QString runOf(const QStringList& options) const {
        folder.write(u"poly.wav"_s, waveBytes({.channels = 2, .frames = 4800}));
        const CliRun run = runCli(QStringList{u"split"_s, u"--engine"_s, u"direct"_s, u"--json"_s, u"--folders"_s,
                                              u"flat"_s, u"--output"_s, path(u"isos"_s)} +
                                  options + QStringList{path(u"poly.wav"_s)});
        EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
        return folder.write(u"run.json"_s, run.out.toUtf8());
    }

    TestFolder folder;
};

TEST_F(ReportProof, MakesAPageOfAProvenRunAndReplacesNone) {
    const QString run = runOf({u"--proof"_s});
    const QString page = path(u"page.html"_s);
    EXPECT_EQ(runCli({u"report-proof"_s, run, u"--html"_s, page}).exitStatus, 0);
    const QByteArray text = testing::readAll(page);
    EXPECT_TRUE(text.contains("✓ Certified: every channel of 1 item")) << text.toStdString();
    EXPECT_TRUE(text.contains("<td>poly.wav</td><td>2</td>"));
    EXPECT_NE(runCli({u"report-proof"_s, run, u"--html"_s, page}).exitStatus, 0);
    EXPECT_EQ(testing::readAll(page), text);
    EXPECT_EQ(runCli({u"report-proof"_s, run, u"--overwrite"_s, u"--html"_s, page}).exitStatus, 0);
}

TEST_F(ReportProof, ARunWithoutProofAndOtherFilesGetNoPage) {
    const QString page = path(u"page.html"_s);
    const CliRun unproven = runCli({u"report-proof"_s, runOf({}), u"--html"_s, page});
    EXPECT_EQ(unproven.exitStatus, 1);
    EXPECT_TRUE(unproven.err.contains(u"repeat it with --proof"_s)) << unproven.err.toStdString();
    EXPECT_EQ(runCli({u"report-proof"_s, path(u"poly.wav"_s), u"--html"_s, page}).exitStatus, 1);
    EXPECT_EQ(runCli({u"report-proof"_s, path(u"run.json"_s), u"--html"_s, path(u"run.json"_s)}).exitStatus, 2);
    EXPECT_FALSE(QFile::exists(page));
    // Nor does a recording become one.
    const QByteArray recording = testing::readAll(path(u"poly.wav"_s));
    const QString proven = runOf({u"--proof"_s, u"--overwrite"_s});
    EXPECT_EQ(runCli({u"report-proof"_s, proven, u"--overwrite"_s, u"--html"_s, path(u"poly.wav"_s)}).exitStatus, 2);
    EXPECT_EQ(testing::readAll(path(u"poly.wav"_s)), recording);
}

} // namespace
} // namespace ostrel
