// How a package is installed on this system.
#pragma once

#include <QString>

namespace ostrel {

// The command, from the text of an os-release(5) file: by the distribution's own name, or by a family that it names.
// Empty where neither is known.
QString installCommand(const QString& package, const QString& osRelease);

// That of this machine.
QString installCommand(const QString& package);

} // namespace ostrel
