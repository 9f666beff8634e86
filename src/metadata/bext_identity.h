// What a bext chunk (EBU Tech 3285) says of which recording a file is: read from the bytes, without a tool in between
// that might read a line break in its own way.
//
// Block on the disk; for any thread.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace ostrel {

struct BextIdentity {
    QByteArray description; // texts up to their first NUL
    QByteArray originator;
    QByteArray originatorReference;
    QByteArray originationDate;
    QByteArray originationTime;
    quint64 timeReference = 0; // samples since midnight

    // The names of the fields in which the other is not this one.
    QStringList differencesFrom(const BextIdentity& other) const;
};

// Of a chunk's payload; nothing for one that ends before TimeReference does.
std::optional<BextIdentity> bextIdentityOf(const QByteArray& bext);

// Nothing for a file without a whole bext chunk.
std::optional<BextIdentity> readBextIdentity(const QString& file);

} // namespace ostrel
