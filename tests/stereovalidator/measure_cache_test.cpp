#include "platform/paths.h"
#include "stereovalidator/measure_cache.h"
#include "stereovalidator/native_stereo_analyzer.h"
#include "stereovalidator/stereo_reference.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using testing::kRate;

class MeasureCacheTest : public ::testing::Test {
protected:
    QString write(const QString& name, double right) {
        const testing::StereoSignal signal = testing::scaled(1, right);
        const auto sample = [&](int channel, qint64 frame) {
            return channel == 0 ? signal(frame).left : signal(frame).right;
        };
        return testing::writeSound(folder_.path(name), 2, 3 * kRate, sample, kRate, testing::SampleFormat::float32);
    }
    StereoValidatorResult analyzed(const QString& file, bool gathersEvidence = true) {
        StereoValidatorOptions options;
        options.gathersEvidence = gathersEvidence;
        const AnalysisResult batch = NativeStereoAnalyzer(QString(), path_).analyzeFiles({file}, options);
        return batch.results.at(0);
    }
    // Whether the database answers for the file as it stands.
    bool knows(const QString& file, bool wantsEvidence = true) {
        return MeasureCache(path_).find(file, *FileStamp::of(file), wantsEvidence).has_value();
    }

    testing::TestFolder folder_;
    QString path_ = folder_.path(QStringLiteral("cache/measures.sqlite"));
};

TEST_F(MeasureCacheTest, GivesBackAllThatWasMeasured) {
    const QString file = write(QStringLiteral("a.wav"), 0.5);
    StereoValidatorOptions options;
    options.gathersEvidence = true;
    const MeasuredFile measured = NativeStereoAnalyzer().measureFile(file, options);
    const FileStamp stamp = *FileStamp::of(file);
    MeasureCache(path_).keep(file, stamp, measured);
    const std::optional<MeasuredFile> known = MeasureCache(path_).find(file, stamp, true);
    ASSERT_TRUE(known);
    EXPECT_EQ(known->measures, measured.measures);
    EXPECT_EQ(*known->evidence, *measured.evidence);
    EXPECT_EQ(known->pair, measured.pair);
    StereoValidatorResult before = resultOf(file, measured, options);
    StereoValidatorResult after = resultOf(file, *known, options);
    EXPECT_EQ(after.classification, before.classification);
    EXPECT_EQ(after.why, before.why);
    EXPECT_EQ(after.durationSeconds, before.durationSeconds);
}

// The bytes of the file are made others behind the database's back, with the stamp that it had: whoever answers as
// before has not read them.
TEST_F(MeasureCacheTest, ReadsNoKnownFileAgain) {
    const QString file = write(QStringLiteral("a.wav"), 1);
    EXPECT_EQ(analyzed(file).classification, StereoClassification::dualMono);
    EXPECT_TRUE(knows(file));
    {
        MeasureCache cache(path_);
        auto known = cache.find(file, *FileStamp::of(file), true);
        known->measures.correlation = -1;
        known->measures.msRatio = 1e6;
        cache.keep(file, *FileStamp::of(file), *known);
    }
    EXPECT_EQ(analyzed(file).classification, StereoClassification::broken);
}

TEST_F(MeasureCacheTest, NeverAnswersForAFileThatChanged) {
    const QString file = write(QStringLiteral("a.wav"), 1);
    analyzed(file);
    ASSERT_TRUE(knows(file));
    struct stat before {};
    ASSERT_EQ(::stat(QFile::encodeName(file).constData(), &before), 0);
    write(QStringLiteral("a.wav"), -1); // as long as it was, and dated back
    const timespec times[]{before.st_atim, before.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(file).constData(), times, 0), 0);
    EXPECT_FALSE(knows(file));
    EXPECT_EQ(analyzed(file).classification, StereoClassification::broken);
    EXPECT_TRUE(knows(file));
}

TEST_F(MeasureCacheTest, MeasuresAgainWhereEvidenceIsWanted) {
    const QString file = write(QStringLiteral("a.wav"), 1);
    EXPECT_FALSE(analyzed(file, false).evidence);
    EXPECT_TRUE(knows(file, false));
    EXPECT_FALSE(knows(file, true));
    EXPECT_TRUE(analyzed(file, true).evidence);
    EXPECT_TRUE(knows(file, true));
    EXPECT_FALSE(analyzed(file, false).trust); // nobody asked
}

TEST_F(MeasureCacheTest, IsMadeAnewWhereItIsDamaged) {
    const QString file = write(QStringLiteral("a.wav"), 1);
    analyzed(file);
    QFile database(path_);
    ASSERT_TRUE(database.open(QIODevice::WriteOnly));
    database.write(QByteArray(5000, 'x'));
    database.close();
    EXPECT_EQ(analyzed(file).classification, StereoClassification::dualMono);
    EXPECT_TRUE(knows(file));
}

TEST_F(MeasureCacheTest, StopsNothingWhereItIsLocked) {
    const QString file = write(QStringLiteral("a.wav"), 1);
    const QString other = write(QStringLiteral("b.wav"), 1);
    analyzed(file);
    {
        QSqlDatabase holder = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("holder"));
        holder.setDatabaseName(path_);
        ASSERT_TRUE(holder.open());
        QSqlQuery query(holder);
        ASSERT_TRUE(query.exec(QStringLiteral("BEGIN EXCLUSIVE")));
        EXPECT_EQ(analyzed(other).classification, StereoClassification::dualMono);
        EXPECT_TRUE(QFile::exists(path_));
        query.exec(QStringLiteral("ROLLBACK"));
    }
    QSqlDatabase::removeDatabase(QStringLiteral("holder"));
    EXPECT_TRUE(knows(file)); // what it held is still there
    EXPECT_FALSE(knows(other));
}

TEST_F(MeasureCacheTest, StopsNothingWhereItCannotBeMade) {
    path_ = paths::append(folder_.write(QStringLiteral("in the way"), "text"), QStringLiteral("measures.sqlite"));
    EXPECT_EQ(analyzed(write(QStringLiteral("a.wav"), 1)).classification, StereoClassification::dualMono);
}

} // namespace
} // namespace ostrel
