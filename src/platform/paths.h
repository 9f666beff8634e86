// Operations on a "URL" of a file, which everywhere in Ostrel is an absolute local path in a QString.
// An empty string stands for "no URL".
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel::paths {

// "/a/B.wav" -> "B.wav". "/" for the root.
QString lastComponent(const QString& path);

// The last component without its extension: "A.B.WAV" -> "A.B", ".hidden" -> ".hidden", "plain" -> "plain".
QString stem(const QString& path);

// Without the point, as written: "WAV". Empty for "plain", ".hidden" and "ends.with.point.".
QString extension(const QString& path);

// The extension in lower case, for comparisons.
QString lowerExtension(const QString& path);

// The folder that holds the path; the root holds itself.
QString parent(const QString& path);

QString append(const QString& folder, const QString& component);

// The path less its extension and the point.
QString withoutExtension(const QString& path);

// Absolute and without "." and ".."; relative paths are read from the working folder. Links are not followed.
QString absolute(const QString& path);

bool exists(const QString& path); // false for a link that leads nowhere
bool isFolder(const QString& path);
bool isRegularFile(
    const QString& path); // links followed; pipes and devices, which can block a reader for ever, are none
bool isExecutableFile(const QString& path);

// The same file on disk under whatever names (links of both kinds included). False when either is missing.
bool isSameFile(const QString& a, const QString& b);

} // namespace ostrel::paths
