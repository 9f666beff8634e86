#include "metadata/metadata_engine.h"

#include "metadata/scripted_bwfmetaedit.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/text/regular_expression.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::fingerprintOf;
using testing::readAll;

const QByteArray kXml = R"(<?xml version="1.0"?>
<conformance_point_document>
 <File name="/takes/source.wav">
  <Core><Description>gSCENE=2C</Description></Core>
 </File>
</conformance_point_document>
)";
const QByteArray kTable =
    "FileName,Description,Originator,OriginatorReference,OriginationDate,OriginationTime,TimeReference "
    "(translated),TimeReference,BextVersion\n";

class MetadataEngineTest : public ::testing::Test {
protected:
    QString source() const { return source_; }
    QString target() const { return target_; }
    MetadataEngine engine() const { return MetadataEngine(tool_.path(), QStringLiteral("SESSION-1")); }
    QStringList documents() const { return QDir(engine().sessionTempFolder()).entryList(QDir::Files); }

    testing::TestFolder folder_;
    testing::ScriptedBwfmetaedit tool_{folder_, QStringLiteral("tools 'x'")};
    QString source_ = folder_.write(QStringLiteral("takes/source.wav"), "the only copy");
    QString target_ = folder_.write(QStringLiteral("out/-t $1 (a)\\&.wav"), "an output");
    QString before_ = fingerprintOf(source_);

    void TearDown() override {
        EXPECT_EQ(fingerprintOf(source_), before_);
        engine().cleanup();
    }
};

TEST_F(MetadataEngineTest, TheSessionFolderLivesFromTheConstructorToCleanup) {
    const MetadataEngine made = engine();
    EXPECT_EQ(made.sessionTempFolder(), cacheFolder() + QStringLiteral("/SESSION-1"));
    EXPECT_TRUE(QFileInfo(made.sessionTempFolder()).isDir());
    EXPECT_EQ(made.bwfmetaeditPath(), tool_.path());
    made.cleanup();
    EXPECT_FALSE(QFile::exists(made.sessionTempFolder()));
    made.cleanup();
}

TEST_F(MetadataEngineTest, ACopyIsAnExportAndAnImportOfTheReaimedDocument) {
    tool_.provide(QStringLiteral("export"), kXml);
    EXPECT_EQ(engine().copyMetadata(source(), target()),
              (MetadataResult{true, QStringLiteral("Metadata imported successfully")}));
    const auto calls = tool_.calls();
    ASSERT_EQ(calls.size(), 2u);
    const QString document = calls[0][0].mid(QStringLiteral("--out-core=").size());
    EXPECT_TRUE(RegularExpression(u'^' + RegularExpression::escaped(engine().sessionTempFolder()) +
                                  QStringLiteral("/[0-9A-F-]{36}\\.xml$"))
                    .matches(document))
        << document.toStdString();
    EXPECT_EQ(calls[0], QStringList({QStringLiteral("--out-core=") + document, source()}));
    EXPECT_EQ(calls[1], QStringList({QStringLiteral("--in-core=") + document, target()}));
    EXPECT_FALSE(QFile::exists(document));
}

TEST_F(MetadataEngineTest, TheImportedDocumentNamesTheTargetAsItStandsAndNotTheSource) {
    tool_.provide(QStringLiteral("export"), kXml);
    engine().copyMetadata(source(), target());
    QByteArray expected = kXml;
    expected.replace("/takes/source.wav", "-t $1 (a)\\&.wav");
    EXPECT_EQ(tool_.imported(), expected);
    EXPECT_EQ(tool_.workingFolders().last(), QFileInfo(target()).canonicalPath());
}

TEST_F(MetadataEngineTest, AnImportChangesTheTargetAndNeverTheSource) {
    // The fake writes to whatever the document names, as the original does.
    tool_.provide(QStringLiteral("export"), QByteArray(kXml).replace("/takes/source.wav", source().toUtf8()));
    engine().copyMetadata(source(), target());
    EXPECT_EQ(readAll(target()), "an outputx");
}

TEST_F(MetadataEngineTest, ACsvDocumentWithAMultiLineDescriptionIsReaimedToo) {
    tool_.provide(QStringLiteral("export"),
                  "FileName,Description\n\"" + source().toUtf8() + "\",\"gSCENE=2C\r\ngTAKE=1\n\"\"x\"\",y\"\n");
    EXPECT_TRUE(engine().copyMetadata(source(), target()).success);
    EXPECT_EQ(tool_.imported(),
              "FileName,Description\n\"" + target().toUtf8() + "\",\"gSCENE=2C\r\ngTAKE=1\n\"\"x\"\",y\"\n");
    EXPECT_EQ(readAll(target()), "an outputx");
}

TEST_F(MetadataEngineTest, ASourceWithoutBextIsStillASuccessIfTheOutputHoldsATimeReference) {
    tool_.failing(QStringLiteral("export"), 1, "no bext\n");
    tool_.provide(QStringLiteral("table"), kTable + "t.wav,,,,,,,172800000,1\n");
    EXPECT_EQ(engine().copyMetadata(source(), target()),
              (MetadataResult{true, QStringLiteral("Metadata preserved (via ffmpeg)")}));
    const auto calls = tool_.calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1], QStringList({QStringLiteral("--out-core=-"), target()}));
}

TEST_F(MetadataEngineTest, AFailedExportCarriesTheToolsWords) {
    tool_.failing(QStringLiteral("export"), 1, "line one\nline two\n");
    EXPECT_EQ(engine().copyMetadata(source(), target()),
              (MetadataResult{false, QStringLiteral("Failed to export CORE: line one\nline two\n")}));
    tool_.failing(QStringLiteral("export"), 1, "\xff\xfe");
    EXPECT_EQ(engine().copyMetadata(source(), target()).message,
              QStringLiteral("Failed to export CORE: Unknown error"));
}

TEST_F(MetadataEngineTest, AnExportThatMadeNoDocumentOrNoCoreDocumentCannotBeModified) {
    EXPECT_TRUE(engine()
                    .copyMetadata(source(), target())
                    .message.startsWith(QStringLiteral("Failed to modify CORE: Could not read ")));
    tool_.provide(QStringLiteral("export"), "<html>");
    EXPECT_EQ(engine().copyMetadata(source(), target()).message,
              QStringLiteral("Failed to modify CORE: the document is neither CORE CSV nor CORE XML"));
    tool_.provide(QStringLiteral("export"), "<?xml version=\"1.0\"?>\xff");
    EXPECT_EQ(engine().copyMetadata(source(), target()).message,
              QStringLiteral("Failed to modify CORE: the document is not UTF-8"));
    tool_.provide(QStringLiteral("table"), kTable + "t.wav,,,REF,,,,0,1\n");
    EXPECT_EQ(engine().copyMetadata(source(), target()),
              (MetadataResult{true, QStringLiteral("Metadata preserved (via ffmpeg)")}));
    for (const QStringList& call : tool_.calls()) EXPECT_FALSE(call[0].startsWith(QStringLiteral("--in-core")));
}

TEST_F(MetadataEngineTest, AFailedImportFallsBackToWhatTheTargetHolds) {
    tool_.provide(QStringLiteral("export"), kXml);
    tool_.failing(QStringLiteral("import"), 1, "read-only\n");
    EXPECT_EQ(engine().copyMetadata(source(), target()), (MetadataResult{false, QStringLiteral("read-only\n")}));
    EXPECT_TRUE(documents().isEmpty());
    tool_.provide(QStringLiteral("table"), kTable + "t.wav,a description\n");
    EXPECT_EQ(engine().copyMetadata(source(), target()),
              (MetadataResult{true, QStringLiteral("Metadata preserved (via ffmpeg)")}));
}

// Neither a comma nor a line break within a field makes columns or rows of its own.
TEST_F(MetadataEngineTest, ATargetsNameOfManyPiecesIsNoMetadata) {
    tool_.failing(QStringLiteral("export"), 1, "no bext\n");
    tool_.provide(QStringLiteral("table"), kTable + "\"a,b,c,d,e,f,g,h.wav\",,,,,,,,\n");
    EXPECT_FALSE(engine().copyMetadata(source(), target()).success);
    tool_.provide(QStringLiteral("table"), kTable + "\"line\nbreak, and comma.wav\",,,,,,,,\n");
    EXPECT_FALSE(engine().copyMetadata(source(), target()).success);
    tool_.provide(QStringLiteral("table"), kTable + "\"line\nbreak, and comma.wav\",,,REF,,,,,\n");
    EXPECT_TRUE(engine().copyMetadata(source(), target()).success);
    tool_.provide(QStringLiteral("table"), kTable + "t.wav,\"two, with\r\nlines\",,,,,,0,\n");
    EXPECT_TRUE(engine().copyMetadata(source(), target()).success);
}

TEST_F(MetadataEngineTest, ACrashOfTheToolIsAFailure) {
    folder_.writeScript(QStringLiteral("tools 'x'/bwfmetaedit"), QStringLiteral("echo dying >&2; kill -SEGV $$"));
    EXPECT_EQ(engine().copyMetadata(source(), target()),
              (MetadataResult{false, QStringLiteral("Failed to export CORE: dying\n")}));
}

TEST_F(MetadataEngineTest, WhatCountsAsMetadataInTheTarget) {
    tool_.failing(QStringLiteral("export"), 1);
    const std::pair<const char*, bool> rows[] = {
        {",,,,,,,172800000", true},                                              // a time reference
        {",,,,,,, 0 ", false},                                                   // which is none
        {",,,,,,0", false},                                                      // seven cells only
        {",,,REF", true},                                                        // an originator's reference
        {",,, ,", false},           {"t.wav", false},      {"t.wav,text", true}, // two cells that hold something
        {"t.wav,,,,,,,0", true},    {"t.wav, ,\t", false}, {",,,,,,,", false},
    };
    for (const auto& [row, held] : rows) {
        tool_.provide(QStringLiteral("table"), "header\n\n" + QByteArray(row) + "\n");
        EXPECT_EQ(engine().copyMetadata(source(), target()).success, held) << row;
    }
    for (const char* output : {"", "header\n", "\n\nheader only\n\n", "header\n\xff,\xff,\xff,\xff\n"}) {
        tool_.provide(QStringLiteral("table"), output);
        EXPECT_FALSE(engine().copyMetadata(source(), target()).success) << output;
    }
}

TEST_F(MetadataEngineTest, AToolThatCannotBeStartedIsAnExceptionOfACopy) {
    const MetadataEngine broken(QStringLiteral("/nowhere/bwfmetaedit"), QStringLiteral("SESSION-1"));
    try {
        broken.copyMetadata(source(), target());
        FAIL();
    } catch (const MetadataError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Failed to launch bwfmetaedit: No such file or directory"));
    }
}

TEST(MetadataError, EveryCaseHasItsText) {
    using Kind = MetadataError::Kind;
    const auto text = [](Kind kind) { return MetadataError(kind, QStringLiteral("x")).errorDescription(); };
    EXPECT_EQ(text(Kind::processLaunchFailure), QStringLiteral("Failed to launch bwfmetaedit: x"));
    EXPECT_EQ(text(Kind::fileNotFound), QStringLiteral("File not found: x"));
    EXPECT_EQ(text(Kind::coreExportFailed), QStringLiteral("Failed to export CORE document"));
    EXPECT_EQ(text(Kind::coreImportFailed), QStringLiteral("Failed to import CORE document"));
}

// Field by field, onto many targets.

QStringList writtenFields(const QByteArray& xml) {
    const testing::TestFolder folder;
    const testing::ScriptedBwfmetaedit tool(folder, QStringLiteral("tools"));
    tool.provide(QStringLiteral("xml"), xml);
    const MetadataEngine engine(tool.path(), QStringLiteral("SESSION-2"));
    const auto results =
        engine.copyMetadataToMultiple(QStringLiteral("/takes/source.wav"), {QStringLiteral("/out/t.wav")});
    engine.cleanup();
    EXPECT_EQ(results.value(QStringLiteral("/out/t.wav")),
              (MetadataResult{true, QStringLiteral("Metadata applied successfully")}));
    const auto calls = tool.calls();
    EXPECT_EQ(calls.front(), QStringList({QStringLiteral("--out-core-xml=-"), QStringLiteral("/takes/source.wav")}));
    return calls.size() == 2 ? calls.back() : QStringList();
}

TEST(CopyMetadataToMultiple, WritesTheTablesFieldsInItsOrderWithoutTheCodingHistory) {
    EXPECT_EQ(
        writtenFields(
            "<ITCH>tech</ITCH><ICMT>note</ICMT><CodingHistory>A=PCM</CodingHistory><TimeReference>172800000</"
            "TimeReference>"
            "<OriginationTime>09:26:53</OriginationTime><OriginationDate>2026-03-14</OriginationDate>"
            "<OriginatorReference>REF</OriginatorReference><Originator>Rec</Originator><Description>d</Description>"
            "<Other>no</Other>"),
        QStringList({QStringLiteral("--Description=d"), QStringLiteral("--Originator=Rec"),
                     QStringLiteral("--OriginatorReference=REF"), QStringLiteral("--OriginationDate=2026-03-14"),
                     QStringLiteral("--OriginationTime=09:26:53"), QStringLiteral("--TimeReference=172800000"),
                     QStringLiteral("--ICMT=note"), QStringLiteral("--ITCH=tech"), QStringLiteral("/out/t.wav")}));
}

TEST(CopyMetadataToMultiple, AValueWithALineBreakIsCapturedWholeAndItsEntitiesDecoded) {
    EXPECT_EQ(
        writtenFields(
            "<Description> gSCENE=2C\r\ngTAKE=1 &amp; &#10;\n</Description><Description>second</Description>"),
        QStringList({QStringLiteral("--Description= gSCENE=2C\r\ngTAKE=1 & \n\n"), QStringLiteral("/out/t.wav")}));
}

TEST(CopyMetadataToMultiple, AnEmptyElementGivesNoKey) {
    EXPECT_EQ(writtenFields("<Description></Description><Originator>x</Originator>"),
              QStringList({QStringLiteral("--Originator=x"), QStringLiteral("/out/t.wav")}));
}

TEST(CopyMetadataToMultiple, NoFieldsStillLaunchTheToolWithTheTargetAlone) {
    EXPECT_EQ(writtenFields("<Core/>"), QStringList{QStringLiteral("/out/t.wav")});
    EXPECT_EQ(writtenFields("<CodingHistory>A=PCM</CodingHistory>"), QStringList{QStringLiteral("/out/t.wav")});
}

class CopyToMultiple : public MetadataEngineTest {
protected:
    const QStringList targets_{QStringLiteral("/out/a.wav"), QStringLiteral("/out/b.wav")};
};

TEST_F(CopyToMultiple, OneResultForEveryTarget) {
    tool_.provide(QStringLiteral("xml"), "<Originator>x</Originator>");
    tool_.failing(QStringLiteral("apply"), 2, "cannot write\n");
    const auto results = engine().copyMetadataToMultiple(source(), targets_);
    ASSERT_EQ(results.keys(), targets_);
    for (const MetadataResult& result : results)
        EXPECT_EQ(result, (MetadataResult{false, QStringLiteral("cannot write\n")}));
    EXPECT_EQ(tool_.calls().size(), 3u);
}

TEST_F(CopyToMultiple, AnEmptyListIsOneExtractionAndAnEmptyMap) {
    EXPECT_TRUE(engine().copyMetadataToMultiple(source(), {}).isEmpty());
    EXPECT_EQ(tool_.calls().size(), 1u);
}

TEST_F(CopyToMultiple, AFailedExtractionFailsEveryTarget) {
    const MetadataResult failed{false, QStringLiteral("Failed to extract metadata")};
    const auto expectFailed = [&](const MetadataEngine& by) {
        const auto results = by.copyMetadataToMultiple(source(), targets_);
        ASSERT_EQ(results.keys(), targets_);
        for (const MetadataResult& result : results) EXPECT_EQ(result, failed);
    };
    tool_.provide(QStringLiteral("xml"), "<Description>caf\xe9</Description>"); // not UTF-8
    expectFailed(engine());
    tool_.failing(QStringLiteral("xml"), 1, "no");
    expectFailed(engine());
    expectFailed(MetadataEngine(QStringLiteral("/nowhere/bwfmetaedit"), QStringLiteral("SESSION-1")));
}

TEST_F(CopyToMultiple, AToolThatGoesAwayMeanwhileFailsThatTargetOnly) {
    tool_.provide(QStringLiteral("xml"), "<Originator>x</Originator>");
    // The first apply takes the tool's rights away, then the second can't be started.
    folder_.writeScript(
        QStringLiteral("tools 'x'/bwfmetaedit"),
        QStringLiteral("case \"$1\" in --out*) echo '<Originator>x</Originator>' ;; *) rm \"$0\" ;; esac"));
    const auto results = engine().copyMetadataToMultiple(source(), targets_);
    EXPECT_EQ(results[targets_[0]], (MetadataResult{true, QStringLiteral("Metadata applied successfully")}));
    EXPECT_EQ(
        results[targets_[1]],
        (MetadataResult{false, QStringLiteral("Error: Failed to launch bwfmetaedit: No such file or directory")}));
}

TEST(CleanupOldSessions, WhatIsADayOldGoesYoungerSessionsSurviveTheManifestsStay) {
    const QString caches = cacheFolder();
    QDir(caches).removeRecursively();
    for (const char* name : {"OLD-SESSION/deep", "manifests", "manifests_v2"})
        QDir().mkpath(caches + u'/' + QLatin1String(name));
    QFile stray(caches + QStringLiteral("/stray.xml"));
    ASSERT_TRUE(stray.open(QIODevice::WriteOnly));
    stray.close();
    const testing::TestFolder elsewhere;
    const QString outside = elsewhere.write(QStringLiteral("kept.wav"), "recording");
    ASSERT_TRUE(QFile::link(elsewhere.path(), caches + QStringLiteral("/link")));
    if (!QFileInfo(caches).birthTime().isValid()) GTEST_SKIP() << "this file system tells no creation dates";
    const auto entries = [&] { return QDir(caches).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot); };
    const QDateTime now = QDateTime::currentDateTime();

    MetadataEngine::cleanupOldSessions();
    MetadataEngine::cleanupOldSessions(now.addSecs(86'390)); // not yet a day
    EXPECT_EQ(entries().size(), 5);
    MetadataEngine::cleanupOldSessions(now.addSecs(86'410));
    EXPECT_EQ(entries(), QStringList({QStringLiteral("manifests"), QStringLiteral("manifests_v2")}));
    EXPECT_EQ(readAll(outside), "recording");
    QDir(caches).removeRecursively();
    MetadataEngine::cleanupOldSessions(); // and without any folder
}

} // namespace
} // namespace ostrel
