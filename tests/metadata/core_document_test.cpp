#include "metadata/core_document.h"

#include "platform/files/files.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::readAll;
using testing::TestFolder;

const QString kTarget = QStringLiteral("/out/Take \"1\", best.wav");

QString reaimed(const char* document) { return reaimedCoreDocument(QString::fromUtf8(document), kTarget); }

TEST(CoreDocument, EveryNameAttributeOfXmlBecomesTheTargetsLastComponent) {
    EXPECT_EQ(reaimed("<?xml version=\"1.0\"?>\n<a><File name=\"/t/a.wav\"><Core/></File><File name=\"\"/></a>\n"),
              QStringLiteral("<?xml version=\"1.0\"?>\n<a><File name=\"Take \"1\", best.wav\"><Core/></File><File "
                             "name=\"Take \"1\", best.wav\"/></a>\n"));
}

TEST(CoreDocument, ANameOverTwoLinesIsReplacedWhole) {
    EXPECT_EQ(reaimed("<?xml?><File name=\"/t/line\nbreak.wav\"/>"),
              QStringLiteral("<?xml?><File name=\"Take \"1\", best.wav\"/>"));
}

TEST(CoreDocument, PatternCharactersOfTheTargetAreInsertedAsTheyStand) {
    EXPECT_EQ(
        reaimedCoreDocument(QStringLiteral("<?xml?><File name=\"x\"/>"), QStringLiteral("/o/$1 \\0 <&> (a)+.wav")),
        QStringLiteral("<?xml?><File name=\"$1 \\0 <&> (a)+.wav\"/>"));
}

TEST(CoreDocument, AByteOrderMarkAheadOfXmlStays) {
    const QChar mark(QChar::ByteOrderMark);
    EXPECT_EQ(reaimedCoreDocument(mark + QStringLiteral("<?xml?><File name=\"x\"/>"), QStringLiteral("/out/t.wav")),
              mark + QStringLiteral("<?xml?><File name=\"t.wav\"/>"));
}

struct CsvRow {
    const char* before;
    const char* after; // CELL stands for the target's cell
};

TEST(CoreDocument, TheFileNameCellsOfCsvBecomeTheWholePathOfTheTarget) {
    const CsvRow rows[] = {
        {"FileName,Description\n/t/a.wav,text\n", "FileName,Description\nCELL,text\n"},
        {"FileName,Description\n\"/t/a.wav\",text", "FileName,Description\nCELL,text"},
        // quoted cells with line breaks, separators and doubled quotes
        {"FileName,Description,X\n\"/t/a.wav\",\"gSCENE=2C\r\ngTAKE=1,\n\"\"x\"\"\n\",y\n",
         "FileName,Description,X\nCELL,\"gSCENE=2C\r\ngTAKE=1,\n\"\"x\"\"\n\",y\n"},
        {"FileName;Description\n/t/a,b.wav;text;\n", "FileName;Description\nCELL;text;\n"},
        {"FileName,Description\r\n/t/a.wav,text\r\n", "FileName,Description\r\nCELL,text\r\n"},
        // a carriage return alone, and none of it lost at the end
        {"FileName,D\r/t/a.wav,1\r\r\"/t/b.wav\",2\r", "FileName,D\rCELL,1\r\rCELL,2\r"},
        {"FileName,D\r\n\r\n/t/a.wav,\"1\r\"\r\n\r\n", "FileName,D\r\n\r\nCELL,\"1\r\"\r\n\r\n"},
        // several files, a blank line between
        {"FileName,D\n/t/a.wav,1\n\n\"/t/b \"\"q\"\", c.wav\",2\n", "FileName,D\nCELL,1\n\nCELL,2\n"},
        {"FileName,D\n\"/t/line\nbreak.wav\",1\n", "FileName,D\nCELL,1\n"},
        {"FileName,D\n,1\n", "FileName,D\nCELL,1\n"},
        {"FileName,D\n/t/a.wav\n", "FileName,D\nCELL\n"},
        // only the first column is a file's name
        {"FileName,Description\n/t/a.wav,/t/a.wav\n", "FileName,Description\nCELL,/t/a.wav\n"},
        {"FileName,D\n", "FileName,D\n"},
        {"FileName,\"two\nlines\"\n/t/a.wav,1\n", "FileName,\"two\nlines\"\nCELL,1\n"},
    };
    for (const CsvRow& row : rows) {
        const QString cell = QStringLiteral("\"/out/Take \"\"1\"\", best.wav\"");
        EXPECT_EQ(reaimed(row.before), QString::fromUtf8(row.after).replace(QStringLiteral("CELL"), cell))
            << row.before;
    }
}

TEST(CoreDocument, WhatIsNeitherIsRefused) {
    for (const char* document :
         {"", "FileName", "Filename,Description\n", "<html>", " <?xml?>", "FileName\tD\n/t/a.wav\tx\n"}) {
        try {
            reaimed(document);
            ADD_FAILURE() << document;
        } catch (const CoreDocumentError& error) {
            EXPECT_EQ(error.description, QStringLiteral("the document is neither CORE CSV nor CORE XML"));
        }
    }
}

TEST(CoreDocument, AnUnclosedQuoteEndsNothingEarly) {
    // Everything behind it belongs to the cell: no line in there may pass for a row that names a file.
    EXPECT_EQ(reaimed("FileName,D\n/t/a.wav,\"open\n/t/b.wav,x\n"),
              QStringLiteral("FileName,D\n\"/out/Take \"\"1\"\", best.wav\",\"open\n/t/b.wav,x\n"));
}

TEST(CoreDocument, AFileIsReplacedWholeOrStaysAsItWas) {
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("core.xml"), "<?xml?><File name=\"日本.wav\"/>");
    reaimCoreDocumentFile(path, QStringLiteral("/out/é.wav"));
    EXPECT_EQ(readAll(path), "<?xml?><File name=\"é.wav\"/>");
    folder.write(QStringLiteral("core.xml"), "<?xml?>\xff<File name=\"x\"/>");
    EXPECT_THROW(reaimCoreDocumentFile(path, kTarget), CoreDocumentError);
    EXPECT_EQ(readAll(path), "<?xml?>\xff<File name=\"x\"/>");
    EXPECT_THROW(reaimCoreDocumentFile(folder.path(QStringLiteral("none.xml")), kTarget), FileError);
}

} // namespace
} // namespace ostrel
