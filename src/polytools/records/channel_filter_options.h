// Which channels an edit takes out of a poly.
#pragma once

#include <QString>
#include <QStringList>
#include <array>
#include <optional>
#include <set>

namespace ostrel {

struct ChannelFilterOptions {
    enum class SmartFilter { all, none, mixTracksOnly, isoTracksOnly, boomOnly, lavsOnly, channelRange };

    std::set<int> selectedChannelIndices; // 1-based channel numbers to remove (not to keep, in spite of the name)
    std::set<int> selectedChannelNumbers; // stays empty
    QString nameContainsFilter;           // terms between commas; empty: none. Read only where no numbers are given
    bool invertSelection = false;
    std::optional<SmartFilter> smartFilter;

    bool operator==(const ChannelFilterOptions&) const = default;
};

inline constexpr std::array kAllSmartFilters{
    ChannelFilterOptions::SmartFilter::all,           ChannelFilterOptions::SmartFilter::none,
    ChannelFilterOptions::SmartFilter::mixTracksOnly, ChannelFilterOptions::SmartFilter::isoTracksOnly,
    ChannelFilterOptions::SmartFilter::boomOnly,      ChannelFilterOptions::SmartFilter::lavsOnly,
    ChannelFilterOptions::SmartFilter::channelRange};
QString rawText(ChannelFilterOptions::SmartFilter filter);

// "1, 2" or "1-4" or both. What can't be read as a channel number (1 to 65535, the most that a WAV file holds) is
// dropped.
std::set<int> parseChannelNumbers(const QString& text);

// The terms of a name filter: upper case, trimmed, none of them empty.
QStringList nameFilterTerms(const QString& filter);

// "1, 2, 5"
QString joinedNumbers(const std::set<int>& numbers);

// The PCM codec that keeps the source's samples: float stays float.
namespace OutputEncoding {
QString matchSource(int bitDepth, const QString& codecName);
}

} // namespace ostrel
