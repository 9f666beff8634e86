// seal and verify from end to end.
#include "cli/command.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class SealedDay : public ::testing::Test {
protected:
    SealedDay() {
        folder_.write(QStringLiteral("Day/a.wav"), "first");
        folder_.write(QStringLiteral("Day/ISO/b.wav"), "second");
    }
    QString day() const { return folder_.path(QStringLiteral("Day")); }
    CliRun seal(const QStringList& options = {}) const {
        return runCli(QStringList{QStringLiteral("seal"), day()} + options);
    }
    CliRun verify(const QStringList& options = {}) const {
        return runCli(QStringList{QStringLiteral("verify"), day()} + options);
    }
    static nlohmann::json stateOf(const nlohmann::json& document, const char* path) {
        for (const nlohmann::json& file : document.at("files")) {
            if (file.at("path") == path) return file.at("state");
        }
        return nullptr;
    }

    TestFolder folder_;
};

TEST_F(SealedDay, IsVerified) {
    const CliRun sealed = seal({QStringLiteral("--json")});
    EXPECT_EQ(sealed.exitStatus, 0) << sealed.err.toStdString();
    const nlohmann::json list = sealed.json();
    EXPECT_EQ(list.at("job"), "seal");
    EXPECT_EQ(list.at("generation"), 1);
    EXPECT_EQ(list.at("summary").at("original"), 2);
    EXPECT_TRUE(QFile::exists(text(list.at("lists")[0])));
    const QStringList before = fingerprint(day());
    const CliRun verified = verify({QStringLiteral("--json")});
    EXPECT_EQ(verified.exitStatus, 0);
    const nlohmann::json document = verified.json();
    EXPECT_EQ(document.at("job"), "verify");
    EXPECT_EQ(document.at("generations"), 1);
    EXPECT_EQ(document.at("folder"), day().toStdString());
    EXPECT_EQ(stateOf(document, "ISO/b.wav"), "verified");
    EXPECT_EQ(document.at("summary").at("verified"), 2);
    EXPECT_EQ(fingerprint(day()), before);
}

TEST_F(SealedDay, TellsEveryDifferenceAndEndsWith1) {
    ASSERT_EQ(seal({QStringLiteral("--hash"), QStringLiteral("md5")}).exitStatus, 0);
    folder_.write(QStringLiteral("Day/a.wav"), "First");
    QFile::remove(folder_.path(QStringLiteral("Day/ISO/b.wav")));
    folder_.write(QStringLiteral("Day/c.wav"), "new");
    const CliRun verified = verify({QStringLiteral("--json")});
    EXPECT_EQ(verified.exitStatus, 1);
    EXPECT_EQ(stateOf(verified.json(), "a.wav"), "changed");
    EXPECT_EQ(stateOf(verified.json(), "ISO/b.wav"), "missing");
    EXPECT_EQ(stateOf(verified.json(), "c.wav"), "new");
    const QString words = verify().out;
    for (const char* line : {"changed: a.wav", "missing: ISO/b.wav", "new: c.wav"}) {
        EXPECT_TRUE(words.contains(QString::fromLatin1(line))) << words.toStdString();
    }
}

TEST_F(SealedDay, IsRecordedOnlyWhenToldTo) {
    ASSERT_EQ(seal().exitStatus, 0);
    EXPECT_EQ(verify().exitStatus, 0);
    EXPECT_EQ(verify({QStringLiteral("--json")}).json().at("generations"), 1);
    const CliRun recorded = verify({QStringLiteral("--record"), QStringLiteral("--json")});
    EXPECT_EQ(recorded.exitStatus, 0);
    EXPECT_TRUE(QFile::exists(text(recorded.json().at("recorded")[0])));
    EXPECT_EQ(verify({QStringLiteral("--json")}).json().at("generations"), 2);
}

TEST_F(SealedDay, IsToldWhereItsListIsDamaged) {
    const QString list = text(seal({QStringLiteral("--json")}).json().at("lists")[0]);
    folder_.write(QStringLiteral("Day/ascmhl/") + QFileInfo(list).fileName(), "damaged");
    const CliRun verified = verify({QStringLiteral("--json")});
    EXPECT_EQ(verified.exitStatus, 1);
    EXPECT_TRUE(text(verified.json().at("faults")[0]).contains(QStringLiteral("Generation 1 is damaged")));
    const CliRun again = seal();
    EXPECT_EQ(again.exitStatus, 1);
    EXPECT_TRUE(again.err.contains(QStringLiteral("nothing was written")));
}

TEST_F(SealedDay, PassesOverPatterns) {
    folder_.write(QStringLiteral("Day/x.tmp"), "x");
    folder_.write(QStringLiteral("Day/Trash/y.wav"), "y");
    ASSERT_EQ(seal({QStringLiteral("--ignore"), QStringLiteral("*.tmp"), QStringLiteral("--ignore"),
                    QStringLiteral("Trash/")})
                  .exitStatus,
              0);
    const CliRun verified = verify({QStringLiteral("--json")});
    EXPECT_EQ(verified.exitStatus, 0);
    EXPECT_EQ(verified.json().at("files").size(), 2U);
}

TEST_F(SealedDay, NeedsAListAndAFolder) {
    EXPECT_EQ(verify().exitStatus, 1);
    EXPECT_TRUE(verify().err.contains(QStringLiteral("never sealed")));
    EXPECT_EQ(runCli({QStringLiteral("seal"), folder_.path() + QStringLiteral("/none")}).exitStatus, 2);
    EXPECT_EQ(runCli({QStringLiteral("seal"), folder_.path(QStringLiteral("Day/a.wav"))}).exitStatus, 2);
    EXPECT_EQ(seal({QStringLiteral("--hash"), QStringLiteral("crc")}).exitStatus, 2);
    EXPECT_EQ(runCli({QStringLiteral("verify"), folder_.path() + QStringLiteral("/none")}).exitStatus, 2);
}

} // namespace
} // namespace ostrel
