#include "platform/processes/output_ends.h"

#include "platform/text/text.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

// However it comes in.
QByteArray ends(const QByteArray& text, qsizetype first, qsizetype last, qsizetype atATime) {
    OutputEnds result(first, last);
    for (qsizetype at = 0; at < text.size(); at += atATime)
        result.append(QByteArrayView(text).sliced(at).first(std::min(atATime, text.size() - at)));
    return result.take();
}

TEST(OutputEnds, AllOfItWhereItFits) {
    for (const qsizetype atATime : {1, 3, 100}) {
        EXPECT_EQ(ends("", 2, 3, atATime), "");
        EXPECT_EQ(ends("ab", 2, 3, atATime), "ab");
        EXPECT_EQ(ends("abcde", 2, 3, atATime), "abcde");
    }
}

TEST(OutputEnds, BothEndsAndWhatIsMissing) {
    for (const qsizetype atATime : {1, 2, 3, 5, 100}) {
        EXPECT_EQ(ends("abcdef", 2, 3, atATime), "ab\n[... 1 bytes left out ...]\ndef");
        EXPECT_EQ(ends("ab" + QByteArray(1000, '-') + "xyz", 2, 3, atATime), "ab\n[... 1000 bytes left out ...]\nxyz");
    }
}

TEST(OutputEnds, NoHalfLetterAtEitherCut) {
    const QByteArray letters = QStringLiteral("aé日🎬").repeated(50).toUtf8();
    for (qsizetype first = 0; first < 12; ++first) {
        for (qsizetype last = 1; last < 12; ++last) {
            const QByteArray cut = ends(letters, first, last, 7);
            const std::optional<QString> text = decodeUtf8(cut);
            ASSERT_TRUE(text) << first << ' ' << last;
            const QStringList lines = text->split(u'\n');
            ASSERT_EQ(lines.size(), 3);
            EXPECT_TRUE(letters.startsWith(lines[0].toUtf8()));
            EXPECT_TRUE(letters.endsWith(lines[2].toUtf8()));
            EXPECT_GT(lines[0].toUtf8().size(), first - 4);
            EXPECT_GT(lines[2].toUtf8().size(), last - 4);
            const qsizetype kept = lines[0].toUtf8().size() + lines[2].toUtf8().size();
            EXPECT_EQ(lines[1], QStringLiteral("[... %1 bytes left out ...]").arg(letters.size() - kept));
        }
    }
}

TEST(OutputEnds, BytesThatAreNoLettersAreKept) {
    EXPECT_EQ(ends(QByteArray(20, '\x80'), 4, 6, 20).size(), QByteArray("\n[... 13 bytes left out ...]\n").size() + 7);
}

} // namespace
} // namespace ostrel
