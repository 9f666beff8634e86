// What a person has set in the sections of Edit Poly, whether it counts at the moment or not: an option that is on with
// nothing entered yet, a filter as it was typed, new names that stay with their channel wherever it goes. Edited in
// place nothing but names may change; what else is set waits until the files are rebuilt again.
#pragma once

#include "polytools/records/channel_plan.h"
#include "polytools/records/poly_tools_records.h"

#include <QProperty>
#include <map>

namespace ostrel {

enum class FilterMode { byNumber, byName };

class ChannelEdits {
public:
    using NewNames = std::map<int, QString>; // by source channel, 1-based

    QProperty<bool> removes{false};
    QProperty<FilterMode> filterMode{FilterMode::byNumber};
    QProperty<QString> numbersText;
    QProperty<QString> namesText;
    QProperty<bool> reorders{false};
    QProperty<std::vector<int>> order; // source channels, 1-based
    QProperty<bool> renames{false};
    QProperty<NewNames> newNames;
    QProperty<std::vector<SourceTrack>> tracks; // of the polys at hand, by channel
    QProperty<bool> inPlace{false};

    // What these come to for the controller.
    std::optional<ChannelFilterOptions> filter() const;
    ReorderList reorder() const;
    RenameMap renameMap() const;

    // The tracks as they will stand in the new poly, under their old names.
    std::vector<FinalTrack> finalTracks() const;
    std::set<int> removedChannels() const; // 1-based
    QString trackName(int channel) const;  // "—" where none is known

    // The controller's settings become what is shown; what comes to the same stays as it was typed.
    void takeFilter(const std::optional<ChannelFilterOptions>& filter);
    void takeReorder(const ReorderList& reorder);
    void takeRenames(const RenameMap& renames);
    void clear();
    void clearRemoval();
    void clearRenames();
    void copyFrom(const ChannelEdits& other); // what is set, not what it is set for
};

// The terms of a name filter that are pressed as presets; pressed again a term goes.
bool hasTerm(const QString& filter, const QString& term);
QString withTermToggled(const QString& filter, const QString& term);

// The tracks that an edit of this poly would see.
std::vector<SourceTrack> tracksOf(const BatchPolyMetadata& poly);

// What stands for all polys of a batch: the first one's tracks, and those that only the widest has.
std::vector<SourceTrack> tracksOfAll(const BatchPolyMetadata& first, const BatchPolyMetadata& widest);

} // namespace ostrel
