// Verdicts over the table of situations, and the document that is made of it.
#include "stereovalidator/native_stereo_analyzer.h"
#include "stereovalidator/verdict_situations.h"
#include "support/test_folder.h"

#include <QFile>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::Situation;
using testing::situations;

StereoValidatorOptions withEvidence() {
    StereoValidatorOptions options;
    options.gathersEvidence = true;
    return options;
}

StereoValidatorResult analyzed(const Situation& situation) {
    const testing::TestFolder folder;
    return NativeStereoAnalyzer().analyzeFile(testing::writeSituation(situation, folder.path()), withEvidence());
}

TEST(Verdicts, AreWhatTheTableSays) {
    EXPECT_GE(situations().size(), 60U);
    for (const Situation& situation : situations()) {
        const StereoValidatorResult result = analyzed(situation);
        const std::string why = result.why.join(QStringLiteral(" | ")).toStdString();
        SCOPED_TRACE(std::string(situation.name) + ": " + why);
        EXPECT_EQ(rawText(result.classification), rawText(situation.classification));
        ASSERT_TRUE(result.trust);
        EXPECT_EQ(rawText(*result.trust), rawText(situation.trust));
        EXPECT_NE(why.find(situation.why), std::string::npos) << situation.why;
        EXPECT_TRUE(result.trust != Trust::sure || situation.isRight);
        EXPECT_TRUE(result.trust != Trust::unsure || !situation.isPlain);
        EXPECT_TRUE(result.trust == Trust::sure || !why.empty());
    }
}

TEST(Verdicts, LeaveTheClassificationAsItIs) {
    const testing::TestFolder folder;
    for (const Situation& situation : situations()) {
        SCOPED_TRACE(situation.name);
        const QString file = testing::writeSituation(situation, folder.path());
        const StereoValidatorResult bare = NativeStereoAnalyzer().analyzeFile(file, {});
        StereoValidatorResult judged = NativeStereoAnalyzer().analyzeFile(file, withEvidence());
        EXPECT_FALSE(bare.trust || bare.evidence);
        judged.id = bare.id;
        judged.trust.reset();
        judged.why.clear();
        judged.evidence.reset();
        EXPECT_EQ(judged, bare);
    }
}

QString documentOfSituations() {
    QString text =
        QStringLiteral("# Verdicts, and how far to trust them\n\n"
                       "The classification goes by medians over the whole file, and stays what it is. The trust beside "
                       "it says whether the\n"
                       "evidence agrees: *sure*, *likely* or *unsure*, with the reason and the place. A source is "
                       "replaced by what was made\n"
                       "of it only where the verdict is sure.\n\n"
                       "Every line is a recording that the tests make and analyse with the recommended thresholds\n"
                       "(`tests/stereovalidator/verdict_situations.cpp`).\n\n"
                       "| Situation | A person would say | Classification | Trust | Why |\n|---|---|---|---|---|\n");
    for (const Situation& situation : situations()) {
        const StereoValidatorResult result = analyzed(situation);
        text += QStringLiteral("| %1 | %2 | %3 | %4 | %5 |\n")
                    .arg(QLatin1String(situation.name), QLatin1String(situation.personSays),
                         displayName(result.classification), result.trustText(), result.why.join(QStringLiteral("; ")));
    }
    return text;
}

TEST(Verdicts, StandInTheirDocument) {
    const QString path = QStringLiteral(OSTREL_SOURCE_FOLDER "/docs/verdicts.md");
    const QString text = documentOfSituations();
    if (qEnvironmentVariableIsSet("OSTREL_WRITE_VERDICTS")) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
        return;
    }
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(file.readAll()), text) << "OSTREL_WRITE_VERDICTS=1 writes it anew";
}

} // namespace
} // namespace ostrel
