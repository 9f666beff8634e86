#include "polytools/records/poly_names.h"

#include "platform/files/file_name.h"

namespace ostrel {
namespace {

constexpr qsizetype kMostTakeBytes = 64;

} // namespace

QString polyFileName(const QString& stem, const QString& ending) {
    const bool isNothing = stem.isEmpty() && ending.isEmpty(); // ".wav" would be a hidden file
    return fittedFileName(isNothing ? QStringLiteral("-") : stem, ending + QStringLiteral(".wav"));
}

QString polyStem(const QString& stem, const QString& ending) { return polyFileName(stem, ending).chopped(4); }

QString takeEnding(const QString& take) { return QStringLiteral("-T") + fittedText(take, kMostTakeBytes); }

QString safeFileName(const QString& name) {
    QString result = name;
    result.replace(u'/', u'-').remove(QChar(u'\0'));
    if (result.startsWith(u'.')) result[0] = u'-';
    return result;
}

QString groupOutputName(const ISOGroupCandidate& group, bool keepOriginalName) {
    const auto without = [](const QString& name, const QString& end) {
        return name.endsWith(end) ? name.chopped(end.size()) : name;
    };
    const QString poly = QStringLiteral("_poly");
    const QString suggested = group.suggestedOutputName();
    QString name = without(suggested, poly);
    QString ending = keepOriginalName || name == suggested ? QString() : poly;
    if (!group.scene.isEmpty() && !group.take.isEmpty()) {
        name = without(name, QStringLiteral("-T") + group.take);
        ending.prepend(takeEnding(group.take));
    }
    return polyStem(safeFileName(name), ending);
}

} // namespace ostrel
