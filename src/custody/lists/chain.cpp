#include "custody/lists/chain.h"

#include "custody/digests/hash_format.h"
#include "custody/lists/list_document.h"
#include "platform/files/file_name.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

const QString kListEnding = QStringLiteral(".mhl");

ChainEntry readChainEntry(ListDocument& document) {
    ChainEntry entry;
    entry.number = document.attribute("sequencenr").toInt();
    document.forEachChild([&] {
        if (document.name() == QLatin1String("path"))
            entry.file = document.text();
        else if (document.name() == QLatin1String("c4"))
            entry.c4 = digestFromText(HashFormat::c4, document.text().trimmed()).value_or(QByteArray());
    });
    if (entry.c4.isEmpty()) document.fail(QStringLiteral("a generation without its C4"));
    if (!staysWithin(entry.file) || entry.file.contains(u'/') || !entry.file.endsWith(kListEnding)) {
        document.fail(QStringLiteral("no name of a hash list: %1").arg(entry.file.left(300)));
    }
    return entry;
}

} // namespace

Chain chainFromBytes(const QByteArray& bytes) {
    ListDocument document(bytes);
    document.enterRoot(QStringLiteral("ascmhldirectory"));
    if (document.namespaceUri() != kChainNamespace) document.fail(QStringLiteral("a version that is not known"));
    Chain chain;
    document.forEachChild([&] {
        if (document.name() != QLatin1String("hashlist") || document.namespaceUri() != kChainNamespace) return;
        chain.push_back(readChainEntry(document));
        if (chain.back().number != static_cast<int>(chain.size())) {
            document.fail(QStringLiteral("generation %1 is missing").arg(chain.size()));
        }
    });
    document.requireEnd();
    return chain;
}

QByteArray chainBytes(const Chain& chain) {
    QString text = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ascmhldirectory xmlns=\"%1\">\n")
                       .arg(kChainNamespace);
    for (const ChainEntry& entry : chain) {
        if (!fitsXml(entry.file)) {
            throw HashListError(QStringLiteral("The folder's name holds a control character, which a hash list can't"));
        }
        text += QStringLiteral(" <hashlist sequencenr=\"%1\">\n  <path>").arg(entry.number) + xmlEscaped(entry.file) +
                QStringLiteral("</path>\n  <c4>") + digestText(HashFormat::c4, entry.c4) +
                QStringLiteral("</c4>\n </hashlist>\n");
    }
    return (text + QStringLiteral("</ascmhldirectory>\n")).toUtf8();
}

QString historyFolder(const QString& folder) { return paths::append(folder, QStringLiteral("ascmhl")); }

QString chainPath(const QString& folder) {
    return paths::append(historyFolder(folder), QStringLiteral("ascmhl_chain.xml"));
}

QString hashListName(int number, const QString& folderName, const QDateTime& start) {
    return fittedFileName(QStringLiteral("%1_").arg(number, 4, 10, QLatin1Char('0')) + folderName,
                          start.toUTC().toString(QStringLiteral("_yyyy-MM-dd_HHmmss'Z'")) + kListEnding);
}

std::optional<int> generationOfName(const QString& name) {
    const qsizetype digits = name.indexOf(u'_');
    if (digits < 4 || !name.endsWith(kListEnding)) return std::nullopt;
    bool isNumber = false;
    const int number = name.first(digits).toInt(&isNumber);
    return isNumber && number > 0 ? std::optional(number) : std::nullopt;
}

std::optional<QString> sealedFolderOf(const QString& path) {
    for (QString folder = paths::absolute(path);; folder = paths::parent(folder)) {
        if (paths::isRegularFile(chainPath(folder))) return folder;
        if (folder == paths::parent(folder)) return std::nullopt;
    }
}

} // namespace ostrel
