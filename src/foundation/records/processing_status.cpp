#include "foundation/records/processing_status.h"

#include "platform/text/text.h"

#include <array>

namespace ostrel {
namespace {

using Color = ProcessingStatus::Color;

struct StatusWords {
    const char* caseName;
    const char16_t* display; // %1 is the text or the list, %2 the file count
    const char16_t* shortDisplay;
    const char* icon;
    Color color;
};

// In the order of ProcessingStatus::Kind.
constexpr std::array<StatusWords, 19> kStatusWords{{
    {"pending", u"Pending", u"Pending", "circle", Color::secondary},
    {"ready", u"Ready", u"Ready", "checkmark.circle", Color::blue},
    {"missingChannels", u"Missing: %1", u"Missing", "exclamationmark.triangle", Color::orange},
    {"mismatchSampleRate", u"Sample Rate Mismatch", u"Rate Mismatch", "exclamationmark.triangle", Color::orange},
    {"mismatchBitDepth", u"Bit Depth Mismatch", u"Bit Mismatch", "exclamationmark.triangle", Color::orange},
    {"mismatchDuration", u"Duration Mismatch (%1)", u"Duration Mismatch", "exclamationmark.triangle", Color::orange},
    {"outputExists", u"Output Exists", u"Exists", "doc.on.doc", Color::yellow},
    {"processing", u"Processing...", u"Processing", "arrow.triangle.2.circlepath", Color::purple},
    {"completed", u"Completed", u"Completed", "checkmark.circle.fill", Color::green},
    {"completedWithWarning", u"Done (%1)", u"Done", "info.circle.fill", Color::blue},
    {"failed", u"Failed: %1", u"Failed", "xmark.circle.fill", Color::red},
    {"skipped", u"Skipped: %1", u"Skipped", "minus.circle", Color::secondary},
    {"readyLRMerge", u"✅ Ready (L/R Merge)", u"Ready (L/R)", "checkmark.circle", Color::blue},
    {"protectedSurround", u"🛡️ Protected: Surround Set (%2 files) - %1", u"Protected (Surround)", "shield.fill",
     Color::cyan},
    {"protectedAmbisonics", u"🛡️ Protected: Ambisonics (%2 files) - %1", u"Protected (Ambi)", "shield.fill",
     Color::cyan},
    {"incompletePair", u"Incomplete Pair (%2 files) - %1", u"Incomplete", "exclamationmark.triangle", Color::orange},
    {"notLRPair", u"Not L/R Pair - %1", u"Not L/R", "exclamationmark.circle", Color::orange},
    {"completedUncertified", u"⚠️ Safe Merge (Uncertified) - %1", u"⚠️ Uncertified", "checkmark.circle",
     Color::blue},
    {"completedCarbonCopyCertified", u"✅ Completed", u"✅ Completed", "checkmark.seal.fill", Color::green},
}};

const StatusWords& words(ProcessingStatus::Kind kind) { return kStatusWords[static_cast<std::size_t>(kind)]; }

QString payload(const ProcessingStatus& status) {
    if (status.kind == ProcessingStatus::Kind::missingChannels) return status.channels.join(QStringLiteral(", "));
    if (status.kind == ProcessingStatus::Kind::mismatchDuration) {
        return QStringLiteral("%1s vs %2s").arg(fixed(status.leftDuration, 3), fixed(status.rightDuration, 3));
    }
    return status.text;
}

} // namespace

QString ProcessingStatus::caseName() const { return QString::fromLatin1(words(kind).caseName); }

QString ProcessingStatus::displayText() const {
    const QString pattern = QString::fromUtf16(words(kind).display);
    // Both replaced in one pass where both stand, so that a "%2" inside a user's text stays what it is.
    if (pattern.contains(QStringLiteral("%2"))) return pattern.arg(payload(*this), QString::number(fileCount));
    return pattern.contains(QStringLiteral("%1")) ? pattern.arg(payload(*this)) : pattern;
}

QString ProcessingStatus::shortDisplayText() const { return QString::fromUtf16(words(kind).shortDisplay); }
QString ProcessingStatus::icon() const { return QString::fromLatin1(words(kind).icon); }
ProcessingStatus::Color ProcessingStatus::statusColor() const { return words(kind).color; }

} // namespace ostrel
