#include "foundation/records/engine_choice.h"

namespace ostrel {

QString rawText(EngineChoice choice) {
    return choice == EngineChoice::direct ? QStringLiteral("direct") : QStringLiteral("ffmpeg");
}

QString displayName(EngineChoice choice) {
    return choice == EngineChoice::direct ? QStringLiteral("Direct") : QStringLiteral("ffmpeg");
}

std::optional<EngineChoice> engineNamed(const QString& text) {
    for (const EngineChoice choice : kAllEngineChoices) {
        if (text == rawText(choice)) return choice;
    }
    return std::nullopt;
}

EngineChoice defaultEngine() {
    return engineNamed(qEnvironmentVariable("OSTREL_ENGINE")).value_or(EngineChoice::ffmpeg);
}

} // namespace ostrel
