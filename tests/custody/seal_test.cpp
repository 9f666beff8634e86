// Seals and verifications over folders on the disk.
#include "custody_folder.h"

#include "custody/lists/chain.h"
#include "custody/lists/hash_list_reader.h"
#include "support/killed_at.h"

#include <QProcess>
#include <QStandardPaths>
#include <QXmlStreamReader>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

QByteArray listText(const SealResult& result) { return readAll(result.lists.last()); }

class Sealed : public ::testing::Test {
protected:
    Sealed() {
        folder_.write(u"a.wav"_s, "first");
        folder_.write(u"ISO/b.wav"_s, "second");
        folder_.write(u"ISO/c.wav"_s, "third");
    }
    SealResult seal(const SealOptions& options = sealOptions()) { return sealFolder(root(), options); }
    QString root() const { return folder_.path(); }
    QString at(const char* path) const { return folder_.path() + u'/' + QString::fromUtf8(path); }

    TestFolder folder_;
};

TEST_F(Sealed, IsVerifiedAndWrittenToNoMore) {
    EXPECT_THAT(states(seal()), ElementsAre(u"ISO/b.wav original"_s, u"ISO/c.wav original"_s, u"a.wav original"_s));
    const QStringList before = fingerprint(root());
    const VerifyResult result = verifyFolder(root());
    EXPECT_THAT(differences(result), IsEmpty());
    EXPECT_TRUE(result.isWhole());
    EXPECT_EQ(result.count(FileState::verified), 3);
    EXPECT_EQ(result.generations, 1);
    EXPECT_EQ(fingerprint(root()), before);
}

TEST_F(Sealed, TellsWhatWasChangedAddedRemovedAndMoved) {
    seal();
    append(at("a.wav"), "!");
    folder_.write(u"ISO/new.wav"_s, "new");
    QFile::rename(at("ISO/b.wav"), at("ISO/moved.wav"));
    const VerifyResult result = verifyFolder(root());
    EXPECT_THAT(differences(result),
                ElementsAre(u"ISO/b.wav missing"_s, u"ISO/moved.wav new"_s, u"ISO/new.wav new"_s, u"a.wav changed"_s));
    EXPECT_EQ(result.files[2].detail, u"it holds what ISO/b.wav held"_s);
    EXPECT_FALSE(result.isWhole());
}

TEST_F(Sealed, AgainComparesAndWritesDownWhatFailed) {
    const QByteArray first = listText(seal());
    const SealResult second = seal();
    EXPECT_EQ(second.generation, 2);
    EXPECT_THAT(states(second), ElementsAre(u"ISO/b.wav verified"_s, u"ISO/c.wav verified"_s, u"a.wav verified"_s));
    append(at("a.wav"), "!");
    QFile::remove(at("ISO/c.wav"));
    const SealResult third = seal();
    EXPECT_THAT(states(third), ElementsAre(u"ISO/b.wav verified"_s, u"ISO/c.wav missing"_s, u"a.wav failed"_s));
    EXPECT_FALSE(third.isWhole());
    EXPECT_THAT(listText(third).toStdString(), HasSubstr("action=\"failed\""));
    // What failed is never what a later run compares with.
    EXPECT_THAT(states(seal()), ElementsAre(u"ISO/b.wav verified"_s, u"ISO/c.wav missing"_s, u"a.wav failed"_s));
    EXPECT_THAT(differences(root()), ElementsAre(u"ISO/c.wav missing"_s, u"a.wav changed"_s));
    const Chain chain = chainFromBytes(readAll(chainPath(root())));
    ASSERT_EQ(chain.size(), 4U);
    EXPECT_EQ(readAll(historyFolder(root()) + u'/' + chain[0].file), first);
}

TEST_F(Sealed, InAnotherFormatIsComparedByTheEarlierOne) {
    seal(sealOptions(HashFormat::md5));
    const SealResult good = seal(sealOptions(HashFormat::xxh128));
    EXPECT_EQ(good.count(SealedState::verified), 3);
    const HashList list = hashListFromBytes(listText(good));
    const auto& entry = list.entries.front();
    ASSERT_EQ(entry.hashes.size(), 2U);
    EXPECT_EQ(entry.hashes[0].format, HashFormat::md5);
    EXPECT_EQ(entry.hashes[1].action, HashAction::verified);
    append(at("a.wav"), "!");
    EXPECT_THAT(states(seal(sealOptions(HashFormat::sha1))), Contains(u"a.wav failed"_s));
    EXPECT_THAT(differences(verifyFolder(root(), {.everyFormat = true})), ElementsAre(u"a.wav changed"_s));
}

TEST_F(Sealed, TakesARenameWhereThereIsNoDoubt) {
    seal();
    QFile::rename(at("a.wav"), at("ISO/take.wav"));
    const SealResult second = seal();
    EXPECT_THAT(states(second),
                ElementsAre(u"ISO/b.wav verified"_s, u"ISO/c.wav verified"_s, u"ISO/take.wav renamed"_s));
    EXPECT_TRUE(second.isWhole());
    EXPECT_THAT(listText(second).toStdString(), HasSubstr("<previousPath>a.wav</previousPath>"));
    EXPECT_THAT(differences(root()), IsEmpty());
    append(at("ISO/take.wav"), "!");
    EXPECT_THAT(differences(root()), ElementsAre(u"ISO/take.wav changed"_s));
}

TEST_F(Sealed, TakesNoRenameWhereThereIsDoubt) {
    seal();
    QFile::copy(at("a.wav"), at("x.wav"));
    QFile::rename(at("a.wav"), at("y.wav"));
    EXPECT_THAT(states(seal()), ElementsAre(u"ISO/b.wav verified"_s, u"ISO/c.wav verified"_s, u"a.wav missing"_s,
                                            u"x.wav original"_s, u"y.wav original"_s));
}

TEST_F(Sealed, PassesOverWhatIsIgnoredInAllLaterGenerations) {
    SealOptions options = sealOptions();
    options.ignore = {u"*.tmp"_s, u"/ISO/c.wav"_s};
    folder_.write(u"ISO/x.tmp"_s, "x");
    folder_.write(u".DS_Store"_s, "x");
    EXPECT_THAT(states(seal(options)), ElementsAre(u"ISO/b.wav original"_s, u"a.wav original"_s));
    EXPECT_THAT(states(seal()), ElementsAre(u"ISO/b.wav verified"_s, u"a.wav verified"_s));
    folder_.write(u"y.tmp"_s, "y");
    EXPECT_THAT(differences(root()), IsEmpty());
}

TEST_F(Sealed, SaysWhichFilesAreIgnoredByNow) {
    seal();
    SealOptions options = sealOptions();
    options.ignore = {u"a.wav"_s};
    seal(options);
    append(at("a.wav"), "!");
    const VerifyResult result = verifyFolder(root());
    EXPECT_TRUE(result.isWhole());
    EXPECT_THAT(result.remarks.join(u'\n').toStdString(), HasSubstr("1 of the files"));
}

TEST_F(Sealed, LeavesOutUnfinishedFilesOfRuns) {
    folder_.write(u".ostrel-0F0F0F0F-1111-2222-3333-444444444444.wav"_s, "half");
    folder_.write(u".ostrel-notes.wav"_s, "mine");
    EXPECT_EQ(seal().files.size(), 4U);
    EXPECT_THAT(differences(root()), IsEmpty());
}

TEST_F(Sealed, NestsHistories) {
    EXPECT_EQ(sealFolder(at("ISO"), sealOptions()).generation, 1);
    const SealResult outer = seal();
    ASSERT_EQ(outer.lists.size(), 2);
    EXPECT_TRUE(outer.lists[0].endsWith(u"/ISO/ascmhl/0002_ISO_2026-01-02_090807Z.mhl"_s))
        << outer.lists[0].toStdString();
    const HashList list = hashListFromBytes(readAll(outer.lists[1]));
    ASSERT_EQ(list.entries.size(), 2U);
    EXPECT_EQ(list.entries[0].kind, ListEntry::Kind::folder);
    EXPECT_EQ(list.entries[0].path, u"ISO"_s);
    ASSERT_EQ(list.references.size(), 1U);
    EXPECT_EQ(list.references[0].path, u"ISO/ascmhl/0002_ISO_2026-01-02_090807Z.mhl"_s);
    EXPECT_THAT(differences(root()), IsEmpty());
    append(at("ISO/b.wav"), "!");
    EXPECT_THAT(differences(root()), ElementsAre(u"ISO/b.wav changed"_s));
    append(outer.lists[0], " ");
    EXPECT_EQ(differences(root()).filter(u"damaged"_s).size(), 2); // by its own chain, and by the list above
    QDir(at("ISO")).removeRecursively();
    EXPECT_FALSE(verifyFolder(root()).isWhole());
}

TEST_F(Sealed, TellsFoldersThatWereEmpty) {
    QDir().mkpath(at("empty"));
    seal();
    EXPECT_THAT(differences(root()), IsEmpty());
    QDir().rmdir(at("empty"));
    EXPECT_THAT(differences(root()), ElementsAre(u"empty/ missing"_s));
}

TEST_F(Sealed, TellsDamageOfTheHistory) {
    seal();
    const QString second = seal().lists.last();
    const QByteArray bytes = readAll(second);
    append(second, "\n");
    EXPECT_THAT(differences(root()).join(u'\n').toStdString(), HasSubstr("Generation 2 is damaged"));
    EXPECT_THROW(seal(), SealRefusedError);
    QFile::remove(second);
    EXPECT_THAT(differences(root()).join(u'\n').toStdString(), HasSubstr("Generation 2 is missing"));
    folder_.write(u"ascmhl/"_s + QFileInfo(second).fileName(), bytes);
    EXPECT_THAT(differences(root()), IsEmpty());
    const QByteArray chain = readAll(chainPath(root()));
    for (const QByteArray& bad : {QByteArray("x"), QByteArray(), chain.left(chain.size() / 2),
                                  QByteArray(chain).replace("sequencenr=\"2\"", "sequencenr=\"3\"")}) {
        folder_.write(u"ascmhl/ascmhl_chain.xml"_s, bad);
        EXPECT_FALSE(verifyFolder(root()).faults.isEmpty()) << bad.constData();
        EXPECT_THROW(seal(), SealRefusedError);
    }
    QFile::remove(chainPath(root())); // "0002_..." says that there was one
    EXPECT_FALSE(verifyFolder(root()).faults.isEmpty());
    EXPECT_THROW(seal(), SealRefusedError);
}

TEST_F(Sealed, GoesOnOverAListThatNoChainNames) {
    seal();
    folder_.write(u"ascmhl/0002_x_2026-01-02_090807Z.mhl"_s, "half a li");
    folder_.write(u"ascmhl/"_s + hashListName(2, QFileInfo(root()).fileName(), atNine()), "half a li");
    const VerifyResult result = verifyFolder(root());
    EXPECT_TRUE(result.isWhole());
    EXPECT_EQ(result.remarks.size(), 2);
    EXPECT_EQ(seal().generation, 2);
    EXPECT_THAT(differences(root()), IsEmpty());
}

TEST_F(Sealed, RefusesWhatItCantSpeakFor) {
    const QString control = folder_.write(u"bell\a.wav"_s, "x");
    EXPECT_THROW(seal(), FileError);
    QFile::remove(control);
    const QByteArray latin = root().toUtf8() + "/\xe4.wav";
    QFile odd(QString::fromUtf8(latin));
    ASSERT_EQ(::mkdir(latin.constData(), 0700), 0);
    try {
        seal();
        ADD_FAILURE() << "sealed";
    } catch (const SealRefusedError& refused) {
        EXPECT_THAT(refused.reasons.first().toStdString(), HasSubstr("%E4.wav"));
    }
    EXPECT_FALSE(QFile::exists(historyFolder(root())));
    ::rmdir(latin.constData());
}

TEST_F(Sealed, FollowsNoLinks) {
    const TestFolder elsewhere;
    QFile::link(elsewhere.write(u"x.wav"_s, "first"), at("link.wav"));
    QFile::link(elsewhere.path(), at("away"));
    const SealResult result = seal();
    EXPECT_EQ(result.files.size(), 3U);
    EXPECT_EQ(result.remarks.size(), 2);
    // A link in the place of a file holds nothing of the folder.
    QFile::remove(at("a.wav"));
    QFile::link(elsewhere.path(u"x.wav"_s), at("a.wav"));
    EXPECT_THAT(differences(root()), ElementsAre(u"a.wav missing"_s));
}

TEST_F(Sealed, DoesNotReadAHistoryBehindALink) {
    const TestFolder elsewhere;
    QFile::link(elsewhere.path(), at("ascmhl"));
    EXPECT_THROW(seal(), SealRefusedError);
    EXPECT_FALSE(verifyFolder(root()).isWhole());
    EXPECT_THAT(namesIn(elsewhere.path()), IsEmpty());
}

TEST_F(Sealed, StopsWithNothingWritten) {
    EXPECT_THROW(sealFolder(root(), sealOptions(), {{}, [] { return true; }}), StoppedError);
    EXPECT_FALSE(QFile::exists(historyFolder(root())));
}

TEST_F(Sealed, TellsItsProgressToTheEnd) {
    quint64 done = 0;
    quint64 total = 0;
    sealFolder(root(), sealOptions(), {[&](const CustodyProgress& state) {
                   EXPECT_GE(state.bytesDone, done);
                   done = state.bytesDone;
                   total = state.bytesTotal;
               }});
    EXPECT_EQ(done, 16U);
    EXPECT_EQ(total, 16U);
}

TEST_F(Sealed, IsEmptyToo) {
    const TestFolder empty;
    EXPECT_EQ(sealFolder(empty.path(), sealOptions()).files.size(), 0U);
    EXPECT_TRUE(verifyFolder(empty.path()).isWhole());
    EXPECT_THROW(verifyFolder(root()), FileError);
}

// One of two that began with the same history loses, and writes nothing.
TEST_F(Sealed, ByTwoRunsAtOnceGetsOneGenerationOfEachNumber) {
    SealOptions slow = sealOptions();
    bool isNested = false;
    slow.now = [&] {
        if (!isNested) {
            isNested = true;
            seal(sealOptions(HashFormat::xxh64, atNine().addSecs(5)));
        }
        return atNine();
    };
    EXPECT_THROW(seal(slow), FileError);
    EXPECT_EQ(chainFromBytes(readAll(chainPath(root()))).size(), 1U);
    EXPECT_EQ(namesIn(historyFolder(root())).size(), 2);
    EXPECT_THAT(differences(root()), IsEmpty());
}

TEST_F(Sealed, IsOldOrNewWheneverTheProgramIsKilled) {
    seal();
    append(at("a.wav"), "");
    int kills = 0;
    for (int moment = 1;; ++moment) {
        const std::size_t before = chainFromBytes(readAll(chainPath(root()))).size();
        const bool isKilled = isKilledAt(moment, [&] { seal(); });
        const VerifyResult result = verifyFolder(root());
        EXPECT_TRUE(result.isWhole()) << moment << " " << result.faults.join(u'\n').toStdString();
        const std::size_t after = chainFromBytes(readAll(chainPath(root()))).size();
        EXPECT_TRUE(after == before || after == before + 1) << moment;
        if (!isKilled) break;
        ++kills;
    }
    EXPECT_GE(kills, 6);
    seal();
    EXPECT_THAT(namesIn(historyFolder(root())).filter(u".ostrel-"_s), IsEmpty());
}

TEST_F(Sealed, KeepsItsOldGenerationsOnAFullDisk) {
    seal();
    const QStringList before = fingerprint(root());
    for (int nth = 1; nth < 4; ++nth) {
        int calls = 0;
        const OnSystemCall write(SystemCall::fsync,
                                 [&](const QByteArray&, const QByteArray&) { return ++calls == nth ? ENOSPC : 0; });
        EXPECT_THROW(seal(), FileError) << nth;
        EXPECT_EQ(fingerprint(root()), before) << nth;
    }
}

TEST_F(Sealed, HasTheOrderOfElementsThatTheSchemaAsks) {
    sealFolder(at("ISO"), sealOptions());
    seal();
    QFile::rename(at("a.wav"), at("z.wav"));
    SealOptions options = sealOptions(HashFormat::md5);
    options.metadata[u"z.wav"_s] = {u"o"_s, u"urn:x"_s, u"from"_s, {}};
    const std::map<QString, QStringList> children{
        {u"hashlist"_s, {u"creatorinfo"_s, u"processinfo"_s, u"hashes"_s, u"metadata"_s, u"references"_s}},
        {u"creatorinfo"_s, {u"creationdate"_s, u"hostname"_s, u"tool"_s}},
        {u"processinfo"_s, {u"process"_s, u"roothash"_s, u"ignore"_s}},
        {u"roothash"_s, {u"content"_s, u"structure"_s}},
        {u"hash"_s,
         {u"path"_s, u"c4"_s, u"md5"_s, u"sha1"_s, u"xxh128"_s, u"xxh3"_s, u"xxh64"_s, u"previousPath"_s,
          u"metadata"_s}},
        {u"directoryhash"_s, {u"path"_s, u"content"_s, u"structure"_s}},
        {u"hashlistreference"_s, {u"path"_s, u"c4"_s}}};
    for (const QString& path : seal(options).lists) {
        const QByteArray bytes = readAll(path);
        QXmlStreamReader xml(bytes);
        std::vector<std::pair<QString, qsizetype>> open; // name, place of the last child
        while (!xml.atEnd()) {
            const auto token = xml.readNext();
            if (token == QXmlStreamReader::EndElement) open.pop_back();
            if (token != QXmlStreamReader::StartElement) continue;
            const QString name = xml.name().toString();
            if (!open.empty() && children.contains(open.back().first)) {
                const qsizetype place = children.at(open.back().first).indexOf(name);
                EXPECT_GT(place, open.back().second) << name.toStdString() << " in " << open.back().first.toStdString();
                open.back().second = place;
            }
            open.emplace_back(name, -1);
        }
        EXPECT_FALSE(xml.hasError());
        if (!QStandardPaths::findExecutable(u"xmllint"_s).isEmpty()) {
            EXPECT_EQ(QProcess::execute(u"xmllint"_s, {u"--noout"_s, path}), 0);
        }
    }
}

TEST(SealedTree, NamesTheOneFileOfAThousandThatLostABit) {
    const TestFolder folder;
    for (int i = 0; i < 1000; ++i) {
        folder.write(u"d%1/take%2.wav"_s.arg(i / 100).arg(i), QByteArray(100 + i, static_cast<char>(i)));
    }
    sealFolder(folder.path(), sealOptions());
    EXPECT_THAT(differences(folder.path()), IsEmpty());
    for (const int i : {0, 123, 500, 999}) {
        const QString path = u"d%1/take%2.wav"_s.arg(i / 100).arg(i);
        QFile file(folder.path(path));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        const QByteArray good = file.readAll();
        QByteArray bad = good;
        bad[i / 2] = static_cast<char>(bad[i / 2] ^ (1 << (i % 8)));
        file.seek(0);
        file.write(bad);
        file.close();
        EXPECT_THAT(differences(folder.path()), ElementsAre(path + u" changed"_s));
        folder.write(path, good);
    }
    // Of the lists themselves too.
    const QString list =
        historyFolder(folder.path()) + u'/' + chainFromBytes(readAll(chainPath(folder.path())))[0].file;
    QByteArray bytes = readAll(list);
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
    QFile::remove(list);
    QFile file(list);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    EXPECT_THAT(differences(folder.path()).join(u'\n').toStdString(), HasSubstr("Generation 1 is damaged"));
}

TEST(OldLists, AreVerifiedInTheirFolder) {
    const TestFolder folder;
    folder.write(u"Clips/a.mov"_s, "media-hash-list");
    folder.write(u"b.mov"_s, "1234567");
    const QString list = folder.write(u"day.mhl"_s, R"(<hashlist version="1.0"><creatorinfo/>
        <hash><file>Clips/a.mov</file><size>15</size><xxhash64be>584b2ea1974f2b7c</xxhash64be></hash>
        <hash><file>b.mov</file><size>7</size><null/></hash></hashlist>)");
    VerifyResult result = verifyFolder(folder.path());
    EXPECT_THAT(differences(result), IsEmpty());
    EXPECT_EQ(result.lists, 1);
    EXPECT_EQ(result.count(FileState::verified), 2);
    EXPECT_THAT(result.files[1].detail.toStdString(), HasSubstr("size alone"));
    folder.write(u"c.mov"_s, "new");
    EXPECT_THAT(differences(folder.path()), ElementsAre(u"c.mov new"_s));
    EXPECT_THAT(differences(list), IsEmpty()); // named alone, it speaks for its own files
    append(folder.path(u"b.mov"_s), "8");
    EXPECT_THAT(differences(list), ElementsAre(u"b.mov changed"_s));
    QFile::remove(folder.path(u"Clips/a.mov"_s));
    EXPECT_THAT(differences(list), ElementsAre(u"Clips/a.mov missing"_s, u"b.mov changed"_s));
    folder.write(u"bad.mhl"_s, "nothing");
    EXPECT_THAT(differences(folder.path()).join(u'\n').toStdString(), HasSubstr("bad.mhl"));
}

} // namespace
} // namespace ostrel
