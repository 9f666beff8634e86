// What the tables' delegates ask the models for, beyond Qt's own roles.
#pragma once

#include "foundation/records/item_outcome.h"

#include <QMetaType>
#include <QSet>
#include <QString>
#include <QStringList>

namespace ostrel {

// A word with a symbol in a tone: a state, told three ways.
struct Badge {
    QString symbol;
    QString word;
    ProcessingStatus::Color color = ProcessingStatus::Color::secondary;
};

// The chips of a row: every tag of its layout, and those that are on.
struct ChannelChips {
    QStringList tags;
    QSet<QString> active;
    bool isSelector = false; // a click on a chip switches it
};

// ExpandedRole is a Boolean in rows that expand, and nothing in others.
// SortRole: what a cell is sorted by where that is not its text, a number mostly.
// ProvenRole: the ItemOutcome of a row whose outputs were proven.
enum ItemRole { BadgeRole = Qt::UserRole + 1, ChannelChipsRole, ElideMiddleRole, ExpandedRole, ProvenRole, SortRole };

// The columns that the Interleaver's two tables share, in their order.
enum ItemColumn {
    IncludeColumn,
    StatusColumn,
    TypeColumn,
    FormatColumn,
    SampleRateColumn,
    BitDepthColumn,
    NameColumn,
    ChannelsColumn,
    DurationColumn,
    ResultColumn,
    ProofColumn,
    ItemColumnCount,
};

} // namespace ostrel

Q_DECLARE_METATYPE(ostrel::Badge)
Q_DECLARE_METATYPE(ostrel::ItemOutcome)
Q_DECLARE_METATYPE(ostrel::ChannelChips)
