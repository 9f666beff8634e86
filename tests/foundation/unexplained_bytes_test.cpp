#include "foundation/proof/unexplained_bytes.h"

#include "support/test_folder.h"
#include "support/wave_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace testing;

class UnexplainedBytesTest : public ::testing::Test {
protected:
    UnexplainedBytesTest() {
        WaveSpec spec;
        spec.frames = 48000; // 144,000 bytes
        bytes = waveBytes(spec);
    }
    QString of(const QByteArray& file) const { return unexplainedBytesOf(folder.write(QStringLiteral("a.wav"), file)); }

    TestFolder folder;
    QByteArray bytes;
};

TEST_F(UnexplainedBytesTest, AHealthyFileHasNone) {
    EXPECT_EQ(of(bytes), QString());
    EXPECT_EQ(of("no audio"), QString());
    EXPECT_EQ(unexplainedBytesOf(folder.path(QStringLiteral("none.wav"))), QString());
    EXPECT_EQ(unexplainedBytesOf(folder.path()), QString());
    const QString pipe = folder.path(QStringLiteral("pipe.wav"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    EXPECT_EQ(unexplainedBytesOf(pipe), QString());
}

TEST_F(UnexplainedBytesTest, TellsInSecondsWhatMayBeLost) {
    const QString all = QStringLiteral("about 1.0 s of audio may lie behind the declared end");
    EXPECT_EQ(of(withDataSize(bytes, 0)), all);
    EXPECT_EQ(of(withDataSize(bytes, 0xFFFFFFFF)), all);
    EXPECT_EQ(of(withDataSize(bytes, 36000)), QStringLiteral("about 0.8 s of audio may lie behind the declared end"));
    EXPECT_EQ(of(withDataSize(bytes, 288000)),
              QStringLiteral("the header declares about 1.0 s of audio more than the file holds"));
    EXPECT_EQ(of(bytes.first(bytes.size() - 72000)),
              QStringLiteral("the header declares about 0.5 s of audio more than the file holds"));
}

TEST_F(UnexplainedBytesTest, TellsInBytesWhereNoFormatIsThere) {
    const QByteArray file = "RIFF" + littleEndian32(0) + "WAVE" + chunkBytes("data", "") + QByteArray(1000, '\x81');
    EXPECT_EQ(of(file), QStringLiteral("about 1000 bytes of audio may lie behind the declared end"));
}

TEST_F(UnexplainedBytesTest, Rf64SizesThatDisagree) {
    const auto rf64 = [&](quint32 whole, quint32 data) {
        const QByteArray sizes = littleEndian32(whole) + littleEndian32(0) + littleEndian32(data) + littleEndian32(0) +
                                 littleEndian32(48000) + littleEndian32(0) + littleEndian32(0);
        return "RF64" + littleEndian32(0xFFFFFFFF) + "WAVE" + chunkBytes("ds64", sizes) +
               withDataSize(bytes, 0xFFFFFFFF).mid(12);
    };
    const auto size = static_cast<quint32>(rf64(0, 0).size());
    EXPECT_EQ(of(rf64(size - 8, 144'000)), QString());
    EXPECT_EQ(of(rf64(100'000, 144'000)), QStringLiteral("the sizes in its header disagree"));
    EXPECT_EQ(of(rf64(size - 8, 36'000)), QStringLiteral("about 0.8 s of audio may lie behind the declared end"));
    EXPECT_EQ(of(rf64(size - 8, 0)), QStringLiteral("about 1.0 s of audio may lie behind the declared end"));
}

TEST_F(UnexplainedBytesTest, WarningsNameTheirFiles) {
    const QString good = folder.write(QStringLiteral("good.wav"), bytes);
    const QString bad = folder.write(QStringLiteral("bad.wav"), withDataSize(bytes, 0));
    EXPECT_EQ(unexplainedBytesWarnings({good, bad}),
              QStringList{QStringLiteral("bad.wav: about 1.0 s of audio may lie behind the declared end")});
}

} // namespace
} // namespace ostrel
