// What one new file is made of, whichever road makes it.
#pragma once

#include "foundation/proof/channel_pair.h"
#include "metadata/bext_completion.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace ostrel {

// What the head of a new file holds.
struct HeadRecipe {
    QString source; // the file whose metadata goes along
    SourceUmid umid = SourceUmid::kept;
    QStringList trackNames;          // XML text, in channel order; empty: an iXML document goes along as it is
    QList<int> channelIndices;       // CHANNEL_INDEX of each track
    std::optional<quint32> speakers; // channel mask; nothing: the source's where all its channels stay in order, else 0
};

struct PlannedOutput {
    QString file; // its private name; nothing stands there yet
    std::vector<ChannelPlace> channels;
    HeadRecipe head;
};

} // namespace ostrel
