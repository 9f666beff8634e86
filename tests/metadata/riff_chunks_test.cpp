#include "metadata/chunks/riff_chunks.h"

#include "platform/files/files.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ostrel {
namespace {

using testing::chunkBytes;
using testing::littleEndian32;
using testing::readAll;
using testing::TestFolder;

QByteArray riff(const QByteArray& chunks) {
    return "RIFF" + littleEndian32(static_cast<quint32>(chunks.size() + 4)) + "WAVE" + chunks;
}

QByteArray littleEndian64(quint64 value) {
    return littleEndian32(static_cast<quint32>(value)) + littleEndian32(static_cast<quint32>(value >> 32));
}

// RF64 or BW64: what follows the ds64 chunk, whose size of the whole is that of these bytes or another. The rows are
// chunks other than `data` whose size stands there.
QByteArray longFile(const QByteArray& form, quint64 dataSize, const QByteArray& chunks,
                    const std::vector<std::pair<QByteArray, quint64>>& rows = {},
                    std::optional<quint64> riffSize = {}) {
    QByteArray table = littleEndian32(static_cast<quint32>(rows.size()));
    for (const auto& [id, size] : rows) table += id + littleEndian64(size);
    const auto size = riffSize.value_or(static_cast<quint64>(4 + 8 + 24 + table.size() + chunks.size()));
    return form + littleEndian32(0xFFFFFFFFu) + "WAVE" +
           chunkBytes("ds64", littleEndian64(size) + littleEndian64(dataSize) + littleEndian64(0) + table) + chunks;
}

// A chunk whose size stands in the ds64 chunk.
QByteArray longChunk(const QByteArray& id, const QByteArray& payload) {
    return id + littleEndian32(0xFFFFFFFFu) + payload + QByteArray(payload.size() & 1, '\0');
}

std::vector<RIFFChunk> extract(const QByteArray& file) {
    const TestFolder folder;
    return RIFFChunkReader::extractPreservableChunks(folder.write(QStringLiteral("a.wav"), file));
}

QString extractionError(const QByteArray& file) {
    try {
        extract(file);
    } catch (const RIFFError& error) {
        return error.errorDescription();
    }
    return QStringLiteral("no error");
}

QByteArray injected(const QByteArray& file, const std::vector<RIFFChunk>& chunks) {
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("a.wav"), file);
    RIFFChunkWriter::injectPreservedChunks(path, chunks);
    return readAll(path);
}

TEST(RIFFChunkReader, TwelveBytesGiveNoChunksAndNoError) { EXPECT_TRUE(extract("RIFF\x99\x88\x77\x66WAVE").empty()); }

TEST(RIFFChunkReader, RefusesWhatIsNoRiffWave) {
    EXPECT_EQ(extractionError("RIFF"), QStringLiteral("Invalid RIFF file: File too small to be valid RIFF"));
    EXPECT_EQ(extractionError(""), QStringLiteral("Invalid RIFF file: File too small to be valid RIFF"));
    EXPECT_EQ(extractionError("FORM....WAVE"), QStringLiteral("Invalid RIFF file: Not a RIFF file"));
    EXPECT_EQ(extractionError("FORM....AIFF"), QStringLiteral("Invalid RIFF file: Not a RIFF file"));
    EXPECT_EQ(extractionError("RF64....AVI "), QStringLiteral("Invalid RIFF file: Not a WAVE file"));
    EXPECT_EQ(extractionError("RIFF....AVI "), QStringLiteral("Invalid RIFF file: Not a WAVE file"));
}

TEST(RIFFChunkReader, UnreadableFileIsThePlatformsError) {
    EXPECT_THROW(RIFFChunkReader::extractPreservableChunks(QStringLiteral("/nowhere/a.wav")), FileError);
    const TestFolder folder;
    folder.path(QStringLiteral("x.wav/inside"));
    EXPECT_THROW(RIFFChunkReader::extractPreservableChunks(folder.path(QStringLiteral("x.wav"))), FileError);
}

TEST(RIFFChunkReader, SkipsThePadByteOfAnOddChunk) {
    const auto chunks = extract(riff(chunkBytes("SMED", "abc") + chunkBytes("iXML", "<x/>")));
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].id, "SMED");
    EXPECT_EQ(chunks[0].data, "abc");
    EXPECT_EQ(chunks[0].position, 12);
    EXPECT_EQ(chunks[1].data, "<x/>");
    EXPECT_EQ(chunks[1].position, 12 + 8 + 4);
}

TEST(RIFFChunkReader, KeepsExactlyTheNineIdsInFileOrder) {
    QByteArray body;
    const QList<QByteArray> ids{"cart", "Tdat", "acid", "UMID", "MD5 ", "XMP ", "aXML", "iXML", "SMED"};
    for (const QByteArray& id : ids) body += chunkBytes("LIST", "INFO") + chunkBytes(id, id.toLower());
    for (const char* id : {"bext", "ixml", "smed", "axml", "XMP\t", "MD5\0"})
        body += chunkBytes(QByteArray(id, 4), "no");
    const auto chunks = extract(riff(body));
    ASSERT_EQ(chunks.size(), 9u);
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        EXPECT_EQ(chunks[i].id, ids[static_cast<qsizetype>(i)]);
        EXPECT_EQ(chunks[i].data, ids[static_cast<qsizetype>(i)].toLower());
    }
}

TEST(RIFFChunkReader, KeepsDuplicatesEmptyPayloadsAndChunksBehindData) {
    const auto chunks = extract(riff(chunkBytes("iXML", "one") + chunkBytes("data", QByteArray(101, 'd')) +
                                     chunkBytes("iXML", "two") + chunkBytes("SMED", "")));
    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_EQ(chunks[0].data, "one");
    EXPECT_EQ(chunks[1].data, "two");
    EXPECT_EQ(chunks[2].id, "SMED");
    EXPECT_TRUE(chunks[2].data.isEmpty());
}

TEST(RIFFChunkReader, AChunkThatOverrunsTheFileEndsTheWalk) {
    const auto chunks = extract(riff(chunkBytes("SMED", "kept") + "iXML" + littleEndian32(100) + "short"));
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks[0].data, "kept");
}

TEST(RIFFChunkReader, AnIdThatIsNotAsciiEndsTheWalk) {
    EXPECT_EQ(extract(riff(chunkBytes("SMED", "kept") + chunkBytes("b\xe9xt", "") + chunkBytes("iXML", "lost"))).size(),
              1u);
}

TEST(RIFFChunkReader, ALastChunkWithoutItsPadByteIsWhole) {
    const auto chunks = extract(riff("iXML" + littleEndian32(3) + "abc"));
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks[0].data, "abc");
}

TEST(RIFFChunkReader, ReadsHeadersOfAHugeFileOnly) {
    // 3 GB of audio that takes no room on disk; iXML stands behind it.
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("huge.wav"), riff("data" + littleEndian32(3'000'000'000u)));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.resize(20 + 3'000'000'000LL));
    ASSERT_TRUE(file.seek(file.size()));
    file.write(chunkBytes("iXML", "<behind/>"));
    file.close();
    rusage before;
    getrusage(RUSAGE_SELF, &before);
    const auto chunks = RIFFChunkReader::extractPreservableChunks(path);
    rusage after;
    getrusage(RUSAGE_SELF, &after);
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks[0].data, "<behind/>");
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 32 * 1024); // KiB
}

TEST(RIFFChunkReader, ReadsLongFilesToo) {
    for (const char* form : {"RF64", "BW64"}) {
        const auto chunks = extract(longFile(
            form, 5, chunkBytes("iXML", "one") + longChunk("data", "audio") + longChunk("SMED", "odd"), {{"SMED", 3}}));
        ASSERT_EQ(chunks.size(), 2u) << form;
        EXPECT_EQ(chunks[0].data, "one");
        EXPECT_EQ(chunks[0].position, 12 + 8 + 40);
        EXPECT_EQ(chunks[1].data, "odd") << "its size stands in the table";
    }
}

TEST(RIFFChunkReader, FindsChunksBehindSixGigabytesOfAudio) {
    const TestFolder folder;
    constexpr qint64 kAudio = 6'000'000'001LL; // sparse: none of it takes room on the disk
    const QString path =
        folder.write(QStringLiteral("huge.wav"), longFile("RF64", kAudio, longChunk("data", {}), {}, kAudio + 70));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const qint64 end = file.size() + kAudio + 1;
    ASSERT_TRUE(file.resize(end) && file.seek(end));
    file.write(chunkBytes("iXML", "<behind/>"));
    file.close();
    const auto chunks = RIFFChunkReader::extractPreservableChunks(path);
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks[0].data, "<behind/>");
    EXPECT_EQ(chunks[0].position, end);
}

TEST(RIFFChunkReader, AMissingPadByteHidesNothing) {
    const auto chunks = extract(riff(QByteArray("SMED\x03\0\0\0odd", 11) + chunkBytes("iXML", "<x/>")));
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].data, "odd");
    EXPECT_EQ(chunks[1].data, "<x/>");
}

TEST(RIFFChunkReader, TellsWhatStandsAheadOfTheAudioOfALongFile) {
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("a.wav"),
                                      longFile("BW64", 4, chunkBytes("LIST", "INFO") + longChunk("data", "audi")));
    const auto chunks = RIFFChunkReader::chunksAheadOfAudio(path);
    ASSERT_TRUE(chunks && chunks->size() == 2);
    EXPECT_EQ(chunks->at(0).id, "ds64");
    EXPECT_EQ(chunks->at(1).list, "INFO");
    const QString cut = folder.write(QStringLiteral("b.wav"), riff("LIST" + littleEndian32(100) + "INFO"));
    EXPECT_FALSE(RIFFChunkReader::chunksAheadOfAudio(cut));
}

TEST(RIFFChunkWriter, PutsChunksDirectlyAheadOfData) {
    const QByteArray head = chunkBytes("fmt ", QByteArray(16, 'f'));
    const QByteArray tail = chunkBytes("data", "audio") + chunkBytes("LIST", "INFO");
    const QByteArray result = injected(riff(head + tail), {{"SMED", "odd", 0}, {"iXML", "", 0}});
    EXPECT_EQ(result, riff(head + QByteArray("SMED\x03\0\0\0odd\0iXML\0\0\0\0", 20) + tail));
}

TEST(RIFFChunkWriter, AddsBesideAChunkOfTheSameId) {
    const QByteArray head = chunkBytes("iXML", "old");
    const QByteArray tail = chunkBytes("data", "audi");
    EXPECT_EQ(injected(riff(head + tail), {{"iXML", "new", 0}}), riff(head + chunkBytes("iXML", "new") + tail));
}

TEST(RIFFChunkWriter, MovesATailOfManyBuffersByteForByte) {
    QByteArray audio(1'300'001, '\0');
    for (qsizetype i = 0; i < audio.size(); ++i) audio[i] = static_cast<char>(i * 31 + (i >> 9));
    const QByteArray tail = chunkBytes("data", audio);
    const QByteArray payload(300'001, 'p');
    EXPECT_EQ(injected(riff(tail), {{"SMED", payload, 0}}), riff(chunkBytes("SMED", payload) + tail));
}

TEST(RIFFChunkWriter, AnEmptyListLeavesTheSameBytes) {
    const QByteArray file = riff(chunkBytes("data", "audio"));
    EXPECT_EQ(injected(file, {}), file);
}

TEST(RIFFChunkWriter, AnIdOfAnotherLengthLosesItsIdBytes) {
    const QByteArray tail = chunkBytes("data", "audi");
    EXPECT_EQ(injected(riff(tail), {{"SM", "ab", 0}}), riff(littleEndian32(2) + "ab" + tail));
}

TEST(RIFFChunkWriter, AnOutputWithoutDataStaysAsItWas) {
    const TestFolder folder;
    const QByteArray file = riff(chunkBytes("fmt ", QByteArray(16, 'f')));
    const QString path = folder.write(QStringLiteral("a.wav"), file);
    const QString before = testing::fingerprintOf(path);
    try {
        RIFFChunkWriter::injectPreservedChunks(path, {{"iXML", "x", 0}});
        FAIL();
    } catch (const RIFFError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Invalid RIFF file: Cannot find data chunk in output"));
    }
    EXPECT_EQ(testing::fingerprintOf(path), before);
}

TEST(RIFFChunkWriter, AMissingOutputIsNamedAndNotCreated) {
    const TestFolder folder;
    const QString path = folder.path(QStringLiteral("none.wav"));
    try {
        RIFFChunkWriter::injectPreservedChunks(path, {});
        FAIL();
    } catch (const RIFFError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Read error: Cannot read ffmpeg output at ") + path);
    }
    EXPECT_FALSE(QFile::exists(path));
}

TEST(RIFFChunkWriter, AFileThatWouldPassFourGigabytesIsRefusedUntouched) {
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("huge.wav"), riff("data" + littleEndian32(0xFFFFFFF0u)));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.resize(0x100000000LL));
    file.close();
    EXPECT_THROW(RIFFChunkWriter::injectPreservedChunks(path, {{"iXML", "12345678", 0}}), RIFFError);
    EXPECT_EQ(QFileInfo(path).size(), 0x100000000LL);
}

TEST(RIFFChunkWriter, ALongFileTellsItsNewSizeInItsDs64Chunk) {
    for (const char* form : {"RF64", "BW64"}) {
        const QByteArray tail = longChunk("data", "audio") + chunkBytes("LIST", "INFO");
        const QByteArray block = chunkBytes("SMED", "odd") + chunkBytes("iXML", "<x/>");
        EXPECT_EQ(injected(longFile(form, 5, tail), {{"SMED", "odd", 0}, {"iXML", "<x/>", 0}}),
                  longFile(form, 5, block + tail));
    }
}

TEST(RIFFChunkWriter, ALongFileMayGrowPastFourGigabytes) {
    // Five gigabytes of filler, sparse, stand ahead of the audio, so that they need not be moved.
    const TestFolder folder;
    constexpr qint64 kFiller = 5'000'000'000LL;
    const QByteArray head = longFile("RF64", 4, longChunk("JUNK", {}), {{"JUNK", kFiller}}, 0);
    const QString path = folder.write(QStringLiteral("huge.wav"), head);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const qint64 audio = file.size() + kFiller;
    ASSERT_TRUE(file.resize(audio) && file.seek(audio));
    file.write(longChunk("data", "audi"));
    file.close();
    RIFFChunkWriter::injectPreservedChunks(path, {{"iXML", "<x/>", 0}});
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.size(), audio + 24);
    QByteArray expected = head;
    expected.replace(20, 8, littleEndian64(static_cast<quint64>(audio + 24 - 8)));
    EXPECT_EQ(file.read(head.size()), expected);
    ASSERT_TRUE(file.seek(audio));
    EXPECT_EQ(file.readAll(), chunkBytes("iXML", "<x/>") + longChunk("data", "audi"));
}

TEST(RIFFChunkWriter, AFullDiskLeavesTheFileAsItWas) {
    const TestFolder folder;
    const QByteArray file = riff(chunkBytes("data", QByteArray(100'000, 'a')));
    const QString path = folder.write(QStringLiteral("a.wav"), file);
    // A limit on the size of files stands for the full disk.
    signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit tight{100'100, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tight);
    EXPECT_THROW(RIFFChunkWriter::injectPreservedChunks(path, {{"iXML", QByteArray(5000, 'x'), 0}}), FileError);
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(readAll(path), file);
}

} // namespace
} // namespace ostrel
