// The certificate of a run: a page to print and to hand over, of what came in, what went out, and the hashes that tie
// the two, channel by channel. One HTML file by itself, without a script.
//
// It repeats what a run found when it read its outputs back; it looks at no recording itself.
#pragma once

#include <QByteArray>
#include <QString>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>

namespace ostrel {

// The document is not that of a run, or of one that proved nothing.
class CertificateError : public std::runtime_error {
public:
    explicit CertificateError(const QString& text) : std::runtime_error(text.toStdString()), description(text) {}
    QString description;
};

// `run` is the JSON document of a job that was asked for proof; `digest` the SHA-256 of its file in hex, empty where
// there is no such file.
QString certificateOf(const nlohmann::json& run, const QString& digest = QString());

} // namespace ostrel
