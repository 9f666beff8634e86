// Which way a job goes from its sources to its files, as a person chooses it.
#pragma once

#include <QString>
#include <array>
#include <optional>

namespace ostrel {

// `ffmpeg`: its command lines, and bwfmetaedit's. `direct`: samples and heads as bytes, in one pass, by this program.
enum class EngineChoice { ffmpeg, direct };
inline constexpr std::array kAllEngineChoices{EngineChoice::ffmpeg, EngineChoice::direct};

QString rawText(EngineChoice choice);     // "ffmpeg", "direct"
QString displayName(EngineChoice choice); // "ffmpeg", "Direct"
std::optional<EngineChoice> engineNamed(const QString& rawText);

// Of a run for which nothing was chosen: what the environment's OSTREL_ENGINE says, otherwise ffmpeg.
EngineChoice defaultEngine();

} // namespace ostrel
