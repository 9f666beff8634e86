#include "metadata/core_document.h"

#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/text/regular_expression.h"
#include "platform/text/text.h"

namespace ostrel {
namespace {

QString quotedCell(QString text) { return u'"' + text.replace(QStringLiteral("\""), QStringLiteral("\"\"")) + u'"'; }

// Walks over CSV text. Quotes switch quoting on and off anywhere in a cell; line breaks between quotes belong to it.
class CsvCursor {
public:
    explicit CsvCursor(const QString& text) : text_(text) {}

    bool atEnd() const { return position_ >= text_.size(); }

    // Past the cell that begins here, up to its separator or line end.
    void skipCell(QChar separator) {
        bool quoted = false;
        for (; !atEnd(); ++position_) {
            const QChar c = text_[position_];
            if (c == u'"') quoted = !quoted;
            if (!quoted && (c == separator || c == u'\n' || c == u'\r')) return;
        }
    }

    void skipLineBreaks() {
        while (!atEnd() && (text_[position_] == u'\n' || text_[position_] == u'\r')) ++position_;
    }

    bool atLineEnd() const { return atEnd() || text_[position_] == u'\n' || text_[position_] == u'\r'; }
    void step() { ++position_; }
    qsizetype position() const { return position_; }

private:
    const QString& text_;
    qsizetype position_ = 0;
};

QString reaimedCsv(const QString& document, const QString& target) {
    const QChar separator = document[QStringLiteral("FileName").size()];
    const QString cell = quotedCell(target);
    QString result;
    CsvCursor cursor(document);
    bool isHeader = true;
    qsizetype copied = 0;
    while (!cursor.atEnd()) {
        result += document.mid(copied, cursor.position() - copied);
        copied = cursor.position();
        cursor.skipCell(separator);
        if (!isHeader) {
            result += cell;
            copied = cursor.position();
        }
        while (!cursor.atLineEnd()) {
            cursor.step();
            cursor.skipCell(separator);
        }
        cursor.skipLineBreaks();
        isHeader = false;
    }
    return result + document.mid(copied);
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
