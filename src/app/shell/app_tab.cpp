#include "app/shell/app_tab.h"

#include <QStringList>

namespace ostrel {
namespace {

struct Words {
    const char16_t* raw;
    const char16_t* symbol;
    const char16_t* argument;
    const char16_t* modes; // as arguments
};

// In the order of the enumeration.
constexpr std::array<Words, 3> kWords{{
    {u"Interleaver", u"interleave", u"interleaver", u"interleave deinterleave"},
    {u"Poly Tools", u"square.stack.3d.up", u"poly", u"split join edit"},
    {u"Stereo Validator", u"waveform.path", u"validator", u""},
}};

const Words& words(AppTab tab) { return kWords[static_cast<std::size_t>(tab)]; }

} // namespace

QString rawText(AppTab tab) { return QString::fromUtf16(words(tab).raw); }
QString symbol(AppTab tab) { return QString::fromUtf16(words(tab).symbol); }

std::optional<AppTab> tabNamed(const QString& argument) {
    for (const AppTab tab : kAllAppTabs) {
        if (argument == QStringView(words(tab).argument)) return tab;
    }
    return std::nullopt;
}

std::optional<int> modeNamed(AppTab tab, const QString& argument) {
    const qsizetype index = QString::fromUtf16(words(tab).modes).split(u' ', Qt::SkipEmptyParts).indexOf(argument);
    return index < 0 ? std::nullopt : std::optional(static_cast<int>(index));
}

} // namespace ostrel
