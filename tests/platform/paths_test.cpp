#include "platform/paths.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

struct Row {
    const char* path;
    const char* last;
    const char* stem;
    const char* extension;
    const char* parent;
};

TEST(Paths, PartsOfOddNames) {
    const Row rows[] = {
        {"/a/b/A.B.WAV", "A.B.WAV", "A.B", "WAV", "/a/b"},
        {"/a/.hidden", ".hidden", ".hidden", "", "/a"},
        {"/a/.hidden.wav", ".hidden.wav", ".hidden", "wav", "/a"},
        {"/a/plain", "plain", "plain", "", "/a"},
        {"/a/ends.", "ends.", "ends.", "", "/a"},
        {"/a/line\nbreak.wav", "line\nbreak.wav", "line\nbreak", "wav", "/a"},
        {"/top.wav", "top.wav", "top", "wav", "/"},
        {"/a/folder/", "folder", "folder", "", "/a"},
        {"/", "/", "/", "", "/"},
        {"/a/-dash 'q\" %s.wav", "-dash 'q\" %s.wav", "-dash 'q\" %s", "wav", "/a"},
    };
    for (const Row& row : rows) {
        const QString path = QString::fromUtf8(row.path);
        EXPECT_EQ(paths::lastComponent(path), QString::fromUtf8(row.last)) << row.path;
        EXPECT_EQ(paths::stem(path), QString::fromUtf8(row.stem)) << row.path;
        EXPECT_EQ(paths::extension(path), QString::fromUtf8(row.extension)) << row.path;
        EXPECT_EQ(paths::parent(path), QString::fromUtf8(row.parent)) << row.path;
    }
}

TEST(Paths, AppendPutsOneSlash) {
    EXPECT_EQ(paths::append(QStringLiteral("/a"), QStringLiteral("b")), QStringLiteral("/a/b"));
    EXPECT_EQ(paths::append(QStringLiteral("/"), QStringLiteral("b")), QStringLiteral("/b"));
}

TEST(Paths, WithoutExtensionKeepsTheFolder) {
    EXPECT_EQ(paths::withoutExtension(QStringLiteral("/a.b/C.D.wav")), QStringLiteral("/a.b/C.D"));
    EXPECT_EQ(paths::withoutExtension(QStringLiteral("/a.b/plain")), QStringLiteral("/a.b/plain"));
}

TEST(Paths, SameFileSeesThroughLinks) {
    const testing::TestFolder folder;
    const QString file = folder.write(QStringLiteral("a"), "x");
    const QString other = folder.write(QStringLiteral("b"), "x");
    QFile::link(file, folder.path(QStringLiteral("link")));
    EXPECT_TRUE(paths::isSameFile(file, folder.path(QStringLiteral("link"))));
    EXPECT_FALSE(paths::isSameFile(file, other));
    EXPECT_FALSE(paths::isSameFile(file, folder.path(QStringLiteral("missing"))));
}

} // namespace
} // namespace ostrel
