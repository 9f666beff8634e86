// An iXML document (BWFXML) that fits the file it stands in: a track list of the file's own tracks, a file UID of its
// own, and the source's as parent. Pure functions over the bytes of a chunk.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace ostrel {

// The text of a chunk: UTF-8, or Latin-1 or UTF-16 where the document declares it, and then with UTF-8 declared.
// Nothing where it is none of those.
std::optional<QString> decodedIxml(const QByteArray& chunk);

// The names that a document gives to the tracks 1 to `count` by their INTERLEAVE_INDEX, as XML text; by their place
// where no track has an index. Empty ones where it names none.
QStringList trackNamesOf(const QString& document, int count);

// The name of the only track that a document lists; empty where it lists none, or several.
QString onlyTrackName(const QString& document);

// The document for a file of these tracks (names as XML text, in channel order). `channelIndices` are what each was in
// the recorder (CHANNEL_INDEX). The bytes as they are where the document can't be decoded or is no BWFXML.
QByteArray fittedIxml(const QByteArray& chunk, const QStringList& names, const QList<int>& channelIndices);

} // namespace ostrel
