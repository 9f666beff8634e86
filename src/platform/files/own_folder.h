// Folders of this user's own in the system's temporary folder, which all users share: whoever comes first owns a name
// there, and may have put a link or a folder in its place to see or steer what others write.
#pragma once

#include <QString>

namespace ostrel {

// `{temporary folder}/{name}` if that is this user's own or not there yet, otherwise `{caches}/Ostrel/{name}`. Own: a
// folder and no link, of this user, where nobody else may write. Creates nothing.
QString ownTemporaryFolder(const QString& name);

// The same folder, made where it is missing, and closed to all others (mode 0700). Says so in a diagnostic line where
// it is not the usual place. Throws FileError.
QString makeOwnTemporaryFolder(const QString& name);

} // namespace ostrel
