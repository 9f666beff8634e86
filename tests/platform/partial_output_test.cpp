#include "platform/files.h"

#include "support/test_folder.h"

namespace ostrel {
namespace {

using testing::fingerprintOf;
using testing::TestFolder;

TEST(PartialOutput, WhatTheJobMadeIsTakenBack) {
    const TestFolder folder;
    const QString path = folder.path(QStringLiteral("out.wav"));
    const PartialOutput output(path);
    folder.write(QStringLiteral("out.wav"), "half a file");
    output.discard();
    EXPECT_FALSE(QFile::exists(path));
    output.discard(); // nothing left to do
}

TEST(PartialOutput, WhatStoodThereUntouchedStays) {
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("out.wav"), "an earlier take");
    const QString before = fingerprintOf(path);
    PartialOutput(path).discard();
    EXPECT_EQ(fingerprintOf(path), before);
}

TEST(PartialOutput, WhatTheJobChangedIsTakenBack) {
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("out.wav"), "an earlier take");
    const PartialOutput output(path);
    folder.write(QStringLiteral("out.wav"), "half");
    output.discard();
    EXPECT_FALSE(QFile::exists(path));
}

TEST(PartialOutput, AnotherFileOfTheSameSizeIsTakenBack) {
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("out.wav"), "1234");
    const PartialOutput output(path);
    const QString other = folder.write(QStringLiteral("other.wav"), "5678");
    QFile::remove(path);
    ASSERT_TRUE(QFile::rename(other, path));
    output.discard();
    EXPECT_FALSE(QFile::exists(path));
}

TEST(PartialOutput, AFolderAtThePathStays) {
    const TestFolder folder;
    const PartialOutput output(folder.path(QStringLiteral("out.wav")));
    folder.write(QStringLiteral("out.wav/inside"), "x");
    output.discard();
    EXPECT_TRUE(QFile::exists(folder.path(QStringLiteral("out.wav/inside"))));
}

} // namespace
} // namespace ostrel
