// The text of a hash list and of a chain. Pure; for any thread.
#pragma once

#include "custody/lists/hash_list.h"

#include <QByteArray>

namespace ostrel {

// UTF-8, one line an element, the same bytes for the same list. Throws HashListError for a name that XML can't hold.
QByteArray hashListBytes(const HashList& list);

} // namespace ostrel
