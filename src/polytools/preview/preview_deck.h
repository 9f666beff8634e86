// What all previews of Poly Tools share: the one mixer that plays them, the way a click on a source is heard, and the
// extraction of a poly's channels into temporary mono files.
//
// Failures never stop a run: they are log lines, and what could be made is played. Main thread. Without an audio output
// everything here is idle.
#pragma once

#include "polytools/services/poly_tools_services.h"
#include "polytools/state/poly_tools_state.h"
#include "polytools/state/preview_state.h"
#include "preview/preview_mixer.h"

#include <memory>
#include <optional>

namespace ostrel {

class PreviewDeck {
public:
    PreviewDeck(const PolyToolsState& state, PreviewState& preview, PolyToolsServices& services, AudioOutput* output);

    bool isEnabled() const { return mixer_ != nullptr; }
    PreviewMixer* mixer() const { return mixer_.get(); } // null where this is not enabled
    void toolsChanged();
    void clear(); // nothing is loaded, nothing chosen
    void log(LogLevel level, const QString& message) { services_.log(level, LogCategory::process, message); }

    void forgetPreparation(); // its flags; its task is told by its handle
    // The handle of a preparation; one that another takes the place of ends without a word.
    TaskHandle begin();

    // The channels one after the other, named "{stem}_T{n}.wav", which is where the mixer reads a channel's number;
    // those that could be made. Nothing if it was stopped.
    QCoro::Task<std::optional<QStringList>> extractChannels(QString url, int channelCount, QString folder,
                                                            QString logStart, TaskHandle handle, bool showsProgress);
    static QString channelURL(const QStringList& urls, int channelIndex); // zero-based; empty: none of them

    // A click on a source: another one is heard alone from here on, the same one pauses and goes on.
    void listenTo(QProperty<std::optional<int>>& selection, int index, const QString& url, const QString& logLine);
    void playWhole(QProperty<std::optional<int>>& selection);
    // The source alone, or the whole again; where it plays it plays on.
    void toggleSolo(QProperty<std::optional<int>>& selection, int index, const QString& url);
    void togglePlay();

    // For the transports: "3: Boom", and the number that is heard.
    static QString numbered(int index, const QString& name);
    static std::optional<int> oneBased(const std::optional<int>& index);

private:
    struct ExtractedChannels {
        QStringList urls;     // those that could be made
        QStringList failures; // sentences on the others
    };
    // Blocks.
    static ExtractedChannels extractOne(const QString& polyURL, int channel, const QString& folder,
                                        const QString& ffmpegPath);

    const PolyToolsState& state_;
    PreviewState& preview_;
    PolyToolsServices& services_;
    std::unique_ptr<PreviewMixer> mixer_;
};

} // namespace ostrel
