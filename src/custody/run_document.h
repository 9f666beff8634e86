// The document of a run, as `ostrel-cli --json` prints it and certificates are made of it: one form, whoever ran the
// job.
#pragma once

#include "foundation/records/item_outcome.h"

#include <QStringList>
#include <nlohmann/json_fwd.hpp>

namespace ostrel {

// What became of an item and of each of its sources, its metadata where any was carried, and its proof where one was
// asked for. Channels count from 1.
nlohmann::json itemDocument(const QString& name, const ItemOutcome& outcome);

// With what a run was made, and when: {"date", "host", "program", "tools"}. Asks each tool its version, so it blocks
// for a moment; paths that are empty are left out.
nlohmann::json madeDocument(const QStringList& toolPaths);

} // namespace ostrel
