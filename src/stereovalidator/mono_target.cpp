#include "stereovalidator/mono_target.h"

#include "platform/files/file_name.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

// The path that the source's name gives; `number` ("_2") tells further ones apart.
QString outputPath(const MonoRequest& request, const QString& number = QString()) {
    const QString suffix = request.addSuffix ? QStringLiteral("_mono") : QString();
    const QString ending = suffix + number + QLatin1Char('.') + request.outputFormat;
    return paths::append(request.outputFolder, fittedFileName(paths::stem(request.file), ending));
}

// The source's entry in its folder, by whatever path that folder is reached.
bool isSource(const QString& target, const QString& source) {
    if (paths::absolute(target) == paths::absolute(source)) return true;
    return paths::lastComponent(target).compare(paths::lastComponent(source), Qt::CaseInsensitive) == 0 &&
           paths::isSameFile(paths::parent(target), paths::parent(source));
}

} // namespace

ProcessingError::ProcessingError(Kind kind, const QString& text)
    : std::runtime_error(text.toStdString()), kind_(kind), text_(text) {}

ProcessingError ProcessingError::processingFailed(const QString& text) { return {Kind::processingFailed, text}; }

ProcessingError ProcessingError::notStereo() {
    return {Kind::notStereo, QStringLiteral("The file does not have two channels")};
}

QString ProcessingError::errorDescription() const {
    return QStringLiteral("The operation couldn’t be completed. (%1)").arg(text_);
}

MonoTarget monoTargetOf(const MonoRequest& request) {
    using Kind = MonoTarget::Kind;
    const QString path = outputPath(request);
    const bool ownPlace = isSource(path, request.file);
    if (ownPlace && request.allowOverwrite) return {Kind::source, request.file};
    const bool isTaken = ownPlace || paths::exists(path);
    return {isTaken && !request.allowOverwrite && !request.addSuffix ? Kind::numbered : Kind::file, path};
}

QString fileExistsSentence(const QString& path) {
    return QStringLiteral("File already exists: ") + paths::lastComponent(path);
}

QString numberedTarget(const MonoRequest& request, int number) {
    return outputPath(request, QStringLiteral("_%1").arg(number));
}

} // namespace ostrel
