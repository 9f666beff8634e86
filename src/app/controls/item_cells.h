// What the cells of the Interleaver's two tables have in common.
#pragma once

#include "app/controls/item_roles.h"

#include <QVariant>
#include <optional>

namespace ostrel {

QVariant statusCell(const ProcessingStatus& status, int role);
// The same for a row that a run would refuse, with the reason; empty: nothing stands against it.
QVariant statusCell(const ProcessingStatus& status, const QString& foreseen, int role);
// What the last run proved of the row; nothing where none was asked for.
QVariant proofCell(const std::optional<ItemOutcome>& outcome, int role);

QString sampleRateText(std::optional<int> hertz); // "48 kHz", "44.1 kHz", "--"
QString bitDepthText(std::optional<int> bits);    // "24-bit", "--"

QString nameBelow(const QString& relativePath, const QString& name); // "Night/Street"

// The heading of a column; `name` and `result` differ between the tables.
QVariant itemHeading(int column, int role, const QString& name, const QString& result);

// Text of numbers stands at the right, the rest at the left.
QVariant itemAlignment(int column);

} // namespace ostrel
