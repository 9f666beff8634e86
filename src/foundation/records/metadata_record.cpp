#include "foundation/records/metadata_record.h"

#include <array>

namespace ostrel {

QString MetadataRecord::word() const {
    if (isEmpty()) return {};
    QStringList parts;
    const auto tell = [&](const QStringList& names, const QString& what) {
        if (!names.isEmpty()) parts << what + names.join(QStringLiteral(", "));
    };
    tell(renewed, QStringLiteral("Renewed: "));
    tell(changed, QStringLiteral("Changed: "));
    tell(lost, QStringLiteral("Lost: "));
    return parts.isEmpty() ? QStringLiteral("All kept") : parts.join(QStringLiteral("; "));
}

void MetadataRecord::add(const MetadataRecord& other) {
    using List = QStringList MetadataRecord::*;
    constexpr std::array<List, 4> fromBest{&MetadataRecord::kept, &MetadataRecord::renewed, &MetadataRecord::changed,
                                           &MetadataRecord::lost};
    for (std::size_t theirs = 0; theirs < fromBest.size(); ++theirs) {
        for (const QString& name : other.*fromBest[theirs]) {
            bool isWorse = true;
            for (std::size_t mine = 0; mine < fromBest.size(); ++mine) {
                if (!(this->*fromBest[mine]).contains(name)) continue;
                isWorse = mine < theirs;
                if (isWorse) (this->*fromBest[mine]).removeOne(name);
                break;
            }
            if (isWorse) (this->*fromBest[theirs]) << name;
        }
    }
}

} // namespace ostrel
