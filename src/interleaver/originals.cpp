#include "interleaver/originals.h"

#include "platform/files.h"
#include "platform/paths.h"

#include <functional>

namespace ostrel {
namespace {

QStringList forEach(const QStringList& sources, const std::function<void(const QString& file)>& operation) {
    QStringList failures;
    for (const QString& file : sources) {
        try {
            operation(file);
        } catch (const FileError& error) {
            failures << error.description;
        }
    }
    return failures;
}

} // namespace

QStringList moveToOriginals(const QStringList& sources) {
    if (sources.isEmpty()) return {};
    const QString folder = paths::append(paths::parent(sources.first()), QStringLiteral("Originals"));
    return forEach(sources, [&](const QString& file) {
        files::createFolder(folder);
        files::move(file, paths::append(folder, paths::lastComponent(file)));
    });
}

QStringList deleteOriginals(const QStringList& sources) { return forEach(sources, files::remove); }

} // namespace ostrel
