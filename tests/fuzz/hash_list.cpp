// Any bytes as a hash list and as a chain: no path leads out of the folder, and what is read comes back the same when
// it is written.
#include "custody/lists/chain.h"
#include "custody/lists/hash_list_reader.h"
#include "custody/lists/hash_list_text.h"
#include "custody/lists/hash_list_writer.h"

#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

void readAsList(const QByteArray& bytes) {
    ostrel::HashList list;
    try {
        list = ostrel::hashListFromBytes(bytes);
    } catch (const ostrel::HashListError&) {
        return;
    }
    for (const ostrel::ListEntry& entry : list.entries) {
        require(ostrel::staysWithin(entry.path));
        require(entry.previousPath.isEmpty() || ostrel::staysWithin(entry.previousPath));
        for (const ostrel::ListedHash& hash : entry.hashes) {
            require(hash.digest.size() == ostrel::digestLength(hash.format));
        }
    }
    if (list.version != 2) return;
    for (ostrel::ListEntry& entry : list.entries) entry.metadata.reset(); // whose names are a stranger's
    const QByteArray written = ostrel::hashListBytes(list);
    require(ostrel::hashListBytes(ostrel::hashListFromBytes(written)) == written);
}

void readAsChain(const QByteArray& bytes) {
    try {
        const ostrel::Chain chain = ostrel::chainFromBytes(bytes);
        for (const ostrel::ChainEntry& entry : chain) require(!entry.file.contains(u'/'));
        require(ostrel::chainBytes(ostrel::chainFromBytes(ostrel::chainBytes(chain))) == ostrel::chainBytes(chain));
    } catch (const ostrel::HashListError&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    readAsList(bytes);
    readAsChain(bytes);
    return 0;
}
