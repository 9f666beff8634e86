#include "platform/files/unique_files.h"

#include "support/test_folder.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::TestFolder;

class UniqueFilesTest : public ::testing::Test {
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

    TestFolder folder_;
};

TEST_F(UniqueFilesTest, FirstNamesStayInOrder) {
    const QString b = write("b.wav");
    const QString a = write("a.wav");
    const UniqueFiles unique = uniqueFiles({b, a, b, folder_.path() + QStringLiteral("/./x/../b.wav"), a});
    EXPECT_EQ(unique.files, (QStringList{b, a}));
    EXPECT_TRUE(unique.repeats.isEmpty()) << "nothing to tell: the same name";
}

TEST_F(UniqueFilesTest, RelativePathsAndAbsoluteOnesAreOne) {
    const QString a = write("a.wav");
    const QString relative = QDir::current().relativeFilePath(a);
    EXPECT_EQ(uniqueFiles({relative, a}).files, QStringList{relative});
}

TEST_F(UniqueFilesTest, LinksOfBothKindsAreToldAndTakenOnce) {
    const QString a = write("a.wav");
    const QString hard = hardLink(a, "hard.wav");
    const QString soft = link(a, "soft.wav");
    const UniqueFiles unique = uniqueFiles({a, hard, soft});
    EXPECT_EQ(unique.files, QStringList{a});
    EXPECT_EQ(unique.repeats, (QStringList{QStringLiteral("%1 is the same file as %2 and taken once").arg(hard, a),
                                           QStringLiteral("%1 is the same file as %2 and taken once").arg(soft, a)}));
    EXPECT_EQ(uniqueFiles({soft, a}).files, QStringList{soft}) << "a link that comes first stays usable";
}

TEST_F(UniqueFilesTest, FoldersAreToldApartToo) {
    write("in/a.wav");
    const QString soft = link(path("in"), "soft");
    const UniqueFiles unique = uniqueFiles({path("in"), soft, path("in/")});
    EXPECT_EQ(unique.files, QStringList{path("in")});
    EXPECT_EQ(unique.repeats,
              QStringList{QStringLiteral("%1 is the same folder as %2 and taken once").arg(soft, path("in"))});
}

TEST_F(UniqueFilesTest, EqualFilesAndMissingOnesAreNotTheSame) {
    const QString a = write("a.wav");
    const QString b = write("b.wav");
    const QString gone = path("gone.wav");
    const QString lost = link(gone, "lost.wav");
    EXPECT_EQ(uniqueFiles({a, b, gone, lost, gone}).files, (QStringList{a, b, gone, lost}));
}

} // namespace
} // namespace ostrel
