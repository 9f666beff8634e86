#include "custody/seal_history.h"

#include "custody/digests/digest.h"
#include "custody/ignore_patterns.h"
#include "custody/lists/hash_list_reader.h"
#include "custody/lists/hash_list_text.h"
#include "platform/files/file_stamp.h"
#include "platform/paths.h"

#include <QDir>
#include <QFileInfo>
#include <array>

namespace ostrel {
namespace {

constexpr std::array kByPreference{HashFormat::xxh128, HashFormat::xxh3, HashFormat::xxh64, HashFormat::md5,
                                   HashFormat::sha1,   HashFormat::c4,   HashFormat::xxh32};

class HistoryReader {
public:
    explicit HistoryReader(const QString& folder) {
        history_.folder = folder;
        history_.ignorePatterns = alwaysIgnored();
    }

    SealHistory read() {
        const QFileInfo place(historyFolder(history_.folder));
        if (place.isSymLink() || QFileInfo(chainPath(history_.folder)).isSymLink()) {
            fault(QStringLiteral("%1 is a link, which may lead anywhere").arg(place.filePath()));
            return std::move(history_);
        }
        if (!place.isDir()) return std::move(history_);
        if (readChain()) {
            for (const ChainEntry& entry : history_.chain) readGeneration(entry);
        }
        checkUnlisted();
        return std::move(history_);
    }

private:
    void fault(const QString& sentence) { history_.faults << sentence; }

    bool readChain() {
        const QString path = chainPath(history_.folder);
        if (!FileStamp::of(path)) return false;
        try {
            history_.chainFile = bytesOfHashList(path);
            history_.chain = chainFromBytes(history_.chainFile);
            return true;
        } catch (const HashListError& error) {
            fault(QStringLiteral("The chain is damaged: %1, %2").arg(path, error.description));
        } catch (const FileError& error) {
            fault(error.description);
        }
        isChainUnreadable_ = true;
        return false;
    }

    void readGeneration(const ChainEntry& entry) {
        const QString path = paths::append(historyFolder(history_.folder), entry.file);
        const QString generation = QStringLiteral("Generation %1").arg(entry.number);
        if (!QFileInfo::exists(path)) {
            return fault(QStringLiteral("%1 is missing: %2").arg(generation, path));
        }
        try {
            const QByteArray bytes = bytesOfHashList(path);
            if (Digest::of(HashFormat::c4, bytes) != entry.c4) {
                return fault(
                    QStringLiteral("%1 is damaged: %2 has not the bytes that the chain names").arg(generation, path));
            }
            take(hashListFromBytes(bytes));
        } catch (const HashListError& error) {
            fault(QStringLiteral("%1 can't be read: %2, %3").arg(generation, path, error.description));
        } catch (const FileError& error) {
            fault(error.description);
        }
    }

    void take(const HashList& list) {
        addToKnown(list, history_.files);
        if (!list.rootContent.empty()) history_.folders.clear(); // a list of some files says nothing of the folders
        for (const ListEntry& entry : list.entries) {
            if (entry.kind == ListEntry::Kind::folder) history_.folders.insert(entry.path);
        }
        for (const QString& pattern : list.ignorePatterns) {
            if (!history_.ignorePatterns.contains(pattern)) history_.ignorePatterns << pattern;
        }
        history_.format = formatOf(list);
        for (const ListReference& reference : list.references) check(reference);
    }

    static std::optional<HashFormat> formatOf(const HashList& list) {
        if (!list.rootContent.empty()) return list.rootContent.begin()->first;
        for (const ListEntry& entry : list.entries) {
            if (!entry.hashes.empty()) return entry.hashes.front().format;
        }
        return std::nullopt;
    }

    void check(const ListReference& reference) {
        const QString path = paths::append(history_.folder, reference.path);
        if (leadsThroughLink(history_.folder, reference.path)) {
            return fault(QStringLiteral("A list of a folder below is behind a link: %1").arg(path));
        }
        if (!QFileInfo::exists(path)) return fault(QStringLiteral("A list of a folder below is missing: %1").arg(path));
        try {
            if (Digest::of(HashFormat::c4, bytesOfHashList(path)) != reference.c4) {
                fault(QStringLiteral("A list of a folder below is damaged: %1").arg(path));
            }
        } catch (const FileError& error) {
            fault(error.description);
        }
    }

    // A run that was killed leaves a list that no chain names, under the number that was its turn. A higher one says
    // that the chain has lost its end.
    void checkUnlisted() {
        if (isChainUnreadable_) return;
        const int turn = static_cast<int>(history_.chain.size()) + 1;
        const QString place = historyFolder(history_.folder);
        const QStringList names = QDir(place).entryList({QStringLiteral("*.mhl")}, QDir::Files | QDir::Hidden);
        for (const QString& name : names) {
            const std::optional<int> number = generationOfName(name);
            const bool isListed = std::any_of(history_.chain.begin(), history_.chain.end(),
                                              [&](const ChainEntry& entry) { return entry.file == name; });
            if (!number || isListed) continue;
            const QString path = paths::append(place, name);
            if (*number > turn) {
                fault(QStringLiteral("The chain has lost generations: it does not name %1").arg(path));
            } else {
                history_.remarks << QStringLiteral("No generation, since the chain does not name it (a run that was "
                                                   "stopped left it): %1")
                                        .arg(path);
            }
        }
    }

    SealHistory history_;
    bool isChainUnreadable_ = false;
};

} // namespace

void KnownFile::add(const ListEntry& entry) {
    bool isTrusted = entry.hashes.empty();
    for (const ListedHash& hash : entry.hashes) {
        if (!hash.isTrusted()) {
            lastFailed[hash.format] = hash.digest;
            continue;
        }
        digests[hash.format].insert(hash.digest);
        isTrusted = true;
    }
    if (isTrusted && entry.size) size = entry.size;
    bySizeAlone = bySizeAlone || entry.hashes.empty();
}

void KnownFile::merge(const KnownFile& other) {
    for (const auto& [format, values] : other.digests) digests[format].insert(values.begin(), values.end());
    for (const auto& [format, digest] : other.lastFailed) lastFailed[format] = digest;
    if (!size) size = other.size;
    bySizeAlone = bySizeAlone || other.bySizeAlone;
}

std::optional<HashFormat> KnownFile::preferredFormat() const {
    for (const HashFormat format : kByPreference) {
        if (digests.contains(format)) return format;
    }
    return std::nullopt;
}

// All old names go ahead of the first new one: two files may have changed places.
void addToKnown(const HashList& list, KnownFiles& files) {
    std::map<QString, KnownFile> renamed;
    for (const ListEntry& entry : list.entries) {
        if (entry.kind != ListEntry::Kind::file || entry.previousPath.isEmpty()) continue;
        const auto old = files.find(entry.previousPath);
        if (old == files.end()) continue;
        renamed[entry.path] = std::move(old->second);
        files.erase(old);
    }
    for (auto& [path, known] : renamed) files[path].merge(known);
    for (const ListEntry& entry : list.entries) {
        if (entry.kind == ListEntry::Kind::file) files[entry.path].add(entry);
    }
}

SealHistory readHistory(const QString& folder) { return HistoryReader(folder).read(); }

bool leadsThroughLink(const QString& folder, const QString& path) {
    QString place = folder;
    for (const QString& name : path.split(u'/')) {
        place = paths::append(place, name);
        if (QFileInfo(place).isSymLink()) return true;
    }
    return false;
}

} // namespace ostrel
