// Names of files as a list shows them: as they are where they are the only ones, and with their folders where several
// files have the same: from the folder down that all of these lie in ("Day1/T01" and "Day2/T01").
#pragma once

#include <QHash>
#include <QString>

namespace ostrel {

class RepeatedNames {
public:
    // The row that has to be told of the change, since until now it was the only one of its name; -1: none, -2: any.
    static constexpr int kNone = -1;
    static constexpr int kAny = -2;
    int add(const QString& path, const QString& name, int row);
    QString shown(const QString& path, const QString& name) const;
    void clear() { names_.clear(); }

private:
    struct Same {
        int count = 0;
        int row = 0;      // of the first
        QString ancestor; // folder that holds all of them, with the slash
    };
    QHash<QString, Same> names_;
};

} // namespace ostrel
