#include "metadata/core_document.h"

#include "metadata/csv_table.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/text/regular_expression.h"
#include "platform/text/text.h"

namespace ostrel {
namespace {

// Only the cells that name a file change; everything else stays letter for letter.
QString reaimedCsv(const QString& document, const QString& target) {
    const QChar separator = document[QStringLiteral("FileName").size()];
    const QString name = quotedCell(target);
    QString result;
    qsizetype copied = 0;
    const std::vector<std::vector<CSVCell>> rows = parseCSVCells(document, separator);
    for (std::size_t row = 1; row < rows.size(); ++row) {
        const CSVCell& cell = rows[row].front();
        result += QStringView(document).sliced(copied, cell.begin - copied);
        result += name;
        copied = cell.end;
    }
    result += QStringView(document).sliced(copied);
    return result;
}

QString reaimedXml(const QString& document, const QString& target) {
    static const RegularExpression nameAttribute(QStringLiteral("name=\"[^\"]*\""));
    return nameAttribute.replacingAll(document, QStringLiteral("name=\"%1\"").arg(paths::lastComponent(target)));
}

} // namespace

QString reaimedCoreDocument(const QString& document, const QString& target) {
    const bool hasMark = document.startsWith(QChar(QChar::ByteOrderMark));
    if (QStringView(document).sliced(hasMark ? 1 : 0).startsWith(u"<?xml")) return reaimedXml(document, target);
    if (document.startsWith(u"FileName,") || document.startsWith(u"FileName;")) return reaimedCsv(document, target);
    throw CoreDocumentError(QStringLiteral("the document is neither CORE CSV nor CORE XML"));
}

void reaimCoreDocumentFile(const QString& documentPath, const QString& target) {
    const std::optional<QString> document = decodeUtf8(files::read(documentPath));
    if (!document) throw CoreDocumentError(QStringLiteral("the document is not UTF-8"));
    files::writeAtomically(documentPath, reaimedCoreDocument(*document, target).toUtf8());
}

} // namespace ostrel
