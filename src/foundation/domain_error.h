// An error that a person meets as a sentence and a program as a domain and a code: "ScanError" 1, "FFProbe" 2.
#pragma once

#include <QString>
#include <stdexcept>

namespace ostrel {

class DomainError : public std::runtime_error {
public:
    DomainError(const QString& errorDomain, int errorCode, const QString& description)
        : std::runtime_error(description.toStdString()), domain(errorDomain), code(errorCode) {}

    QString errorDescription() const { return QString::fromStdString(what()); }

    QString domain;
    int code;
};

} // namespace ostrel
