// Names of files and folders that are made up here, so that a file system takes them. All may be called from any
// thread.
#pragma once

#include <QString>

namespace ostrel {

// Bytes of UTF-8 that the usual file systems take in one name.
inline constexpr qsizetype kMostNameBytes = 255;

// `stem` + `ending`. What is too long loses the end of the stem, between two letters as a person sees them (an emoji of
// several code points goes as a whole); the ending, "_2.wav" say, stays whole. "/" and NUL become "-". Never empty, "."
// or "..": such a name becomes "-" or "--". An ending that has no room by itself is cut like a stem.
QString fittedFileName(const QString& stem, const QString& ending, qsizetype mostBytes = kMostNameBytes);

// The same for the files that are looked up by a stem later on (manifests): where the stem is cut, a digest of the
// whole stem stands in place of what is missing, so that two long stems of equal beginnings stay apart.
QString distinctFileName(const QString& stem, const QString& ending, qsizetype mostBytes = kMostNameBytes);

// The beginning of a text that fits, cut as above. A single letter that is longer than that is cut between its code
// points; empty only where not even the first of them fits.
QString fittedText(const QString& text, qsizetype mostBytes);

// Equal for two names that some file system takes for one: by letter case, or by composed and decomposed letters.
QString fileNameKey(const QString& name);
// Equal for two names that differ by composed and decomposed letters alone.
QString composedName(const QString& name);

} // namespace ostrel
