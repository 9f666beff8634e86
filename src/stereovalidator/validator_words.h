// Small things that the sources of the Stereo Validator's controller share.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

// Extensions, in lower case, of the files that are analysed.
const QStringList& validatorExtensions();

void writeValidatorDebugLine(const QString& text);

} // namespace ostrel
