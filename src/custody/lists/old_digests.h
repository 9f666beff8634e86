// The digests of hash lists of version 1, which some write as numbers or with their bytes reversed.
#pragma once

#include "custody/lists/hash_list.h"

namespace ostrel {

// "md5", "sha1", "xxhash" (XXH32, a decimal number), "xxhash64" (bytes reversed), "xxhash64be", "null" (none at all).
bool isOldDigestName(const QString& name);

// Of an element of such a name. An empty digest for "null"; nothing where the text is none.
std::optional<ListedHash> oldDigest(const QString& name, const QString& text);

} // namespace ostrel
