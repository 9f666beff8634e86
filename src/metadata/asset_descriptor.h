// Which container a file really is, whatever its extension says, and how much metadata care it can get.
#pragma once

#include "foundation/records/container_kind.h"

#include <QString>
#include <stdexcept>

namespace ostrel {

class AssetDescriptorError : public std::runtime_error {
public:
    // Nothing throws unsupportedFormat: what is unknown is of an unknown kind.
    enum class Kind { cannotReadFile, invalidHeader, unsupportedFormat };
    explicit AssetDescriptorError(Kind errorKind) : std::runtime_error("asset"), kind(errorKind) {}
    QString errorDescription() const;

    Kind kind;
};

struct AssetClass {
    ContainerKind containerKind = ContainerKind::unknown;
    MetadataTier metadataTier = MetadataTier::bestEffort;

    bool operator==(const AssetClass&) const = default;
};

class AssetDescriptorBuilder {
public:
    // Reads twelve bytes. Never fails: a file that can't be read or is shorter gets its kind from its extension.
    static AssetClass quickClassify(const QString& url);

    // By the first twelve bytes, then by extension. Throws AssetDescriptorError.
    static ContainerKind sniffContainer(const QString& url);
    static ContainerKind containerFromExtension(const QString& url);
};

} // namespace ostrel
