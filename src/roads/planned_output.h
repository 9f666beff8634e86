// What one new file is made of, whichever road makes it.
#pragma once

#include "foundation/proof/channel_pair.h"
#include "metadata/bext_completion.h"
#include "metadata/ixml/ixml_place.h"
#include "metadata/universal_metadata_engine.h"

#include <QString>
#include <optional>
#include <vector>

namespace ostrel {

// What the head of a new file holds.
struct HeadRecipe {
    QString source; // the file whose metadata goes along
    SourceUmid umid = SourceUmid::kept;
    std::vector<TrackIndices> tracks; // of the new file, in channel order; none: an iXML document goes along as it is
    IxmlPlace place;                  // what the new file will be called, and where it comes from
    // Channel mask; nothing: the source's where all its channels stay in order, otherwise none are named.
    std::optional<quint32> speakers;
    bool conforms = false; // to what editing systems read, see DescriptionWish

    DescriptionWish descriptionWish() const;
};

struct PlannedOutput {
    QString file; // its private name; nothing stands there yet
    std::vector<ChannelPlace> channels;
    HeadRecipe head;
};

} // namespace ostrel
