// A stand-in for bwfmetaedit that notes how it was called and keeps each file's documents beside the file.
#pragma once

#include "support/test_folder.h"

#include <QString>
#include <QStringList>

namespace ostrel::testing {

// Reads "{file}.ixml" for iXML, "{file}.core" for the CORE CSV and "{file}.xml" for the CORE XML, as they stand;
// imports of iXML are written to "{file}.ixml". Whatever a file lacks, the real tool's answer for "nothing there" is
// given. Status 3 for every file whose name holds "broken".
class FakeBwfmetaedit {
public:
    explicit FakeBwfmetaedit(const TestFolder& folder);

    QString path() const { return path_; }

    // One entry a call, the arguments joined by "|".
    QStringList calls() const;
    QStringList callsWith(const QString& part) const;

    static void setIxml(const QString& file, const QString& document);
    static QString ixml(const QString& file);
    static void setCore(const QString& file, const QString& csv);
    static void setCoreXml(const QString& file, const QString& xml);

private:
    QString path_;
    QString record_;
};

// Caches and temporary files of a test in folders of its own, for as long as this lives.
class PrivateFolders {
public:
    explicit PrivateFolders(const TestFolder& folder);
    ~PrivateFolders();
    PrivateFolders(const PrivateFolders&) = delete;
    PrivateFolders& operator=(const PrivateFolders&) = delete;

    QString caches() const { return caches_; }
    QString temporary() const { return temporary_; }
    QStringList leftInTemporary() const;

private:
    QString caches_;
    QString temporary_;
    QByteArray oldCaches_;
    QByteArray oldTemporary_;
};

} // namespace ostrel::testing
