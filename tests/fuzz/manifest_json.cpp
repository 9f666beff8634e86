// Any bytes as a manifest: what decodes comes back the same from its own JSON.
#include "metadata/metadata_manifest.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto manifest = ostrel::MetadataManifest::fromJson(bytes);
    if (manifest && ostrel::MetadataManifest::fromJson(manifest->toJson()) != manifest) std::abort();
    return 0;
}
