#include "custody/lists/hash_list_writer.h"

#include "custody/lists/hash_list_text.h"
#include "platform/text/regular_expression.h"

#include <algorithm>

namespace ostrel {
namespace {

QString element(const QString& name, const QString& text, const QString& attributes = {}) {
    return u'<' + name + attributes + u'>' + xmlEscaped(text) + QStringLiteral("</") + name + u'>';
}

QString attribute(const char* name, const QString& value) {
    return QStringLiteral(" %1=\"").arg(QLatin1String(name)) + xmlEscaped(value) + u'"';
}

void requireFit(const QString& text) {
    if (fitsXml(text)) return;
    throw HashListError(QStringLiteral("The name holds a control character, which a hash list can't: please rename %1")
                            .arg(QString::fromLatin1(
                                text.toUtf8().toPercentEncoding(QByteArrayLiteral(" !#$&'()*+,/:;=?@[]\"<>\\^`{|}")))));
}

// Names that need no care, and are none of the list's own.
void requireForeign(const ForeignElement& foreign) {
    static const RegularExpression plain(QStringLiteral("^[A-Za-z_][A-Za-z0-9_-]*$"));
    static const RegularExpression own(
        QStringLiteral("^(?:path|previousPath|hash|directoryhash|hashlist|metadata|content|structure|c4|md5|sha1|"
                       "xxh128|xxh3|xxh64)$"));
    bool isFine = plain.matches(foreign.prefix) && plain.matches(foreign.name) && !own.matches(foreign.name) &&
                  !foreign.namespaceUri.isEmpty() && fitsXml(foreign.namespaceUri);
    for (const auto& [key, value] : foreign.attributes) isFine = isFine && plain.matches(key);
    if (!isFine) throw HashListError(QStringLiteral("No metadata for a hash list: %1").arg(foreign.name));
}

class ListText {
public:
    explicit ListText(const HashList& list) {
        line(0, QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"));
        line(0, QStringLiteral("<hashlist version=\"2.0\" xmlns=\"%1\">").arg(kListNamespace));
        writeCreator(list);
        writeProcess(list);
        if (!list.entries.empty()) {
            line(1, QStringLiteral("<hashes>"));
            for (const ListEntry& entry : list.entries) {
                entry.kind == ListEntry::Kind::file ? writeFile(entry) : writeFolder(entry);
            }
            line(1, QStringLiteral("</hashes>"));
        }
        writeReferences(list);
        line(0, QStringLiteral("</hashlist>"));
    }
    QByteArray take() { return std::move(bytes_); }

private:
    void line(int depth, const QString& text) { bytes_ += QByteArray(depth, ' ') + text.toUtf8() + '\n'; }

    void writeCreator(const HashList& list) {
        line(1, QStringLiteral("<creatorinfo>"));
        line(2, element(QStringLiteral("creationdate"), listDate(list.created)));
        line(2, element(QStringLiteral("hostname"), list.host));
        line(2, element(QStringLiteral("tool"), list.tool, attribute("version", list.toolVersion)));
        line(1, QStringLiteral("</creatorinfo>"));
    }

    void writeProcess(const HashList& list) {
        line(1, QStringLiteral("<processinfo>"));
        line(2, element(QStringLiteral("process"), list.process));
        if (!list.rootContent.empty()) {
            line(2, QStringLiteral("<roothash>"));
            writeFolderHashes(3, list.rootContent, list.rootStructure);
            line(2, QStringLiteral("</roothash>"));
        }
        if (!list.ignorePatterns.isEmpty()) {
            QString patterns;
            for (const QString& pattern : list.ignorePatterns) {
                requireFit(pattern);
                patterns += element(QStringLiteral("pattern"), pattern);
            }
            line(2, QStringLiteral("<ignore>"));
            line(3, patterns);
            line(2, QStringLiteral("</ignore>"));
        }
        line(1, QStringLiteral("</processinfo>"));
    }

    void writePath(const ListEntry& entry) {
        requireFit(entry.path);
        QString attributes;
        if (entry.size) attributes += attribute("size", QString::number(*entry.size));
        if (entry.modified.isValid()) attributes += attribute("lastmodificationdate", listDate(entry.modified));
        line(3, element(QStringLiteral("path"), entry.path, attributes));
    }

    void writePreviousPath(const ListEntry& entry) {
        if (entry.previousPath.isEmpty()) return;
        requireFit(entry.previousPath);
        line(3, element(QStringLiteral("previousPath"), entry.previousPath));
    }

    void writeFile(const ListEntry& entry) {
        line(2, QStringLiteral("<hash>"));
        writePath(entry);
        std::vector<ListedHash> hashes = entry.hashes;
        std::stable_sort(hashes.begin(), hashes.end(),
                         [](const ListedHash& a, const ListedHash& b) { return a.format < b.format; });
        for (const ListedHash& hash : hashes) {
            QString attributes = attribute("action", rawText(hash.action));
            if (hash.date.isValid()) attributes += attribute("hashdate", listDate(hash.date));
            line(3, element(rawText(hash.format), digestText(hash.format, hash.digest), attributes));
        }
        writePreviousPath(entry);
        if (entry.metadata) writeMetadata(*entry.metadata);
        line(2, QStringLiteral("</hash>"));
    }

    void writeFolder(const ListEntry& entry) {
        line(2, QStringLiteral("<directoryhash>"));
        ListEntry bare = entry;
        bare.size.reset(); // a folder has none in a list
        writePath(bare);
        writeFolderHashes(3, entry.content, entry.structure);
        writePreviousPath(entry);
        line(2, QStringLiteral("</directoryhash>"));
    }

    void writeFolderHashes(int depth, const Digests& content, const Digests& structure) {
        const auto inner = [](const Digests& digests) {
            QString text;
            for (const auto& [format, digest] : digests) text += element(rawText(format), digestText(format, digest));
            return text;
        };
        line(depth, QStringLiteral("<content>") + inner(content) + QStringLiteral("</content>"));
        line(depth, QStringLiteral("<structure>") + inner(structure) + QStringLiteral("</structure>"));
    }

    void writeMetadata(const ForeignElement& foreign) {
        requireForeign(foreign);
        const QString name = foreign.prefix + u':' + foreign.name;
        QString text = QStringLiteral("<metadata><") + name +
                       attribute(("xmlns:" + foreign.prefix.toStdString()).c_str(), foreign.namespaceUri);
        for (const auto& [key, value] : foreign.attributes) {
            requireFit(value);
            text += attribute(key.toStdString().c_str(), value);
        }
        line(3, text + QStringLiteral("/></metadata>"));
    }

    void writeReferences(const HashList& list) {
        if (list.references.empty()) return;
        line(1, QStringLiteral("<references>"));
        for (const ListReference& reference : list.references) {
            requireFit(reference.path);
            line(2, QStringLiteral("<hashlistreference>"));
            line(3, element(QStringLiteral("path"), reference.path));
            line(3, element(QStringLiteral("c4"), digestText(HashFormat::c4, reference.c4)));
            line(2, QStringLiteral("</hashlistreference>"));
        }
        line(1, QStringLiteral("</references>"));
    }

    QByteArray bytes_;
};

} // namespace

QByteArray hashListBytes(const HashList& list) { return ListText(list).take(); }

} // namespace ostrel
