// The folders that panels were last used in, newest first, kept in the user's settings.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

QStringList recentFolders(); // those that still exist, at most eight
QString lastFolder();        // the newest, or the home folder
void rememberFolder(const QString& folder);

} // namespace ostrel
