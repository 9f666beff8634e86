#include "delivery/rules/rule.h"

#include <QStringList>
#include <QtGlobal>
#include <algorithm>
#include <array>
#include <string_view>

namespace ostrel {
namespace {

constexpr const char* kRiff = "RIFF (IBM and Microsoft, 1991), EBU Tech 3306";
constexpr const char* kExtensible = "WAVEFORMATEXTENSIBLE (Microsoft)";
constexpr const char* kBextForm = "EBU Tech 3285";
constexpr const char* kCodingHistory = "EBU R98";
constexpr const char* kIxml = "iXML 3.01";
constexpr const char* kBoth = "iXML 3.01: iXML and the Description have to agree";
constexpr const char* kAdm = "ITU-R BS.2088";
constexpr const char* kNames = "what Windows, exFAT and macOS take";
constexpr const char* kAvid = "Avid's manuals: link and import of WAV";
constexpr const char* kProTools = "Pro Tools' manual: field recorder channels";
constexpr const char* kFinalCut = "Final Cut Pro's manual: BWF and iXML";
constexpr const char* kUmidForm = "SMPTE ST 330";
constexpr const char* kMd5 = "BWF MetaEdit: the MD5 chunk";

using R = Reader;
using S = Severity;

constexpr std::array kRules{
    Rule{"file.unreadable", R::anybody, S::error, "This is no WAV file, or it can't be read", kRiff, false},
    Rule{"file.sizes", R::anybody, S::error,
         "The sizes in the header are not those of the file: it was not closed, or was cut", kRiff, false},
    Rule{"fmt.mask-count", R::anybody, S::warning,
         "The header names another number of speakers than there are channels", kExtensible, false},
    Rule{"fmt.mono-mask", R::anybody, S::note,
         "A single track names a speaker: some programs then pan it there, or refuse to treat it as mono", kExtensible,
         true},
    Rule{"fmt.avid-bits", R::avid, S::error, "Avid links to WAV files of 16 and 24 bit", kAvid, false},
    Rule{"fmt.avid-channels", R::avid, S::error, "Avid links to at most 24 channels in a file", kAvid, false},
    Rule{"bext.missing", R::anybody, S::note, "There is no bext chunk, so no start time that editors read", kBextForm,
         false},
    Rule{"bext.archive-missing", R::archive, S::error, "There is no bext chunk", kBextForm, false},
    Rule{"bext.date-form", R::anybody, S::note,
         "The date is not written as year-month-day with hyphens, which strict readers ignore", kBextForm, true},
    Rule{"bext.time-form", R::anybody, S::note,
         "The time is not written as hours:minutes:seconds with colons, which strict readers ignore", kBextForm, true},
    Rule{"bext.start-past-midnight", R::anybody, S::warning, "The start lies behind the end of the day", kBextForm,
         false},
    Rule{"bext.start-zero", R::anybody, S::note, "The start is midnight to the sample: mostly no timecode was there",
         kBextForm, false},
    Rule{"bext.line-ends", R::avid, S::error,
         "Lines of the Description do not end with CR LF, so Avid does not find the keys", kAvid, true},
    Rule{"bext.coding-history", R::anybody, S::warning,
         "The last line of the coding history speaks of another format than the file has", kCodingHistory, false},
    Rule{"bext.history-missing", R::archive, S::note, "There is no coding history", kCodingHistory, false},
    Rule{"bext.umid-form", R::anybody, S::note, "What stands in place of a UMID is none", kUmidForm, false},
    Rule{"bext.umid-shared", R::anybody, S::warning, "Several files have this UMID, which is meant for one", kUmidForm,
         false},
    Rule{"ixml.unreadable", R::anybody, S::error, "The iXML is not text in the encoding that it declares", kIxml,
         false},
    Rule{"ixml.malformed", R::anybody, S::error, "The iXML is no well-formed XML: strict readers take nothing of it",
         kIxml, false},
    Rule{"ixml.track-count", R::anybody, S::warning, "TRACK_COUNT is not the number of tracks in the list", kIxml,
         true},
    Rule{"ixml.tracks-of-file", R::anybody, S::warning,
         "The list has another number of tracks than the file has channels", kIxml, false},
    Rule{"ixml.interleave-doubled", R::anybody, S::error, "Two tracks of the list are the same channel of the file",
         kIxml, false},
    Rule{"ixml.interleave-range", R::anybody, S::error, "A track of the list is a channel that the file does not have",
         kIxml, false},
    Rule{"ixml.channel-doubled", R::anybody, S::warning, "Two tracks of the list come from the same input", kIxml,
         false},
    Rule{"ixml.sample-rate", R::anybody, S::warning, "The sample rate is another one than the file's", kIxml, false},
    Rule{"ixml.bit-depth", R::anybody, S::warning, "The bit depth is another one than the file's", kIxml, true},
    Rule{"ixml.timecode-rate", R::anybody, S::note,
         "There is a start but no timecode rate, so it can't be shown as timecode", kIxml, false},
    Rule{"ixml.file-uid-shared", R::anybody, S::warning, "Several files have this FILE_UID, which is meant for one",
         kIxml, false},
    Rule{"agree.scene", R::anybody, S::warning, "iXML and Description name different scenes", kBoth, true},
    Rule{"agree.take", R::anybody, S::warning, "iXML and Description name different takes", kBoth, true},
    Rule{"agree.tape", R::anybody, S::warning, "iXML and Description name different tapes", kBoth, true},
    Rule{"agree.track-name", R::anybody, S::note, "iXML and Description name a track differently", kBoth, true},
    Rule{"agree.start", R::anybody, S::warning,
         "iXML and bext tell different starts; Avid believes the iXML, others the bext", kBoth, false},
    Rule{"agree.timecode-rate", R::anybody, S::warning, "iXML and Description tell different timecode rates", kBoth,
         false},
    Rule{"md5.stale", R::anybody, S::error, "The MD5 chunk is not the digest of the audio: one of them changed", kMd5,
         false},
    Rule{"md5.missing", R::archive, S::note, "There is no MD5 chunk to verify the audio by (ostrel-cli hash --embed)",
         kMd5, false},
    Rule{"chna.track", R::anybody, S::error, "The audio definition speaks of a track that the file does not have", kAdm,
         false},
    Rule{"chna.counts", R::anybody, S::warning, "The audio definition counts its own rows otherwise than they are",
         kAdm, false},
    Rule{"chna.uid", R::anybody, S::error, "A track UID of the audio definition is not in the axml document", kAdm,
         false},
    Rule{"name.characters", R::anybody, S::warning, "The name has characters that some file systems refuse", kNames,
         false},
    Rule{"name.case-twin", R::anybody, S::warning,
         "Two names of a folder differ in nothing but letter case or the way accents are stored", kNames, false},
    Rule{"name.order", R::anybody, S::note,
         "Numbers without leading zeros: programs that sort by letter put 10 ahead of 2", kNames, false},
    Rule{"name.lost-take", R::proTools, S::warning,
         "Neither scene nor take is in the name, and the file shares no tape with others", kProTools, false},
    Rule{"set.timecode-rate", R::anybody, S::warning, "The timecode rate is another one than that of the other files",
         kIxml, false},
    Rule{"set.project-rate", R::finalCut, S::error,
         "Final Cut plays a file faster or slower whose timecode rate is not the project's", kFinalCut, false},
    Rule{"set.sample-rate", R::anybody, S::warning, "The sample rate is another one than that of the other files",
         kRiff, false},
};

} // namespace

std::span<const Rule> allRules() { return kRules; }

const Rule& ruleNamed(const char* id) {
    const auto found =
        std::find_if(kRules.begin(), kRules.end(), [&](const Rule& rule) { return std::string_view(rule.id) == id; });
    if (found == kRules.end()) qFatal("no rule %s", id);
    return *found;
}

QString wordOf(Severity severity) {
    switch (severity) {
    case Severity::note: return QStringLiteral("note");
    case Severity::warning: return QStringLiteral("warning");
    case Severity::error: break;
    }
    return QStringLiteral("error");
}

QString wordOf(Reader reader) {
    switch (reader) {
    case Reader::anybody: break;
    case Reader::avid: return QStringLiteral("avid");
    case Reader::proTools: return QStringLiteral("protools");
    case Reader::finalCut: return QStringLiteral("fcp");
    case Reader::archive: return QStringLiteral("archive");
    }
    return {};
}

QString rulesAsMarkdown() {
    QStringList lines{
        QStringLiteral("# Rules for recordings that leave the house"),
        QString(),
        QStringLiteral("What `ostrel-cli check` looks for. Made by `ostrel-cli check --rules`; a test compares the "
                       "two. Rules with a reader hold"),
        QStringLiteral(
            "with `--for` that reader only. \"Fix\" says that there is one right answer, which `--fix` writes."),
        QString(),
        QStringLiteral("| Rule | Severity | For | What is wrong | Fix | Source |"),
        QStringLiteral("|---|---|---|---|---|---|"),
    };
    for (const Rule& rule : kRules) {
        lines << QStringLiteral("| %1 |").arg(
            QStringList{QLatin1Char('`') + QString::fromLatin1(rule.id) + QLatin1Char('`'), wordOf(rule.severity),
                        wordOf(rule.reader), QString::fromUtf8(rule.says),
                        rule.hasOneAnswer ? QStringLiteral("yes") : QString(), QString::fromUtf8(rule.source)}
                .join(QStringLiteral(" | ")));
    }
    return lines.join(u'\n') + u'\n';
}

void Findings::add(const char* id, const QString& field, const QString& found, const QString& expected) {
    const Rule& rule = ruleNamed(id);
    if (rule.reader == Reader::anybody || rule.reader == reader_)
        list_.push_back({&rule, path_, field, found, expected});
}

} // namespace ostrel
