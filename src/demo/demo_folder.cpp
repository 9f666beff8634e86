#include "demo/demo_folder.h"

#include "demo/samples.h"
#include "platform/paths.h"

#include <QStandardPaths>

namespace ostrel {
namespace {

// As the writers name them.
QString folderOf(DemoKind kind) {
    switch (kind) {
    case DemoKind::pairs: return QStringLiteral("pairs");
    case DemoKind::interleaved: return QStringLiteral("interleaved");
    case DemoKind::polys: return QStringLiteral("polys");
    case DemoKind::isos: return QStringLiteral("isos");
    case DemoKind::stereo: break;
    }
    return QStringLiteral("validator");
}

} // namespace

QString demoFolder() {
    return paths::append(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation),
                         QStringLiteral("ostrel/Demo Recordings"));
}

QString writeDemoRecordings(const QString& folder, DemoKind kind) {
    const QString part = folderOf(kind);
    SampleWriter writer{folder, [](const QString&) {}, {}};
    writer.takes = [&](const QString& relativePath) {
        return relativePath.startsWith(part + u'/') && !paths::exists(paths::append(folder, relativePath));
    };
    switch (kind) {
    case DemoKind::pairs:
    case DemoKind::interleaved: writeInterleaverSamples(writer); break;
    case DemoKind::polys:
    case DemoKind::isos: writePolySamples(writer); break;
    case DemoKind::stereo: writeValidatorSamples(writer); break;
    }
    return paths::append(folder, part);
}

} // namespace ostrel
