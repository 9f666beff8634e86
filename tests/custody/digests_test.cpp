// Digests, C4 identifiers and hashes of folders against known values.
#include "custody/digests/c4_text.h"
#include "custody/digests/digest.h"
#include "custody/digests/directory_hashes.h"
#include "custody/digests/file_digests.h"
#include "support/test_folder.h"

#include <QDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace testing;

QString textOf(HashFormat format, QByteArrayView bytes) { return digestText(format, Digest::of(format, bytes)); }

struct KnownDigest {
    HashFormat format;
    const char* content;
    const char* text;
};

class KnownDigests : public ::testing::TestWithParam<KnownDigest> {};

TEST_P(KnownDigests, AreWhatOthersSay) {
    const QByteArrayView content(GetParam().content);
    const QString text = QString::fromLatin1(GetParam().text);
    EXPECT_EQ(textOf(GetParam().format, content), text);
    EXPECT_EQ(digestFromText(GetParam().format, text), Digest::of(GetParam().format, content));
    Digest piecewise(GetParam().format);
    for (const char byte : content) piecewise.add(QByteArrayView(&byte, 1));
    EXPECT_EQ(digestText(GetParam().format, piecewise.finish()), text);
}

constexpr char kC4OfName[] =
    "c456LycWwpMMS7VDZEKvYv2L1uJS6s4qAFnaJdnQiy5JVbBFZMA8aLDS6SPaJjLqxXH4qZdnbuktopMt9frtC2qL1R";

INSTANTIATE_TEST_SUITE_P(
    Digests, KnownDigests,
    ::testing::Values(KnownDigest{HashFormat::xxh64, "media-hash-list", "584b2ea1974f2b7c"},
                      KnownDigest{HashFormat::xxh3, "media-hash-list", "6d4cbd75905c81aa"},
                      KnownDigest{HashFormat::xxh128, "media-hash-list", "61a67c014f703a456ee7a776fd8c06bd"},
                      KnownDigest{HashFormat::c4, "media-hash-list", kC4OfName},
                      KnownDigest{HashFormat::xxh64, "abcd\n", "0ea03b369a463d9d"},
                      KnownDigest{HashFormat::xxh64, "def\n", "7680e5f98f4a80fd"},
                      KnownDigest{HashFormat::xxh128, "abcd\n", "ad3e38cc4333ed1b742b20a1b224a05e"},
                      KnownDigest{HashFormat::xxh128, "def\n", "1064874a071b0e5ebf280cf748ade959"},
                      KnownDigest{HashFormat::xxh64, "", "ef46db3751d8e999"},
                      KnownDigest{HashFormat::xxh128, "", "99aa06d3014798d86001c324468d497f"},
                      KnownDigest{HashFormat::xxh32, "", "02cc5d05"},
                      KnownDigest{HashFormat::md5, "", "d41d8cd98f00b204e9800998ecf8427e"},
                      KnownDigest{HashFormat::md5, "abc", "900150983cd24fb0d6963f7d28e17f72"},
                      KnownDigest{HashFormat::sha1, "abc", "a9993e364706816aba3e25717850c26c9cd0d89d"}));

TEST(C4Text, HoldsTheSmallestAndTheLargestNumber) {
    EXPECT_EQ(c4Text(QByteArray(64, '\0')), u"c4"_s + QString(88, u'1'));
    for (const char fill : {'\0', '\x01', '\xff'}) {
        EXPECT_EQ(c4Digest(c4Text(QByteArray(64, fill))), QByteArray(64, fill));
    }
}

TEST(C4Text, IsReadOnlyAsWhatItIs) {
    const QString good = QString::fromLatin1(kC4OfName);
    ASSERT_TRUE(c4Digest(good));
    for (const QString& bad :
         {QString(), good.chopped(1), good + u'1', QString(good).replace(5, 1, u'0'), u"C4"_s + good.sliced(2),
          u"c4"_s + QString(88, u'z'), QString(good).replace(5, 1, u'ä')}) {
        EXPECT_FALSE(c4Digest(bad)) << bad.toStdString();
    }
}

TEST(DigestText, IsReadOnlyAsWhatItIs) {
    EXPECT_TRUE(digestFromText(HashFormat::xxh64, u"EF46DB3751D8E999"_s));
    for (const char* bad : {"", "ef46db3751d8e99", "ef46db3751d8e9999", "ef46db3751d8e99g", "0xef46db3751d8e9"}) {
        EXPECT_FALSE(digestFromText(HashFormat::xxh64, QString::fromLatin1(bad))) << bad;
    }
}

QByteArray fromHex(const char* text) { return QByteArray::fromHex(text); }

TEST(DirectoryHash, GoesByContentsAndByNames) {
    DirectoryHash clips(HashFormat::xxh64);
    clips.addFile(u"A002C007_141024_R2EC.mov"_s, fromHex("7680e5f98f4a80fd"));
    clips.addFile(u"A002C006_141024_R2EC.mov"_s, fromHex("0ea03b369a463d9d"));
    const FolderHashes inner = clips.finish();
    EXPECT_EQ(inner.content.toHex(), "4c226b42e27d7af3");
    EXPECT_EQ(inner.structure.toHex(), "906faa843d591a9f");
    DirectoryHash root(HashFormat::xxh64);
    root.addFolder(u"Clips"_s, inner);
    root.addFile(u"Sidecar.txt"_s, fromHex("3ab5a4166b9bde44"));
    EXPECT_EQ(root.finish().content.toHex(), "8d02114c32e28cbe");
    EXPECT_EQ(root.finish().structure.toHex(), "f557f8ca8e5a88ef");
}

TEST(DirectoryHash, OfAnEmptyFolderIsThatOfNoBytes) {
    const FolderHashes empty = DirectoryHash(HashFormat::xxh128).finish();
    EXPECT_EQ(empty.content.toHex(), "99aa06d3014798d86001c324468d497f");
    EXPECT_EQ(empty.structure, empty.content);
}

TEST(FileDigests, FeedAllFormatsFromOneRead) {
    const TestFolder folder;
    QByteArray content;
    for (int i = 0; i < 700'001; ++i) content += static_cast<char>(i * 7 + i / 256);
    const QString path = folder.write(u"a.wav"_s, content);
    HashFormats all;
    for (const HashFormat format : {HashFormat::c4, HashFormat::md5, HashFormat::sha1, HashFormat::xxh128,
                                    HashFormat::xxh3, HashFormat::xxh64, HashFormat::xxh32}) {
        all.insert(format);
    }
    quint64 read = 0;
    const Digests digests = digestsOfFile(path, all, {[&](quint64 bytes) { read += bytes; }, {}});
    EXPECT_EQ(digests.size(), all.size());
    for (const auto& [format, digest] : digests) EXPECT_EQ(digest, Digest::of(format, content));
    EXPECT_EQ(read, 700'001U);
}

TEST(FileDigests, SayThatAFileChangedWhileItWasRead) {
    const TestFolder folder;
    const QString path = folder.write(u"a.wav"_s, QByteArray(600'000, 'a'));
    const auto grow = [&](quint64) {
        QFile file(path);
        if (file.open(QIODevice::Append)) file.write("x");
    };
    const auto replace = [&](quint64) {
        folder.write(u"b.wav"_s, QByteArray(600'000, 'b'));
        QFile::remove(path);
        QFile::rename(folder.path(u"b.wav"_s), path);
    };
    for (const std::function<void(quint64)>& act :
         {std::function<void(quint64)>(grow), std::function<void(quint64)>(replace)}) {
        try {
            digestsOfFile(path, {HashFormat::xxh128}, {act, {}});
            ADD_FAILURE() << "not noticed";
        } catch (const FileError& error) {
            EXPECT_TRUE(error.description.contains(u"changed while it was read"_s)) << error.description.toStdString();
        }
    }
}

TEST(FileDigests, StopWhereTheyStand) {
    const TestFolder folder;
    const QString path = folder.write(u"a.wav"_s, QByteArray(600'000, 'a'));
    EXPECT_THROW(digestsOfFile(path, {HashFormat::xxh128}, {{}, [] { return true; }}), StoppedError);
}

TEST(FileDigests, FollowNoLinkAndWaitForNoPipe) {
    const TestFolder folder;
    QFile::link(folder.write(u"a.wav"_s, "a"), folder.path(u"link"_s));
    ASSERT_EQ(::mkfifo(folder.path(u"pipe"_s).toUtf8().constData(), 0600), 0);
    for (const char* name : {"link", "pipe", "none", "."}) {
        EXPECT_THROW(digestsOfFile(folder.path() + u'/' + QString::fromLatin1(name), {HashFormat::md5}), FileError)
            << name;
    }
}

} // namespace
} // namespace ostrel
