// Finds the outside tools: those delivered with the application first, then the PATH, then the usual places.
//
// Lives on the main thread; the detection runs `which` and blocks for some milliseconds.
#pragma once

#include <QDateTime>
#include <QProperty>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace ostrel {

class ExternalToolDetector {
public:
    // The usual places of a tool, in the order in which they are tried.
    static QStringList systemPaths(const QString& tool);
    using SystemPaths = std::function<QStringList(const QString& tool)>;

    // Detects at once. Another resource folder than the application's, and other places, are for tests.
    explicit ExternalToolDetector(const QString& resourceFolder = QString(), SystemPaths places = systemPaths);

    QProperty<QString> ffmpegPath; // empty: not found
    QProperty<QString> ffprobePath;
    QProperty<QString> bwfmetaeditPath;
    QProperty<bool> ffmpegAvailable{false}; // ffmpeg and ffprobe both
    QProperty<bool> bwfmetaeditAvailable{false};
    QProperty<std::optional<QDateTime>> lastCheckTime; // shown by no view

    void detectTools();

    // The first executable of that name: in the resource folder, in `dataFolders`, by `which`, in the list. Empty if
    // there is none.
    QString findTool(const QString& name, const QStringList& searchPaths) const;

private:
    QString findBundled(const QString& name) const;
    QString lookUpResource(const QString& name) const;
    static QString runWhich(const QString& name);

    QString resourceFolder_;
    const QStringList dataFolders_; // none beside a resource folder that was chosen
    SystemPaths places_;
};

} // namespace ostrel
