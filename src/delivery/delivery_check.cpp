#include "delivery/delivery_check.h"

#include "delivery/rules/file_rules.h"
#include "foundation/proof/audio_hashes.h"
#include "metadata/chunks/md5_chunk.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <QMap>
#include <algorithm>

namespace ostrel {
namespace {

void checkDigest(const QString& path, bool readsAudio, Findings& findings) {
    const QString field = QStringLiteral("MD5 chunk");
    const std::optional<QString> told = embeddedMd5(path);
    if (!told) {
        findings.add("md5.missing", field, QString(), QString());
        return;
    }
    if (!readsAudio) return;
    try {
        const QString digest = hashAudio(path, {.md5 = true}).md5;
        if (digest != *told) findings.add("md5.stale", field, *told, digest);
    } catch (const std::exception& error) {
        findings.add("file.unreadable", QStringLiteral("audio"), QString::fromUtf8(error.what()), QString());
    }
}

// The value that most have; the first of those in case of doubt.
template <class Key>
Key mostFrequent(const QMap<Key, int>& counts) {
    const auto most = std::max_element(counts.begin(), counts.end());
    return most == counts.end() ? Key() : most.key();
}

} // namespace

std::vector<Finding> DeliveryCheck::look(const QString& path) {
    Findings findings(path, options_.reader);
    const RecordingFacts file = readRecordingFacts(path);
    checkFile(file, findings);
    if (file.fault.isEmpty()) checkDigest(path, options_.readsAudio, findings);
    Member member{.path = path, .rate = file.timecodeRate()};
    if (file.bext && file.bext->umid.count('\0') != file.bext->umid.size()) member.umid = file.bext->umid;
    if (file.ixml) member.fileUid = file.ixml->field("FILE_UID");
    if (file.layout.format) member.sampleRate = file.layout.format->sampleRate;
    keep(std::move(member));
    return findings.taken();
}

void DeliveryCheck::keep(Member member) {
    const std::lock_guard lock(mutex_);
    members_.push_back(std::move(member));
}

std::vector<DeliveryCheck::Member> DeliveryCheck::sorted() const {
    const std::lock_guard lock(mutex_);
    std::vector<Member> members = members_;
    std::sort(members.begin(), members.end(), [](const Member& a, const Member& b) { return a.path < b.path; });
    return members;
}

std::vector<Finding> DeliveryCheck::across() const {
    std::vector<Finding> findings;
    checkShared(findings);
    checkRates(findings);
    checkNames(findings);
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return a.path < b.path; });
    return findings;
}

void DeliveryCheck::checkShared(std::vector<Finding>& findings) const {
    QMap<QByteArray, QString> umids; // and the first file that has each
    QMap<QString, QString> uids;
    for (const Member& member : sorted()) {
        const auto tell = [&](auto& firsts, const auto& value, const char* id, const QString& field,
                              const QString& shown) {
            if (value.isEmpty()) return;
            const auto first = firsts.constFind(value);
            if (first == firsts.constEnd()) {
                firsts.insert(value, member.path);
                return;
            }
            findings.push_back(
                {&ruleNamed(id), member.path, field, QStringLiteral("%1, as in %2").arg(shown, *first), QString()});
        };
        tell(umids, member.umid, "bext.umid-shared", QStringLiteral("bext UMID"),
             QString::fromLatin1(member.umid.first(std::min<qsizetype>(32, member.umid.size())).toHex()));
        tell(uids, member.fileUid, "ixml.file-uid-shared", QStringLiteral("iXML FILE_UID"), member.fileUid);
    }
}

void DeliveryCheck::checkRates(std::vector<Finding>& findings) const {
    const std::vector<Member> members = sorted();
    QMap<QString, int> rates;
    QMap<quint32, int> sampleRates;
    for (const Member& member : members) {
        if (member.rate) ++rates[member.rate->name()];
        if (member.sampleRate != 0) ++sampleRates[member.sampleRate];
    }
    const QString rate = options_.projectRate ? options_.projectRate->name() : mostFrequent(rates);
    const char* id =
        options_.reader == Reader::finalCut && options_.projectRate ? "set.project-rate" : "set.timecode-rate";
    const quint32 sampleRate = mostFrequent(sampleRates);
    for (const Member& member : members) {
        if (member.rate && member.rate->name() != rate) {
            findings.push_back(
                {&ruleNamed(id), member.path, QStringLiteral("iXML SPEED/TIMECODE_RATE"), member.rate->name(), rate});
        }
        if (member.sampleRate != 0 && member.sampleRate != sampleRate) {
            findings.push_back({&ruleNamed("set.sample-rate"), member.path, QStringLiteral("fmt sample rate"),
                                QString::number(member.sampleRate), QString::number(sampleRate)});
        }
    }
}

// Folder by folder.
void DeliveryCheck::checkNames(std::vector<Finding>& findings) const {
    QMap<QString, QStringList> folders;
    for (const Member& member : sorted()) folders[paths::parent(member.path)] << member.path;
    for (QStringList& files : folders) {
        QMap<QString, QString> folded;
        for (const QString& file : files) {
            const QString name = paths::lastComponent(file).normalized(QString::NormalizationForm_C).toCaseFolded();
            if (const auto twin = folded.constFind(name); twin != folded.constEnd()) {
                findings.push_back({&ruleNamed("name.case-twin"), file, QStringLiteral("name"),
                                    paths::lastComponent(*twin), QString()});
            }
            folded.insert(name, file);
        }
        QStringList byLetter = files;
        std::sort(byLetter.begin(), byLetter.end(),
                  [](const QString& a, const QString& b) { return a.toCaseFolded() < b.toCaseFolded(); });
        std::sort(files.begin(), files.end(), naturalLess);
        for (qsizetype i = 0; i < files.size(); ++i) {
            // Told once a folder: of the first file that another program shows elsewhere.
            if (files[i].toCaseFolded() == byLetter[i].toCaseFolded()) continue;
            findings.push_back({&ruleNamed("name.order"), files[i], QStringLiteral("name"),
                                paths::lastComponent(files[i]),
                                QStringLiteral("by letter %1 comes here").arg(paths::lastComponent(byLetter[i]))});
            break;
        }
    }
}

} // namespace ostrel
