// Where previews lie: in folders of the temporary folder that all runs of the program share (see own_folder.h where one
// is another user's), and there below one of this process's own.
#pragma once

#include <QString>

namespace ostrel {

inline const QString kPreviewFolder = QStringLiteral("Tessarine_Preview");
inline const QString kJoinPreviewFolder = QStringLiteral("Tessarine_JoinPreview");
inline const QString kBatchPreviewFolder = QStringLiteral("Tessarine_BatchPreview");

// This process's folder below the one of that name. Creates nothing.
QString ownPreviewFolder(const QString& name);

// The same, made where it is missing. Throws FileError.
QString makeOwnPreviewFolder(const QString& name);

// Removes what lies in the folder, and the folders around it once nothing else is in them. Failures are ignored.
void removePreviewFolder(const QString& folder);

// Removes the previews of runs that ended without doing so, killed or cut off from power. Those of runs that go on
// stay. Blocks on the disk; for any thread.
void sweepDeadPreviews();

} // namespace ostrel
