#include "custody/lists/hash_list_reader.h"

#include "custody/lists/list_document.h"
#include "custody/lists/old_digests.h"
#include "platform/files/file_stamp.h"
#include "platform/paths.h"

#include <QFile>
#include <QFileInfo>

namespace ostrel {
namespace {

HashAction actionOf(const QString& word) {
    for (const HashAction action : {HashAction::original, HashAction::verified, HashAction::failed}) {
        if (word == rawText(action)) return action;
    }
    return HashAction::none;
}

class HashListParser {
public:
    explicit HashListParser(const QByteArray& bytes) : document_(bytes) {}

    HashList parse() {
        document_.enterRoot(QStringLiteral("hashlist"));
        const QString version = document_.attribute("version");
        list_.version = version.startsWith(QLatin1String("1.")) ? 1 : 2;
        if (list_.version == 2 && (version != QLatin1String("2.0") || document_.namespaceUri() != kListNamespace)) {
            document_.fail(QStringLiteral("a version that is not known: %1").arg(version));
        }
        namespace_ = document_.namespaceUri();
        document_.forEachChild([this] {
            if (is("creatorinfo"))
                readCreator();
            else if (is("processinfo"))
                readProcess();
            else if (is("hashes"))
                document_.forEachChild([this] { readEntry(); });
            else if (is("references"))
                document_.forEachChild([this] { readReference(); });
            else if (list_.version == 1)
                readEntry();
        });
        document_.requireEnd();
        return std::move(list_);
    }

private:
    bool is(const char* name) const {
        return document_.namespaceUri() == namespace_ && document_.name() == QLatin1String(name);
    }

    QString path() {
        QString text = document_.text();
        if (list_.version == 1) text = text.trimmed(); // some of these writers indent what they write
        if (list_.version == 1 && text.startsWith(QLatin1String("./"))) text.remove(0, 2);
        if (!staysWithin(text)) document_.fail(QStringLiteral("a path that leads out of the folder: %1").arg(text));
        return text;
    }

    void readCreator() {
        document_.forEachChild([this] {
            if (is("creationdate") || is("finishdate")) {
                list_.created = dateFromList(document_.text());
            } else if (is("hostname")) {
                list_.host = document_.text();
            } else if (is("tool")) {
                list_.toolVersion = document_.attribute("version");
                list_.tool = document_.text();
            }
        });
    }

    void readProcess() {
        document_.forEachChild([this] {
            if (is("process")) {
                list_.process = document_.text();
            } else if (is("roothash")) {
                readFolderHashes(list_.rootContent, list_.rootStructure);
            } else if (is("ignore")) {
                document_.forEachChild([this] {
                    if (is("pattern")) list_.ignorePatterns << document_.text();
                });
            }
        });
    }

    void readFolderHashes(Digests& content, Digests& structure) {
        document_.forEachChild([&] { readFolderHash(content, structure); });
    }

    void readFolderHash(Digests& content, Digests& structure) {
        Digests* target = is("content") ? &content : is("structure") ? &structure : nullptr;
        if (!target) return;
        document_.forEachChild([&] {
            if (const auto hash = readHash()) (*target)[hash->format] = hash->digest;
        });
    }

    // Nothing for an element that is no digest, which is passed over.
    std::optional<ListedHash> readHash() {
        const QString word = document_.name();
        const auto format = document_.namespaceUri() == namespace_ ? hashFormatOf(word) : std::nullopt;
        if (!format || *format == HashFormat::xxh32) return std::nullopt;
        ListedHash hash{
            *format, {}, actionOf(document_.attribute("action")), dateFromList(document_.attribute("hashdate"))};
        const QString text = document_.text().trimmed();
        const std::optional<QByteArray> digest = digestFromText(*format, text);
        if (!digest) document_.fail(QStringLiteral("no %1 digest: %2").arg(word, text.left(100)));
        hash.digest = *digest;
        return hash;
    }

    std::optional<ListedHash> readOldHash() {
        const QString word = document_.name();
        if (document_.namespaceUri() != namespace_ || !isOldDigestName(word)) return std::nullopt;
        const QString text = document_.text().trimmed();
        std::optional<ListedHash> hash = oldDigest(word, text);
        if (!hash) document_.fail(QStringLiteral("no %1 digest: %2").arg(word, text.left(100)));
        return hash;
    }

    void readEntry() {
        ListEntry entry;
        if (is("directoryhash") && list_.version == 2) {
            entry.kind = ListEntry::Kind::folder;
        } else if (!is("hash")) {
            return;
        }
        document_.forEachChild([&] { readPartOf(entry); });
        if (entry.path.isEmpty()) document_.fail(QStringLiteral("an entry without a path"));
        const bool isFile = entry.kind == ListEntry::Kind::file;
        if (isFile && entry.hashes.empty() && !(list_.version == 1 && entry.size)) {
            document_.fail(QStringLiteral("%1 has no digest that is known").arg(entry.path));
        }
        list_.entries.push_back(std::move(entry));
    }

    void readPartOf(ListEntry& entry) {
        if (is("path")) {
            readSize(entry, document_.attribute("size"));
            entry.modified = dateFromList(document_.attribute("lastmodificationdate"));
            entry.path = path();
        } else if (is("previousPath")) {
            entry.previousPath = path();
        } else if (is("metadata")) {
            readMetadata(entry);
        } else if (list_.version == 1) {
            readOldPartOf(entry);
        } else if (entry.kind == ListEntry::Kind::folder) {
            readFolderHash(entry.content, entry.structure);
        } else if (const auto hash = readHash()) {
            entry.hashes.push_back(*hash);
        }
    }

    void readOldPartOf(ListEntry& entry) {
        if (is("file")) {
            entry.path = path();
        } else if (is("size")) {
            readSize(entry, document_.text().trimmed());
        } else if (is("lastmodificationdate")) {
            entry.modified = dateFromList(document_.text());
        } else if (const auto hash = readOldHash(); hash && !hash->digest.isEmpty()) {
            entry.hashes.push_back(*hash);
        }
    }

    void readSize(ListEntry& entry, const QString& text) {
        if (text.isEmpty()) return;
        bool isNumber = false;
        const quint64 size = text.toULongLong(&isNumber);
        if (!isNumber) document_.fail(QStringLiteral("no size: %1").arg(text.left(100)));
        entry.size = size;
    }

    // The first foreign element; what stands in it is passed over.
    void readMetadata(ListEntry& entry) {
        document_.forEachChild([&] {
            if (entry.metadata || document_.namespaceUri().isEmpty()) return;
            ForeignElement foreign{document_.xml().prefix().toString(), document_.namespaceUri(), document_.name(), {}};
            for (const QXmlStreamAttribute& each : document_.attributes()) {
                foreign.attributes.emplace_back(each.qualifiedName().toString(), each.value().toString());
            }
            entry.metadata = std::move(foreign);
            document_.skip();
        });
    }

    void readReference() {
        if (!is("hashlistreference")) return;
        ListReference reference;
        document_.forEachChild([&] {
            if (is("path"))
                reference.path = path();
            else if (const auto hash = readHash(); hash && hash->format == HashFormat::c4)
                reference.c4 = hash->digest;
        });
        if (reference.path.isEmpty() || reference.c4.isEmpty()) {
            document_.fail(QStringLiteral("a reference without path or C4"));
        }
        list_.references.push_back(std::move(reference));
    }

    ListDocument document_;
    HashList list_;
    QString namespace_;
};

} // namespace

HashList hashListFromBytes(const QByteArray& bytes) { return HashListParser(bytes).parse(); }

QByteArray bytesOfHashList(const QString& path) {
    const std::optional<FileStamp> stamp = FileStamp::of(path);
    const QString problem = !stamp                           ? QStringLiteral("no such file")
                            : QFileInfo(path).isSymLink()    ? QStringLiteral("it is a link")
                            : stamp->size > kLongestHashList ? QStringLiteral("it is too long for a hash list")
                                                             : QString();
    if (!problem.isEmpty()) throw FileError(QStringLiteral("Could not read %1: %2").arg(path, problem));
    return files::read(path);
}

} // namespace ostrel
