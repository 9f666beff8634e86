// Hash lists and chains, to the byte, and what no list may hold.
#include "custody/digests/digest.h"
#include "custody/lists/chain.h"
#include "custody/lists/hash_list_reader.h"
#include "custody/lists/hash_list_text.h"
#include "custody/lists/hash_list_writer.h"
#include "custody_folder.h"

#include <QStringEncoder>
#include <gmock/gmock.h>

namespace ostrel {
namespace {

using namespace testing;

constexpr char kD2[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<hashlist version="2.0" xmlns="urn:ASC:MHL:v2.0">
 <creatorinfo>
  <creationdate>2026-01-02T09:08:07+00:00</creationdate>
  <hostname>cart</hostname>
  <tool version="1.0">example</tool>
 </creatorinfo>
 <processinfo>
  <process>in-place</process>
  <roothash>
   <content><xxh128>cb2c71052b9dfed7fb9fd5e9377eee1e</xxh128></content>
   <structure><xxh128>4a2f7c656a929178499e0492265a057d</xxh128></structure>
  </roothash>
  <ignore>
   <pattern>.DS_Store</pattern><pattern>ascmhl</pattern><pattern>ascmhl/</pattern>
  </ignore>
 </processinfo>
 <hashes>
  <hash>
   <path size="5" lastmodificationdate="2026-01-02T08:00:00+00:00">ISO/2A-01_1.wav</path>
   <xxh128 action="original" hashdate="2026-01-02T09:08:07+00:00">ad3e38cc4333ed1b742b20a1b224a05e</xxh128>
   <metadata><p:from xmlns:p="urn:example:proof" source="2A-01.wav" channel="1"/></metadata>
  </hash>
  <directoryhash>
   <path>ISO</path>
   <content><xxh128>b2859d872b54288ae887804437131beb</xxh128></content>
   <structure><xxh128>45049d14263714cad7122f5905283234</xxh128></structure>
  </directoryhash>
  <hash>
   <path size="4">notes.txt</path>
   <xxh128 action="original">1064874a071b0e5ebf280cf748ade959</xxh128>
  </hash>
 </hashes>
</hashlist>
)";
constexpr char kC4OfD2[] = "c41ffhhjYqLAhT66Xb5hJXz9mB8jHpGoBoT4eqZ2oMBj9UPV2fyL5gQZr5kAukK7bGdhd9cZkXkxNXPVt1bCQmTUCC";

TEST(HashList, IsWrittenToTheByteAsItWasRead) {
    const HashList list = hashListFromBytes(kD2);
    EXPECT_EQ(list.entries.size(), 3U);
    EXPECT_EQ(list.host, u"cart"_s);
    EXPECT_EQ(list.created, atNine());
    EXPECT_EQ(list.entries[0].metadata->attributes[1], std::pair(u"channel"_s, u"1"_s));
    EXPECT_EQ(list.entries[0].size, 5U);
    const QByteArray bytes = hashListBytes(list);
    EXPECT_EQ(bytes, QByteArray(kD2));
    EXPECT_EQ(bytes.size(), 1257);
    EXPECT_EQ(digestText(HashFormat::c4, Digest::of(HashFormat::c4, bytes)), QString::fromLatin1(kC4OfD2));
}

TEST(HashList, OfASealHoldsTheSameHashes) {
    const TestFolder folder;
    folder.write(u"D2/ISO/2A-01_1.wav"_s, "abcd\n");
    folder.write(u"D2/notes.txt"_s, "def\n");
    SealOptions options = sealOptions();
    options.metadata[u"ISO/2A-01_1.wav"_s] = {
        u"p"_s, u"urn:example:proof"_s, u"from"_s, {{u"source"_s, u"2A-01.wav"_s}, {u"channel"_s, u"1"_s}}};
    const SealResult result = sealFolder(folder.path(u"D2"_s), options);
    ASSERT_EQ(result.lists.size(), 1);
    EXPECT_TRUE(result.lists.first().endsWith(u"/D2/ascmhl/0001_D2_2026-01-02_090807Z.mhl"_s));
    const HashList written = hashListFromBytes(readAll(result.lists.first()));
    // All but the times of the files is what the published list has.
    HashList expected = hashListFromBytes(kD2);
    for (std::size_t i = 0; i < expected.entries.size(); ++i) {
        ASSERT_LT(i, written.entries.size());
        expected.entries[i].modified = written.entries[i].modified;
        for (ListedHash& hash : expected.entries[i].hashes) hash.date = atNine();
    }
    EXPECT_EQ(hashListBytes(written), hashListBytes(expected));
    const Chain chain = chainFromBytes(readAll(folder.path(u"D2/ascmhl/ascmhl_chain.xml"_s)));
    ASSERT_EQ(chain.size(), 1U);
    EXPECT_EQ(chain[0].c4, Digest::of(HashFormat::c4, readAll(result.lists.first())));
}

TEST(HashList, KeepsTheOrderOfFormats) {
    HashList list;
    ListEntry entry;
    entry.path = u"a & \"b\" <c>\t\r\n.wav"_s;
    entry.size = 0;
    entry.previousPath = u"old"_s;
    for (const HashFormat format :
         {HashFormat::xxh64, HashFormat::md5, HashFormat::c4, HashFormat::xxh128, HashFormat::sha1}) {
        entry.hashes.push_back({format, Digest::of(format, "x"), HashAction::verified, {}});
    }
    list.entries.push_back(entry);
    const QByteArray bytes = hashListBytes(list);
    qsizetype last = 0;
    for (const char* word :
         {"<hash>", "<path", "<c4", "<md5", "<sha1", "<xxh128", "<xxh64", "<previousPath", "</hash>"}) {
        EXPECT_GT(bytes.indexOf(word), last) << word;
        last = bytes.indexOf(word);
    }
    const HashList again = hashListFromBytes(bytes);
    EXPECT_EQ(again.entries[0].path, entry.path);
    EXPECT_EQ(again.entries[0].previousPath, entry.previousPath);
}

TEST(HashList, IsReadWithItsMetadataAheadOfTheHashes) {
    QByteArray bytes(kD2);
    bytes.replace(" <hashes>", " <metadata><x:y xmlns:x=\"urn:x\"><x:hash>text</x:hash></x:y></metadata>\n <hashes>");
    EXPECT_EQ(hashListFromBytes(bytes).entries.size(), 3U);
}

TEST(HashList, RefusesWhatNoneMayHold) {
    const auto with = [](const char* old, const QByteArray& text) { return QByteArray(kD2).replace(old, text); };
    QByteArray deep;
    for (int i = 0; i < 100'000; ++i) deep += "<a>";
    const QByteArray bomb =
        "<?xml version=\"1.0\"?><!DOCTYPE h [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]>";
    const std::vector<QByteArray> bad{"",
                                      "<",
                                      "not XML",
                                      "<hashlist/>",
                                      "<hashlist version=\"2.0\"/>",
                                      "<other xmlns=\"urn:ASC:MHL:v2.0\"/>",
                                      with("notes.txt", "../notes.txt"),
                                      with("notes.txt", "/etc/passwd"),
                                      with("notes.txt", "a/../../b"),
                                      with("notes.txt", "a//b"),
                                      with("notes.txt", "./b"),
                                      with("notes.txt", ""),
                                      with(">ISO<", ">..<"),
                                      with("ad3e38cc", "xd3e38cc"),
                                      with("ad3e38cc", "3e38cc"),
                                      with("size=\"4\"", "size=\"-4\""),
                                      with("size=\"4\"", "size=\"99999999999999999999999\""),
                                      with("<hashes>", "<hashes>text"),
                                      with("2.0", "3.0"),
                                      with("<hashlist", bomb + "<hashlist"),
                                      with("notes.txt", "&b;"),
                                      with("<hashes>", "<hashes>" + deep),
                                      QByteArray(kD2).chopped(20),
                                      QByteArray(kD2) + "<more/>",
                                      with("<path size=\"4\">notes.txt</path>", "")};
    for (const QByteArray& bytes : bad)
        EXPECT_THROW(hashListFromBytes(bytes), HashListError) << bytes.left(200).constData();
}

TEST(HashList, IsNotWrittenForNamesThatXmlCantHold) {
    HashList list;
    ListEntry entry;
    entry.hashes.push_back({HashFormat::md5, Digest::of(HashFormat::md5, "x"), HashAction::original, {}});
    for (const QString& name : {u"a\x01z"_s, QString(QChar(0xFFFF)), QString(QChar(0xD800))}) {
        entry.path = name;
        list.entries = {entry};
        EXPECT_THROW(hashListBytes(list), HashListError);
    }
}

TEST(OldHashList, IsReadInAllItsForms) {
    const QByteArray text = R"(<?xml version="1.0" encoding="UTF-8"?>
<hashlist version="1.1">
  <creatorinfo><name>N</name><username>u</username><hostname>h</hostname><tool>t</tool>
    <startdate>2012-12-01 18-34-54</startdate><finishdate>2012-12-01 18-34-55</finishdate></creatorinfo>
  <hash><file>Clips/a.mov</file><size>15</size><lastmodificationdate>2012-12-01T18:34:54Z</lastmodificationdate>
    <xxhash64be note="x">f61411669ed938e3</xxhash64be><hashdate>2012-12-01 18-34-54</hashdate></hash>
  <hash><file>b.mov</file><size>1</size><xxhash64>e338d99e661114f6</xxhash64></hash>
  <hash><file>./c.mov</file><size>1</size><xxhash>3204945916</xxhash></hash>
  <hash><file>d.mov</file><size>7</size><null/></hash>
  <hash><file>e.mov</file><size>1</size><md5>900150983CD24FB0D6963F7D28E17F72</md5></hash>
</hashlist>
)";
    const auto check = [](const HashList& list) {
        EXPECT_EQ(list.version, 1);
        ASSERT_EQ(list.entries.size(), 5U);
        EXPECT_EQ(list.entries[0].hashes[0].digest.toHex(), "f61411669ed938e3");
        EXPECT_EQ(list.entries[0].modified, QDateTime::fromString(u"2012-12-01T18:34:54Z"_s, Qt::ISODate));
        EXPECT_EQ(list.entries[1].hashes[0].digest.toHex(), "f61411669ed938e3");
        EXPECT_EQ(list.entries[2].hashes[0].digest.toHex(), "bf0797fc");
        EXPECT_EQ(list.entries[2].path, u"c.mov"_s);
        EXPECT_TRUE(list.entries[3].hashes.empty());
        EXPECT_EQ(list.entries[3].size, 7U);
        EXPECT_EQ(list.entries[4].hashes[0].digest.toHex(), "900150983cd24fb0d6963f7d28e17f72");
        EXPECT_EQ(list.created, QDateTime::fromString(u"2012-12-01T18:34:55Z"_s, Qt::ISODate));
    };
    check(hashListFromBytes(text));
    const QString wide = QString::fromUtf8(text);
    for (const auto encoding : {QStringConverter::Utf16LE, QStringConverter::Utf16BE, QStringConverter::Utf32LE}) {
        for (const auto flag : {QStringConverter::Flag::Default, QStringConverter::Flag::WriteBom}) {
            QStringEncoder encoder(encoding, flag);
            const QByteArray bytes = encoder(wide);
            check(hashListFromBytes(bytes));
        }
    }
    EXPECT_THROW(hashListFromBytes(QByteArray(text).replace("b.mov", "../b.mov")), HashListError);
    EXPECT_THROW(hashListFromBytes(QByteArray(text).replace("3204945916", "99999999999")), HashListError);
}

TEST(Chain, IsWrittenAndReadAgain) {
    const QByteArray c4 = Digest::of(HashFormat::c4, "x");
    const QByteArray bytes = chainBytes({{1, u"0001_a & b.mhl"_s, c4}, {2, u"0002_c.mhl"_s, c4}});
    const Chain chain = chainFromBytes(bytes);
    ASSERT_EQ(chain.size(), 2U);
    EXPECT_EQ(chain[0].file, u"0001_a & b.mhl"_s);
    EXPECT_EQ(chainBytes(chain), bytes);
    EXPECT_THROW(chainFromBytes(QByteArray(bytes).replace("sequencenr=\"2\"", "sequencenr=\"3\"")), HashListError);
    EXPECT_THROW(chainFromBytes(QByteArray(bytes).replace("0002_c", "../0002_c")), HashListError);
    EXPECT_THROW(chainFromBytes(QByteArray(bytes).replace("<c4>c4", "<c4>c5")), HashListError);
}

TEST(Chain, NamesListsByFolderAndTime) {
    EXPECT_EQ(hashListName(1, u"D2"_s, atNine()), u"0001_D2_2026-01-02_090807Z.mhl"_s);
    EXPECT_EQ(generationOfName(u"0012_D2_2026-01-02_090807Z.mhl"_s), 12);
    EXPECT_EQ(generationOfName(u"notes.mhl"_s), std::nullopt);
    EXPECT_LE(hashListName(1, QString(255, u'ä'), atNine()).toUtf8().size(), 255);
}

TEST(SealedFolder, IsTheNearestAtOrAbove) {
    const TestFolder folder;
    const QString inner = folder.path() + u"/a/b/c.wav"_s;
    EXPECT_EQ(sealedFolderOf(inner), std::nullopt);
    folder.write(u"ascmhl/ascmhl_chain.xml"_s, "x");
    EXPECT_EQ(sealedFolderOf(inner), folder.path());
    EXPECT_EQ(sealedFolderOf(folder.path()), folder.path());
    folder.write(u"a/ascmhl/ascmhl_chain.xml"_s, "x");
    EXPECT_EQ(sealedFolderOf(inner), folder.path() + u"/a"_s);
}

} // namespace
} // namespace ostrel
