#include "support/fake_bwfmetaedit.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

constexpr const char* kScript = R"(line=$(printf '%s|' "$@"); printf '%s\n' "$line" >> "RECORD"
for argument in "$@"; do file=$argument; done
case "$file" in *broken*) echo 'no WAV header' >&2; exit 3;; esac
case "$1" in
--out-iXML=-) if [ -f "$file.ixml" ]; then cat "$file.ixml"; fi; echo;;
--out-iXML=*) if [ -s "$file.ixml" ]; then cp "$file.ixml" "${1#--out-iXML=}"; fi;;
--in-iXML=*) cp "${1#--in-iXML=}" "$file.ixml";;
--out-core=-) if [ -f "$file.core" ]; then cat "$file.core"; else printf 'FileName,Description\n%s,' "$file"; fi;;
--out-core=*) if [ -f "$file.core" ]; then cp "$file.core" "${1#--out-core=}"
              else printf 'FileName,Description\n%s,\n' "$file" > "${1#--out-core=}"; fi;;
--out-core-xml=-) if [ -f "$file.xml" ]; then cat "$file.xml"; fi;;
esac)";

void write(const QString& path, const QString& text) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.toUtf8());
}

} // namespace

FakeBwfmetaedit::FakeBwfmetaedit(const TestFolder& folder)
    : record_(folder.path(QStringLiteral("tools/bwfmetaedit.calls"))) {
    path_ = folder.writeScript(QStringLiteral("tools/bwfmetaedit"),
                               QString::fromUtf8(kScript).replace(QStringLiteral("RECORD"), record_));
}

QStringList FakeBwfmetaedit::calls() const {
    if (!QFile::exists(record_)) return {};
    QStringList result;
    for (const QString& line : QString::fromUtf8(readAll(record_)).split(u'\n', Qt::SkipEmptyParts)) {
        result << line.chopped(1);
    }
    return result;
}

QStringList FakeBwfmetaedit::callsWith(const QString& part) const { return calls().filter(part); }

void FakeBwfmetaedit::setIxml(const QString& file, const QString& document) {
    write(file + QStringLiteral(".ixml"), document);
}

QString FakeBwfmetaedit::ixml(const QString& file) {
    return QString::fromUtf8(readAll(file + QStringLiteral(".ixml")));
}

void FakeBwfmetaedit::setCore(const QString& file, const QString& csv) { write(file + QStringLiteral(".core"), csv); }

void FakeBwfmetaedit::setCoreXml(const QString& file, const QString& xml) { write(file + QStringLiteral(".xml"), xml); }

PrivateFolders::PrivateFolders(const TestFolder& folder)
    : caches_(folder.path(QStringLiteral("caches"))), temporary_(folder.path(QStringLiteral("tmp"))),
      oldCaches_(qgetenv("XDG_CACHE_HOME")), oldTemporary_(qgetenv("TMPDIR")) {
    QDir().mkpath(caches_);
    QDir().mkpath(temporary_);
    qputenv("XDG_CACHE_HOME", caches_.toUtf8());
    qputenv("TMPDIR", temporary_.toUtf8());
}

PrivateFolders::~PrivateFolders() {
    oldCaches_.isEmpty() ? qunsetenv("XDG_CACHE_HOME") : qputenv("XDG_CACHE_HOME", oldCaches_);
    oldTemporary_.isEmpty() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", oldTemporary_);
}

QStringList PrivateFolders::leftInTemporary() const {
    return QDir(temporary_).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace ostrel::testing
