#include "roads/own_documents.h"

#include "metadata/bext_csv.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "support/test_folder.h"

#include <QDirIterator>
#include <QProcess>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

QByteArray toldBy(const QString& tool, const QString& option, const QString& file) {
    QProcess process;
    process.start(tool, {option + u'-', file});
    EXPECT_TRUE(process.waitForFinished(60'000));
    return process.readAllStandardOutput();
}

BEXTMetadata fieldsOf(const QByteArray& csv) {
    return parseBextCsv(QString::fromUtf8(csv), [](const QString&) {});
}

// What is read from bytes is what bwfmetaedit tells, of every recording.
TEST(OwnDocuments, AreThoseOfBwfmetaedit) {
    const QString tool = paths::append(resourceFolder(), u"bin/bwfmetaedit"_s);
    if (samplesFolder().isEmpty() || !QFile::exists(tool)) GTEST_SKIP() << "no recordings, or no bwfmetaedit";
    int documents = 0;
    int fields = 0;
    QDirIterator walk(samplesFolder(), {u"*.wav"_s, u"*.WAV"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString file = walk.next();
        const QByteArray core = toldBy(tool, u"--out-core="_s, file);
        if (core.count('\n') >= 2) { // a head alone: no file that it takes
            const auto own = ownDocument(u"--out-core="_s, file);
            ASSERT_TRUE(own) << file.toStdString();
            const BEXTMetadata theirs = fieldsOf(core);
            EXPECT_EQ(fieldsOf(*own), theirs) << file.toStdString() << "\n"
                                              << own->toStdString() << "\n"
                                              << core.toStdString();
            fields += theirs == BEXTMetadata() ? 0 : 1;
        }
        const QByteArray ixml = toldBy(tool, u"--out-iXML="_s, file).trimmed();
        const QByteArray own = ownDocument(u"--out-iXML="_s, file).value_or(QByteArray()).trimmed();
        EXPECT_EQ(own, ixml) << file.toStdString();
        documents += ixml.isEmpty() ? 0 : 1;
    }
    EXPECT_GE(fields, 20);
    EXPECT_GE(documents, 20);
}

TEST(OwnDocuments, NothingIsToldOfWhatIsNoRecording) {
    const TestFolder folder;
    EXPECT_FALSE(ownDocument(u"--out-core="_s, folder.write(u"a.wav"_s, "text")));
    EXPECT_FALSE(ownDocument(u"--out-iXML="_s, folder.path(u"gone.wav"_s)));
}

} // namespace
} // namespace ostrel::testing
