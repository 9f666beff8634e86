// The chain of a sealed folder, `ascmhl/ascmhl_chain.xml`: which list is which generation, and the C4 of its bytes. And
// the names that lists have beside it.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <optional>
#include <vector>

namespace ostrel {

struct ChainEntry {
    int number = 0; // from 1, without gaps
    QString file;   // a name in the chain's own folder
    QByteArray c4;
};
using Chain = std::vector<ChainEntry>;

// Throws HashListError: also where the numbers have gaps, or a name leads elsewhere.
Chain chainFromBytes(const QByteArray& bytes);
QByteArray chainBytes(const Chain& chain);

// "{folder}/ascmhl", and the chain in it.
QString historyFolder(const QString& folder);
QString chainPath(const QString& folder);

// "0001_D2_2026-01-02_090807Z.mhl", fitted to what a file system takes.
QString hashListName(int number, const QString& folderName, const QDateTime& start);
// 1 of that name; nothing where it is no such name.
std::optional<int> generationOfName(const QString& name);

// The nearest folder at or above a path whose chain is there: one look at the disk a level. The path need not exist.
std::optional<QString> sealedFolderOf(const QString& path);

} // namespace ostrel
