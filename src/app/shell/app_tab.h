// The tabs of the window, in their order.
#pragma once

#include <QString>
#include <array>
#include <optional>

namespace ostrel {

enum class AppTab { interleave, polyTools, stereoValidator };
inline constexpr std::array kAllAppTabs{AppTab::interleave, AppTab::polyTools, AppTab::stereoValidator};

QString rawText(AppTab tab); // "Interleaver"
QString symbol(AppTab tab);

// As the command line names them: "interleaver", "poly", "validator".
std::optional<AppTab> tabNamed(const QString& argument);
// "interleave" or "deinterleave"; "split", "join" or "edit". Its place among the tab's modes, from 0.
std::optional<int> modeNamed(AppTab tab, const QString& argument);

} // namespace ostrel
