// Small things that the sources of the Stereo Validator's controller share.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

// Extensions, in lower case, of the files that are analysed.
const QStringList& validatorExtensions();

// To the debug log and to a copy of it beside this user's caches. What can't be written is dropped.
void writeValidatorDebugLine(const QString& text, const QString& tag = QStringLiteral("StereoValidatorVM"));

} // namespace ostrel
