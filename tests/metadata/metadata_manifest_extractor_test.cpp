#include "metadata/metadata_manifest_extractor.h"

#include "metadata/file_hash.h"
#include "platform/files/files.h"
#include "support/fake_bwfmetaedit.h"
#include "support/wave_file.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

using testing::FakeBwfmetaedit;
using testing::fingerprintOf;
using testing::PrivateFolders;
using testing::readAll;
using testing::TestFolder;
using testing::waveBytes;

class ManifestExtractorTest : public ::testing::Test {
protected:
    QString wave(const QString& name) { return folder_.write(name, waveBytes({})); }
    QString cached(const QString& name) { return folders_.caches() + u"/Ostrel/manifests/"_s + name; }

    MetadataManifest extract(const QString& source) {
        return MetadataManifestExtractor(tool_.path(), [this](const QString& line) { log_ << line; })
            .extractAndSaveManifest(source);
    }

    QString error(const QString& source) {
        try {
            extract(source);
        } catch (const ManifestError& failure) {
            EXPECT_TRUE(failure.errorDescription().startsWith(
                QStringLiteral("bwfmetaedit failed with code %1: ").arg(failure.code)));
            EXPECT_EQ(failure.code, -1);
            return failure.standardError;
        }
        return u"no error"_s;
    }

    TestFolder folder_;
    PrivateFolders folders_{folder_};
    FakeBwfmetaedit tool_{folder_};
    QStringList log_;
};

TEST_F(ManifestExtractorTest, PutsTogetherWhatTheToolAndTheFileTell) {
    const QString source = wave(u"rec/A.B.WAV"_s);
    const QString core = u"FileName,Description,TimeReference\n/x,\"sSCENE=9\nsTAKE=1\",5\n"_s;
    const QString ixml =
        u"<BWFXML><SCENE>9</SCENE><TAKE>1</TAKE><TRACK_LIST><TRACK><NAME>Boom</NAME></TRACK></TRACK_LIST></BWFXML>"_s;
    FakeBwfmetaedit::setCore(source, core);
    FakeBwfmetaedit::setIxml(source, ixml);
    const QString before = fingerprintOf(source);
    const MetadataManifest manifest = extract(source);

    EXPECT_EQ(manifest.version, u"1.0"_s);
    EXPECT_EQ(manifest.sourceFile.path, source);
    EXPECT_EQ(manifest.sourceFile.fileName, u"A.B.WAV"_s);
    EXPECT_EQ(manifest.sourceFile.fileSize, QFileInfo(source).size());
    const QByteArray hash = QCryptographicHash::hash(readAll(source), QCryptographicHash::Sha256).toHex();
    EXPECT_EQ(manifest.sourceFile.fileHash, u"sha256:"_s + QString::fromLatin1(hash));
    const QDateTime date = QDateTime::fromString(manifest.sourceFile.extractionDate, Qt::ISODate);
    EXPECT_EQ(date.timeSpec(), Qt::UTC);
    EXPECT_LT(std::abs(date.secsTo(QDateTime::currentDateTimeUtc())), 60);
    EXPECT_EQ(manifest.audioProperties, AudioProperties());
    EXPECT_EQ(manifest.bext->scene, u"9"_s);
    EXPECT_EQ(manifest.bext->timeReference, 5u);
    EXPECT_EQ(manifest.ixml->trackList, (std::vector<IXMLTrack>{{1, u"Boom"_s, QString(), 0}}));
    EXPECT_FALSE(manifest.customChunks);
    EXPECT_EQ(manifest.rawXml, (RawXml{core, ixml}));

    EXPECT_EQ(readManifestFile(cached(u"A.B.wav.metadata.json"_s)), manifest);
    EXPECT_EQ(fingerprintOf(source), before);
    EXPECT_TRUE(folders_.leftInTemporary().isEmpty());
    ASSERT_EQ(tool_.calls().size(), 2);
    EXPECT_TRUE(tool_.calls()[0].startsWith(u"--out-core="_s + folders_.temporary() + u'/'));
    EXPECT_TRUE(tool_.calls()[0].endsWith(u".core.csv|"_s + source));
    EXPECT_TRUE(tool_.calls()[1].startsWith(u"--out-iXML="_s + folders_.temporary() + u'/'));
    EXPECT_TRUE(tool_.calls()[1].endsWith(u".ixml.xml|"_s + source));
}

TEST_F(ManifestExtractorTest, LogsItsSteps) {
    const QString source = wave(u"a.wav"_s);
    FakeBwfmetaedit::setIxml(source, u"<BWFXML><SCENE>9</SCENE><TAKE>1</TAKE><TRACK/></BWFXML>"_s);
    extract(source);
    EXPECT_TRUE(log_.contains(u"Parsing iXML XML data (55 characters)..."_s)) << log_.join(u'\n').toStdString();
    EXPECT_TRUE(log_.contains(u"✅ iXML metadata built: 1 tracks"_s));
    EXPECT_TRUE(log_.contains(u"✅ iXML parsing complete: project=none, scene=9, take=1, tracks=1"_s));
    EXPECT_FALSE(log_.filter(u"✅ BEXT metadata built: "_s).isEmpty());
    const QString log = testing::debugLog();
    if (log.isNull()) GTEST_SKIP() << "the debug log is another person's";
    EXPECT_TRUE(log.contains(QStringLiteral("] [MetadataManifestExtractor] ✅ iXML metadata built: 1 tracks\n")));
}

TEST_F(ManifestExtractorTest, IxmlWithoutAnythingInItLeavesTheFieldAbsentAndKeepsTheText) {
    const QString source = wave(u"a.wav"_s);
    FakeBwfmetaedit::setIxml(source, u"<BWFXML/>"_s);
    const MetadataManifest manifest = extract(source);
    EXPECT_FALSE(manifest.ixml);
    EXPECT_EQ(manifest.rawXml->ixml, u"<BWFXML/>"_s);
    EXPECT_TRUE(log_.contains(u"⚠️ iXML parsing returned nil"_s));
}

TEST_F(ManifestExtractorTest, ASourceWithoutAnIxmlChunkHasNoDocumentToRead) {
    const QString text = error(wave(u"a.wav"_s));
    EXPECT_TRUE(text.startsWith(u"iXML XML file was not created at "_s + folders_.temporary())) << text.toStdString();
    EXPECT_TRUE(folders_.leftInTemporary().isEmpty());
}

TEST_F(ManifestExtractorTest, AFailureOfTheToolNamesCodeCommandAndWhatItSaid) {
    const QString source = wave(u"broken.wav"_s);
    const QString command = tool_.path();
    const QString text = error(source);
    EXPECT_TRUE(text.startsWith(
        u"Failed to export core metadata: bwfmetaedit failed with code 3: bwfmetaedit exited with code 3. Command: "_s +
        command + u" --out-core="_s))
        << text.toStdString();
    EXPECT_TRUE(text.endsWith(source + u". Stderr: no WAV header\n"_s)) << text.toStdString();
    EXPECT_TRUE(folders_.leftInTemporary().isEmpty());
}

TEST_F(ManifestExtractorTest, AToolThatCannotBeStartedIsTold) {
    try {
        MetadataManifestExtractor(u"/nowhere/tool"_s).extractAndSaveManifest(wave(u"a.wav"_s));
        FAIL();
    } catch (const ManifestError& failure) {
        EXPECT_TRUE(failure.standardError.startsWith(u"Failed to export core metadata: bwfmetaedit failed with code "
                                                     u"-1: Failed to launch bwfmetaedit: No such file or directory. "
                                                     "Command: /nowhere/tool --out-core="_s))
            << failure.what();
        EXPECT_TRUE(failure.standardError.endsWith(u". Stderr: "_s));
    }
}

TEST_F(ManifestExtractorTest, AToolThatWritesNothingIsTold) {
    const QString silent = folder_.writeScript(u"tools/silent"_s, u"exit 0"_s);
    try {
        MetadataManifestExtractor(silent).extractAndSaveManifest(wave(u"a.wav"_s));
        FAIL();
    } catch (const ManifestError& failure) {
        EXPECT_TRUE(failure.standardError.startsWith(u"Core CSV file was not created at "_s)) << failure.what();
    }
}

TEST_F(ManifestExtractorTest, LoadsFromTheCache) {
    const QString source = wave(u"a.wav"_s);
    EXPECT_FALSE(MetadataManifestExtractor::loadManifest(source));
    FakeBwfmetaedit::setIxml(source, u"<BWFXML/>"_s);
    const MetadataManifest manifest = extract(source);
    EXPECT_EQ(MetadataManifestExtractor::loadManifest(source), manifest);
}

TEST_F(ManifestExtractorTest, ASidecarMovesIntoTheCacheOnTheFirstLoad) {
    const QString source = wave(u"rec/T.WAV"_s);
    MetadataManifest manifest;
    manifest.sourceFile.fileName = u"by hand"_s;
    const QByteArray bytes = manifest.toJson() + "\n\n";
    const QString sidecar = folder_.write(u"rec/T.wav.metadata.json"_s, bytes);
    EXPECT_EQ(MetadataManifestExtractor::loadManifest(source), manifest);
    EXPECT_FALSE(QFile::exists(sidecar));
    EXPECT_EQ(readAll(cached(u"T.wav.metadata.json"_s)), bytes);
    EXPECT_EQ(MetadataManifestExtractor::loadManifest(source), manifest);
}

TEST_F(ManifestExtractorTest, ASidecarThatDoesNotDecodeStays) {
    const QString source = wave(u"T.wav"_s);
    const QString sidecar = folder_.write(u"T.wav.metadata.json"_s, "{}");
    EXPECT_FALSE(MetadataManifestExtractor::loadManifest(source));
    EXPECT_TRUE(QFile::exists(sidecar));
}

TEST_F(ManifestExtractorTest, ASidecarIsTheAnswerAlsoWhenItCannotMove) {
    const QString source = wave(u"T.wav"_s);
    const QString sidecar = folder_.write(u"T.wav.metadata.json"_s, MetadataManifest().toJson());
    folder_.write(u"caches/Ostrel"_s, "in the way");
    EXPECT_EQ(MetadataManifestExtractor::loadManifest(source), MetadataManifest());
    EXPECT_TRUE(QFile::exists(sidecar));
}

TEST_F(ManifestExtractorTest, ACacheFileThatDoesNotDecodeGivesWayToTheSidecar) {
    const QString source = wave(u"T.wav"_s);
    folder_.write(u"caches/Ostrel/manifests/T.wav.metadata.json"_s, "{");
    folder_.write(u"T.wav.metadata.json"_s, MetadataManifest().toJson());
    EXPECT_EQ(MetadataManifestExtractor::loadManifest(source), MetadataManifest());
}

TEST_F(ManifestExtractorTest, TwoSourcesOfOneNameShareACacheFileAndTheLaterWins) {
    MetadataManifest first;
    first.sourceFile.path = u"/first/T.wav"_s;
    MetadataManifest second;
    second.sourceFile.path = u"/second/T.WAV"_s;
    MetadataManifestExtractor::writeManifest(first, u"/first/T.wav"_s);
    MetadataManifestExtractor::writeManifest(second, u"/second/T.WAV"_s);
    EXPECT_EQ(MetadataManifestExtractor::loadManifest(u"/first/T.wav"_s), second);
}

TEST(FileHash, IsSha256OfTheWholeFile) {
    const TestFolder folder;
    for (const int size : {0, 1, 262143, 262144, 262145, 1000000}) {
        QByteArray contents(size, '\0');
        for (int i = 0; i < size; ++i) contents[i] = static_cast<char>(i * 31 >> 3);
        const QByteArray expected = QCryptographicHash::hash(contents, QCryptographicHash::Sha256).toHex();
        EXPECT_EQ(sha256OfFile(folder.write(u"f"_s, contents)), QString::fromLatin1(expected)) << size;
    }
    EXPECT_THROW(sha256OfFile(folder.path(u"missing"_s)), FileError);
    EXPECT_THROW(sha256OfFile(folder.path()), FileError);
}

} // namespace
} // namespace ostrel
