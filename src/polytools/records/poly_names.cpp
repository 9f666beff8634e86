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

} // namespace ostrel
