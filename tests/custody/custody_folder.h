// A folder to be sealed, with the clock and the names that its lists tell.
#pragma once

#include "custody/seal_folder.h"
#include "custody/verify_folder.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel::testing {

inline QDateTime atNine() { return QDateTime::fromString(QStringLiteral("2026-01-02T09:08:07Z"), Qt::ISODate); }

inline SealOptions sealOptions(HashFormat format = HashFormat::xxh128, const QDateTime& now = atNine()) {
    SealOptions options;
    options.format = format;
    options.host = QStringLiteral("cart");
    options.tool = QStringLiteral("example");
    options.toolVersion = QStringLiteral("1.0");
    options.now = [now] { return now; };
    return options;
}

// "path state", one a file that is not verified; and the faults.
inline QStringList differences(const VerifyResult& result) {
    QStringList lines;
    for (const FileVerdict& verdict : result.files) {
        if (verdict.state != FileState::verified) lines << verdict.path + u' ' + rawText(verdict.state);
    }
    return lines + result.faults;
}
inline QStringList differences(const QString& folder) { return differences(verifyFolder(folder)); }

inline QStringList states(const SealResult& result) {
    QStringList lines;
    for (const SealedFile& file : result.files) lines << file.path + u' ' + rawText(file.state);
    return lines;
}

inline void append(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write(bytes);
}

} // namespace ostrel::testing
