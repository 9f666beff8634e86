#include "interleaver/library_scanner.h"

#include "interleaver/fixtures.h"
#include "interleaver/library_safety.h"
#include "platform/files/files.h"
#include "platform/paths.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

LibraryScanner scanner(const QString& bwfmetaedit = QString()) { return {tool("ffprobe"), bwfmetaedit}; }

void writeMono(const TestFolder& folder, const char* name, const WaveSpec& spec = {}) {
    folder.write(QString::fromUtf8(name), waveBytes(spec));
}

// "{relative folder}/{base}: {status}", one a group.
QStringList told(const std::vector<InterleaveGroup>& groups) {
    QStringList result;
    for (const InterleaveGroup& group : groups) {
        result << QStringLiteral("%1/%2: %3").arg(group.relativePath, group.baseName, group.status.displayText());
    }
    return result;
}

QStringList scanPairs(const TestFolder& folder, bool includeSubfolders = true) {
    return told(scanner().scanForLibrarySafeLRMerge(ScanRequest::folder(folder.path(), includeSubfolders)));
}

TEST(LibrarySafety, ExtractBaseName) {
    const auto parts = [](const char* name) {
        const auto found = LibrarySafetyConstants::extractBaseName(QString::fromUtf8(name));
        return found ? found->baseName + u'|' + found->channelTag : QString();
    };
    EXPECT_EQ(parts("Rain L.wav"), QStringLiteral("Rain|L"));
    EXPECT_EQ(parts("Rain_R.wav"), QStringLiteral("Rain|R"));
    EXPECT_EQ(parts("Rain-l.aif"), QStringLiteral("Rain|L"));
    EXPECT_EQ(parts("Rain.r.WAV"), QStringLiteral("Rain|R"));
    EXPECT_EQ(parts("Rain.C.wav"), QString());
    EXPECT_EQ(parts("RainL.wav"), QString());
    EXPECT_EQ(parts("Rain.Ls.wav"), QString());
}

TEST(LibrarySafety, AnalyzeSiblings) {
    const auto files = [](std::initializer_list<const char*> names) {
        QStringList result;
        for (const char* name : names) result << QStringLiteral("/x/") + QString::fromUtf8(name);
        return result;
    };
    EXPECT_EQ(analyzeSiblings({}), SiblingAnalysis::incomplete(QStringLiteral("Only 0 sibling(s)"), 0));
    EXPECT_EQ(analyzeSiblings(files({"a.L.wav"})), SiblingAnalysis::incomplete(QStringLiteral("Only 1 sibling(s)"), 1));
    EXPECT_EQ(analyzeSiblings(files({"a.L.wav", "a.R.wav", "a_L.wav"})),
              SiblingAnalysis::incomplete(QStringLiteral("Excess siblings"), 3));
    EXPECT_EQ(analyzeSiblings(files({"a.L.wav", "a_L.wav"})),
              SiblingAnalysis::notLR(QStringLiteral("Missing L or R channel")));
    EXPECT_EQ(analyzeSiblings(files({"a.L.wav", "b.R.wav"})),
              SiblingAnalysis::notLR(QStringLiteral("Base name mismatch")));
    EXPECT_EQ(analyzeSiblings(files({"a.R.wav", "a_L.wav"})),
              SiblingAnalysis::eligibleLRPair(QStringLiteral("/x/a_L.wav"), QStringLiteral("/x/a.R.wav"),
                                              QStringLiteral("a")));
}

TEST(LibraryScanner, PairsAcrossSeparators) {
    const TestFolder folder;
    for (const char* name : {"Rain L.wav", "Rain R.wav", "Wind_L.wav", "Wind.R.wav", "low.l.wav", "low.r.wav"})
        writeMono(folder, name);
    const QString ready = QStringLiteral(": ✅ Ready (L/R Merge)");
    EXPECT_EQ(scanPairs(folder), (QStringList{QStringLiteral("/Rain") + ready, QStringLiteral("/Wind") + ready,
                                              QStringLiteral("/low") + ready}));
}

TEST(LibraryScanner, ExcessAndSingleSiblingsAreIncomplete) {
    const TestFolder folder;
    for (const char* name : {"Rain.L.wav", "Rain.R.wav", "Rain.L.aif", "Alone.L.wav"}) writeMono(folder, name);
    const auto groups = scanner().scanForLibrarySafeLRMerge(ScanRequest::folder(folder.path()));
    EXPECT_EQ(told(groups), (QStringList{QStringLiteral("/Alone.L: Incomplete Pair (1 files) - Only 1 sibling(s)"),
                                         QStringLiteral("/Rain.L: Incomplete Pair (3 files) - Excess siblings")}));
    for (const InterleaveGroup& group : groups) {
        EXPECT_FALSE(group.include);
        EXPECT_TRUE(group.channelFiles.isEmpty());
    }
}

TEST(LibraryScanner, TheSameNamesInTwoFoldersStayApart) {
    const TestFolder folder;
    for (const char* name : {"a/Rain.L.wav", "a/Rain.R.wav", "b/Rain.L.wav", "b/Rain.R.wav"}) writeMono(folder, name);
    EXPECT_EQ(scanPairs(folder), (QStringList{QStringLiteral("/a/Rain: ✅ Ready (L/R Merge)"),
                                              QStringLiteral("/b/Rain: ✅ Ready (L/R Merge)")}));
}

TEST(LibraryScanner, ACentreFileNeverReachesABag) {
    const TestFolder folder;
    for (const char* name : {"Rain.L.wav", "Rain.R.wav", "Rain.C.wav", "Rain.LFE.wav"}) writeMono(folder, name);
    EXPECT_EQ(scanPairs(folder), QStringList{QStringLiteral("/Rain: ✅ Ready (L/R Merge)")});
}

TEST(LibraryScanner, SubfoldersAndHiddenFilesOnRequestAndNever) {
    const TestFolder folder;
    for (const char* name :
         {"sub/Rain.L.wav", "sub/Rain.R.wav", ".hidden/A.L.wav", ".hidden/A.R.wav", ".B.L.wav", ".B.R.wav"})
        writeMono(folder, name);
    EXPECT_TRUE(scanPairs(folder, false).isEmpty());
    EXPECT_EQ(scanPairs(folder).size(), 1);
}

TEST(LibraryScanner, PristineGates) {
    const TestFolder folder;
    WaveSpec spec;
    writeMono(folder, "Rate.L.wav");
    spec.sampleRate = 44100;
    writeMono(folder, "Rate.R.wav", spec);
    spec = {};
    spec.bitDepth = 16;
    writeMono(folder, "Bits.L.wav");
    writeMono(folder, "Bits.R.wav", spec);
    spec = {};
    spec.channels = 2;
    writeMono(folder, "Stereo.L.wav", spec);
    writeMono(folder, "Stereo.R.wav");
    spec = {};
    spec.frames = 4800 + 480; // 0.01 s longer: just allowed
    writeMono(folder, "Near.L.wav");
    writeMono(folder, "Near.R.wav", spec);
    spec.frames = 4800 + 528;
    writeMono(folder, "Far.L.wav");
    writeMono(folder, "Far.R.wav", spec);
    folder.write(QStringLiteral("Text.L.wav"), "this is no audio");
    writeMono(folder, "Text.R.wav");
    const QStringList found = scanPairs(folder);
    ASSERT_EQ(found.size(), 6);
    EXPECT_EQ(found[0], QStringLiteral("/Bits: Bit Depth Mismatch"));
    EXPECT_EQ(found[1], QStringLiteral("/Far: Duration Mismatch (0.100s vs 0.111s)"));
    EXPECT_EQ(found[2], QStringLiteral("/Near: ✅ Ready (L/R Merge)"));
    EXPECT_EQ(found[3], QStringLiteral("/Rate: Sample Rate Mismatch"));
    EXPECT_EQ(found[4], QStringLiteral("/Stereo: Failed: Left file is not mono (2ch)"));
    EXPECT_TRUE(found[5].startsWith(QStringLiteral("/Text: Failed: Probe failed: ffprobe failed: ")))
        << found[5].toStdString();
}

TEST(LibraryScanner, AReadyPairCarriesTheLeftFilesFacts) {
    const TestFolder folder;
    writeMono(folder, "Rain.L.wav");
    writeMono(folder, "Rain.R.wav");
    const auto plain = scanner().scanForLibrarySafeLRMerge(ScanRequest::folder(folder.path())).front();
    EXPECT_EQ(plain.sampleRate, 48000);
    EXPECT_EQ(plain.bitDepth, 24);
    EXPECT_DOUBLE_EQ(plain.duration.value(), 0.1);
    EXPECT_EQ(plain.metadataTier, MetadataTier::bestEffort);
    EXPECT_EQ(plain.containerKind, ContainerKind::unknown);
    const auto known = scanner(QStringLiteral("/some/bwfmetaedit"))
                           .scanForLibrarySafeLRMerge(ScanRequest::folder(folder.path()))
                           .front();
    EXPECT_EQ(known.metadataTier, MetadataTier::bwfGuaranteed);
    EXPECT_EQ(known.containerKind, ContainerKind::riffWave);
}

TEST(LibraryScanner, ProgressTexts) {
    const TestFolder folder;
    writeMono(folder, "Rain.L.wav");
    writeMono(folder, "Rain.R.wav");
    QStringList texts;
    ScanRequest request = ScanRequest::folder(folder.path());
    request.progress = [&](const QString& text) { texts << text; };
    scanner().scanForLibrarySafeLRMerge(request);
    EXPECT_EQ(texts.join(u'|'),
              QStringLiteral("Scanning for audio files...|Found 2 audio files, analyzing siblings...|"
                             "Analyzing 1 sibling sets...|Validating 1 eligible L/R pairs...|Validated: Rain"));
    texts.clear();
    scanner().scanForInterleave(request, ChannelLayout::stereo);
    EXPECT_EQ(texts.join(u'|'),
              QStringLiteral(
                  "Scanning for WAV files...|Found 2 WAV files, grouping...|Validating 1 groups...|Validated: Rain"));
    texts.clear();
    scanner().scanForDeinterleave(request, ChannelLayout::stereo);
    EXPECT_EQ(texts.join(u'|'),
              QStringLiteral("Scanning for multichannel audio files...|Found 2 audio files, checking channel counts...|"
                             "Probing: Rain.L.wav|Probing: Rain.R.wav"));
}

TEST(LibraryScanner, SetsOfALayout) {
    const TestFolder folder;
    for (const QString& tag : ChannelLayout::film51.channelTags) {
        writeMono(folder, ("Full." + tag.toUtf8() + ".wav").constData());
        if (tag != QStringLiteral("LFE")) writeMono(folder, ("Five_" + tag.toUtf8() + ".WAV").constData());
    }
    writeMono(folder, "Plain.wav");
    const auto groups = scanner().scanForInterleave(ScanRequest::folder(folder.path()), ChannelLayout::film51);
    EXPECT_EQ(told(groups), (QStringList{QStringLiteral("/Five: Missing: LFE"), QStringLiteral("/Full: Ready")}));
    EXPECT_EQ(groups[1].bitDepth, 24);
}

TEST(LibraryScanner, ALayoutGroupAllowsOneMillisecond) {
    const TestFolder folder;
    WaveSpec spec;
    writeMono(folder, "A.L.wav");
    spec.frames = 4800 + 48;
    writeMono(folder, "A.R.wav", spec);
    writeMono(folder, "B.L.wav");
    spec.frames = 4800 + 96;
    writeMono(folder, "B.R.wav", spec);
    EXPECT_EQ(told(scanner().scanForInterleave(ScanRequest::folder(folder.path()), ChannelLayout::stereo)),
              (QStringList{QStringLiteral("/A: Ready"), QStringLiteral("/B: Duration Mismatch (0.100s vs 0.102s)")}));
}

TEST(LibraryScanner, MultichannelFilesOfALayout) {
    const TestFolder folder;
    WaveSpec spec;
    spec.channels = 6;
    writeMono(folder, "b/Six.wav", spec);
    writeMono(folder, "A Six.wav", spec);
    writeMono(folder, "Mono.wav");
    folder.write(QStringLiteral("broken.wav"), "x");
    folder.path(QStringLiteral("folder.wav/inside"));
    QFile::link(QStringLiteral("/nowhere"), folder.path(QStringLiteral("dangling.wav")));
    const auto sources = scanner().scanForDeinterleave(ScanRequest::folder(folder.path()), ChannelLayout::smpte51);
    ASSERT_EQ(sources.size(), 2u);
    EXPECT_EQ(paths::lastComponent(sources[0].sourceURL), QStringLiteral("A Six.wav"));
    EXPECT_EQ(sources[1].relativePath, QStringLiteral("/b"));
    EXPECT_EQ(sources[0].status, ProcessingStatus::ready());
    EXPECT_EQ(sources[0].selectedChannels.size(), 6);
    EXPECT_EQ(sources[0].bitDepth, 24);
}

TEST(LibraryScanner, AFolderThatCannotBeWalkedThrows) {
    try {
        scanner().scanForInterleave(ScanRequest::folder(QStringLiteral("/nowhere")), ChannelLayout::stereo);
        FAIL();
    } catch (const ScanError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Cannot enumerate directory: /nowhere"));
    }
    EXPECT_EQ(ScanError(ScanError::Kind::directoryNotReadable, QStringLiteral("/x")).errorDescription(),
              QStringLiteral("Directory not readable: /x"));
}

TEST(LibraryScanner, ASelectionOfFoldersAndFilesTakesEachFileOnce) {
    const TestFolder folder;
    for (const char* name :
         {"a/Rain.L.wav", "a/Rain.R.wav", "b/Wind.L.wav", "b/Wind.R.wav", "b/Out.L.wav", "b/Out.R.wav"})
        writeMono(folder, name);
    ScanRequest request;
    request.root = folder.path();
    request.items = {folder.path(QStringLiteral("a")), folder.path(QStringLiteral("a/Rain.L.wav")),
                     folder.path(QStringLiteral("b/Wind.L.wav")), folder.path(QStringLiteral("b/Wind.R.wav"))};
    EXPECT_EQ(
        told(scanner().scanForLibrarySafeLRMerge(request)),
        (QStringList{QStringLiteral("/a/Rain: ✅ Ready (L/R Merge)"), QStringLiteral("/b/Wind: ✅ Ready (L/R Merge)")}));
}

TEST(LRScanSummary, CountsByStatus) {
    std::vector<InterleaveGroup> groups(9);
    groups[0].status = ProcessingStatus::readyLRMerge();
    groups[1].status = ProcessingStatus::protectedSurround(QString(), 2);
    groups[2].status = ProcessingStatus::protectedAmbisonics(QString(), 2);
    groups[3].status = ProcessingStatus::incompletePair(QString(), 1);
    groups[4].status = ProcessingStatus::notLRPair(QString());
    groups[5].status = ProcessingStatus::mismatchSampleRate();
    groups[6].status = ProcessingStatus::mismatchBitDepth();
    groups[7].status = ProcessingStatus::mismatchDuration(1, 2);
    groups[8].status = ProcessingStatus::failed(QString());
    const LRScanSummary summary = LRScanSummary::generate(groups);
    for (const int count :
         {summary.readyPairs, summary.protectedSurround, summary.protectedAmbisonics, summary.incomplete, summary.notLR,
          summary.sampleRateMismatches, summary.bitDepthMismatches, summary.durationMismatches}) {
        EXPECT_EQ(count, 1);
    }
    EXPECT_EQ(summary.total, 9);
}

// Headers that are read side by side give what ffprobe gives one after the other, in the same order.
TEST(LibraryScanner, TheDirectEngineFindsTheSamePairs) {
    const TestFolder folder;
    for (int i = 0; i < 40; ++i) {
        const QString base = QStringLiteral("Take %1").arg(i, 2, 10, QLatin1Char('0'));
        folder.write(base + QStringLiteral(".L.wav"), waveBytes({.frames = 480}));
        const int rate = i % 7 == 0 ? 44100 : 48000;
        folder.write(base + QStringLiteral(".R.wav"), waveBytes({.sampleRate = rate, .frames = i % 5 ? 480 : 4800}));
    }
    const auto request = ScanRequest::folder(folder.path());
    const LibraryScanner direct(tool("ffprobe"), QString(), EngineChoice::direct);
    const auto theirs = told(scanner().scanForLibrarySafeLRMerge(request));
    EXPECT_EQ(told(direct.scanForLibrarySafeLRMerge(request)), theirs);
    EXPECT_EQ(theirs.size(), 40);
    EXPECT_EQ(told(direct.scanForInterleave(request, ChannelLayout::stereo)),
              told(scanner().scanForInterleave(request, ChannelLayout::stereo)));
}

} // namespace
} // namespace ostrel
