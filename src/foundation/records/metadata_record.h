// What became of a source's metadata in the files that a job made of it: told from the bytes of both sides.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

// Names of bext fields ("TimeReference") and of chunks ("iXML", "SMED"), each in one of the lists.
struct MetadataRecord {
    QStringList kept;    // byte for byte
    QStringList renewed; // meant to differ: an iXML of the file's own tracks, the MD5 of its audio, a cleared UMID
    QStringList changed; // differ, and were not meant to
    QStringList lost;    // not in the new file

    bool operator==(const MetadataRecord&) const = default;

    bool isEmpty() const { return kept.isEmpty() && renewed.isEmpty() && changed.isEmpty() && lost.isEmpty(); }
    bool isWhole() const { return changed.isEmpty() && lost.isEmpty(); }
    // "loudness, CodingHistory": what is not as it was.
    QString missing() const { return (changed + lost).join(QStringLiteral(", ")); }

    // For a person: "All kept", or "Renewed: iXML; Lost: axml"; empty where nothing was compared.
    QString word() const;

    // Of an item with several outputs: a field has the worst that became of it in any of them.
    void add(const MetadataRecord& other);
};

} // namespace ostrel
