#include "app/hearing/audio_preview_panel.h"

#include "app/controls/layouts.h"
#include "app/hearing/playback_transport.h"
#include "platform/diagnostics.h"
#include "preview/playback_manager.h"

#include <QComboBox>

namespace ostrel {
namespace {

constexpr std::array kRoutings{PreviewRouting::mono, PreviewRouting::speakerRouted};

QString helpOf(PreviewRouting routing) {
    return routing == PreviewRouting::mono
               ? QStringLiteral("Plays through default output like a normal mono file")
               : QStringLiteral("Routes channel to its intended speaker position (C→Center, Ls→Surround, etc.)");
}

} // namespace

AudioPreviewPanel::AudioPreviewPanel(PlaybackManager& playback, QWidget* parent)
    : QWidget(parent), playback_(playback) {
    setAccessibleName(QStringLiteral("Preview"));
    auto* column = columnLayout(4);
    column->addWidget(makeHeader());
    column->addWidget(makeAudition());
    column->addWidget(makeWaveform(), 1);
    transport_ = new SimplePlaybackTransport(playback.engine());
    column->addWidget(transport_);
    setLayout(column);
    setMinimumHeight(reservedHeight);

    bindings_.bind(playback.currentFileName, [this] {
        const QString name = playback_.currentFileName.value();
        name_->setText(name.isEmpty() ? QStringLiteral("Preview") : name, name.isEmpty());
        transport_->setLabel(name.isEmpty() ? QStringLiteral("Select an item to preview it") : name, name.isEmpty());
    });
    bindings_.bind(playback.currentFileInfo, [this] { info_->setText(playback_.currentFileInfo.value()); });
    const auto modes = [this] { showModes(); };
    bindings_.watch(playback.availablePreviewModes, modes);
    bindings_.watch(playback.canTogglePreviewMode, modes);
    bindings_.watch(playback.previewMode, modes);
    bindings_.bind(playback.isGeneratingStereoPreview, modes);
    const auto channels = [this] { showChannels(); };
    bindings_.watch(playback.availableChannelTags, channels);
    bindings_.watch(playback.canAuditionChannels, channels);
    bindings_.bind(playback.selectedChannelTag, channels);
    bindings_.bind(playback.previewRouting, [this] { showRouting(); });
    const auto waveform = [this] { showWaveform(); };
    bindings_.watch(playback.waveformData, waveform);
    bindings_.watch(playback.multiChannelWaveformData, waveform);
    bindings_.watch(playback.isGeneratingWaveform, waveform);
    bindings_.bind(playback.waveformError, waveform);
    bindings_.watch(playback.engine().loadError, waveform);
    const auto position = [this] {
        waveform_->setPosition(playback_.engine().currentTime.value(), playback_.engine().duration.value());
    };
    bindings_.watch(playback.engine().currentTime, position);
    bindings_.bind(playback.engine().duration, position);
    connectWaveform();
}

void AudioPreviewPanel::connectWaveform() {
    AudioPlaybackEngine& engine = playback_.engine();
    peaks_.setFFmpegPath(playback_.ffmpegPath());
    bindings_.watch(playback_.currentFileURL, [this] {
        const QString file = playback_.currentFileURL.value();
        waveform_->forgetDetail();
        peaks_.setFiles(file.isEmpty() ? QStringList() : QStringList(file), PeakReader::Lanes::channels);
        const QString recording = playback_.recordingURL();
        transport_->setRecordings(recording.isEmpty() ? QStringList() : QStringList(recording));
    });
    connect(waveform_, &WaveformView::detailWanted, this, [this](const TimeSpan& part, int points) {
        peaks_.want({part.from, part.to, points});
    });
    connect(&peaks_, &PeakReader::changed, this, [this] {
        if (const auto& wish = peaks_.answered())
            waveform_->setDetail({wish->from, wish->to}, peaks_.whole(), peaks_.lanes());
    });
    connect(waveform_, &WaveformView::selected, this,
            [this](const std::optional<TimeSpan>& span) { playback_.engine().select(span); });
    const auto selection = [this, &engine] {
        waveform_->setSelection(engine.travel.selection.value(), engine.travel.loops.value());
    };
    bindings_.watch(engine.travel.selection, selection);
    bindings_.watch(engine.travel.loops, selection);
}

QWidget* AudioPreviewPanel::makeHeader() {
    name_ = new TruncatingText;
    info_ = new SecondaryLabel;
    loading_ = new SecondaryLabel(QStringLiteral("Loading..."));
    keepPlaceWhenHidden(*loading_);
    modes_ = new SegmentedControl(QStringLiteral("Preview mode"));
    keepPlaceWhenHidden(*modes_);
    connect(modes_, &SegmentedControl::chosen, this, &AudioPreviewPanel::chooseMode);
    auto* row = rowLayout(10);
    row->addWidget(name_, 1);
    row->addWidget(info_);
    row->addWidget(loading_);
    row->addWidget(modes_);
    auto* header = new QWidget;
    header->setMinimumHeight(fontMetrics().height() + 12);
    header->setLayout(row);
    return header;
}

QWidget* AudioPreviewPanel::makeAudition() {
    channels_ = new SegmentedControl(QStringLiteral("Channels"));
    connect(channels_, &SegmentedControl::chosen, this, &AudioPreviewPanel::chooseChannel);
    routing_ = named(new QComboBox, QStringLiteral("Solo Routing"));
    for (const PreviewRouting routing : kRoutings) {
        routing_->addItem(rawText(routing));
        routing_->setItemData(routing_->count() - 1, helpOf(routing), Qt::ToolTipRole);
    }
    connect(routing_, &QComboBox::activated, this, [this](int index) {
        playback_.previewRouting = kRoutings[static_cast<std::size_t>(index)];
        playback_.reAuditionCurrentChannel();
    });
    audible_ = new SecondaryLabel;
    auto* row = rowLayout();
    row->addWidget(channels_);
    row->addSpacing(8);
    row->addWidget(new SecondaryLabel(QStringLiteral("Solo Routing:")));
    row->addWidget(routing_);
    row->addWidget(audible_, 1);
    audition_ = new QWidget;
    audition_->setLayout(row);
    keepPlaceWhenHidden(*audition_);
    return audition_;
}

QWidget* AudioPreviewPanel::makeWaveform() {
    waveform_ = new WaveformView;
    hint_ = new SecondaryLabel;
    scaleFont(*hint_, 0.88);
    hint_->setAutoFillBackground(true);
    hint_->setBackgroundRole(QPalette::Base);
    hint_->setContentsMargins(5, 1, 5, 1);
    hint_->setAttribute(Qt::WA_TransparentForMouseEvents);
    // The hint lies over the waveform's corner and so takes no room.
    auto* corner = rowLayout();
    corner->setContentsMargins(8, 6, 8, 0);
    corner->addWidget(hint_, 0, Qt::AlignTop | Qt::AlignRight);
    waveform_->setLayout(corner);
    connect(waveform_, &WaveformView::seekRequested, this,
            [this](double seconds) { playback_.engine().seek(seconds); });
    connect(waveform_, &WaveformView::layoutChanged, this, &AudioPreviewPanel::showHint);
    return waveform_;
}

void AudioPreviewPanel::showModes() {
    const auto& available = playback_.availablePreviewModes.value();
    const bool isGenerating = playback_.isGeneratingStereoPreview.value();
    QStringList texts;
    for (const PreviewMode mode : available) texts << displayText(mode);
    QStringList shown;
    for (int index = 0; index < modes_->count(); ++index) shown << modes_->segment(index)->text();
    if (shown != texts) {
        modes_->clear();
        for (const QString& text : texts) {
            modes_->addSegment(text, QString(), QStringLiteral("Toggle between available preview modes"));
        }
    }
    const auto current = std::find(available.begin(), available.end(), playback_.previewMode.value());
    modes_->setCurrent(current == available.end() ? -1 : static_cast<int>(current - available.begin()));
    modes_->setEnabled(!isGenerating);
    modes_->setVisible(playback_.canTogglePreviewMode.value());
    loading_->setVisible(isGenerating);
}

void AudioPreviewPanel::chooseMode(int index) {
    const auto& available = playback_.availablePreviewModes.value();
    if (index < 0 || static_cast<std::size_t>(index) >= available.size()) return;
    const PreviewMode mode = available[static_cast<std::size_t>(index)];
    printDiagnostic(QStringLiteral("[AudioPreviewPanel] Toggle clicked: switching to ") + displayText(mode));
    showModes(); // the mark moves when the mode has
    playback_.setPreviewMode(mode);
}

void AudioPreviewPanel::showChannels() {
    const QStringList& tags = playback_.availableChannelTags.value();
    QStringList shown;
    for (int index = 0; index < channels_->count(); ++index) shown << channels_->segment(index)->text();
    if (shown != tags) {
        channels_->clear();
        for (const QString& tag : tags) channels_->addSegment(tag);
    }
    channels_->setCurrent(static_cast<int>(tags.indexOf(playback_.selectedChannelTag.value())));
    audition_->setVisible(playback_.canAuditionChannels.value());
    showRouting();
    showWaveform();
}

// A click on the channel that is heard goes back to the default.
void AudioPreviewPanel::chooseChannel(int index) {
    const QString tag = playback_.availableChannelTags.value().value(index);
    const bool isSelected = tag == playback_.selectedChannelTag.value();
    channels_->setCurrent(
        static_cast<int>(playback_.availableChannelTags.value().indexOf(playback_.selectedChannelTag.value())));
    playback_.auditionChannel(isSelected ? QString() : tag);
}

void AudioPreviewPanel::showRouting() {
    const PreviewRouting routing = playback_.previewRouting.value();
    const QString tag = playback_.selectedChannelTag.value();
    routing_->setCurrentIndex(routing == PreviewRouting::mono ? 0 : 1);
    routing_->setEnabled(!tag.isEmpty());
    named(routing_, QStringLiteral("Solo Routing"),
          tag.isEmpty() ? QStringLiteral("Select a channel to enable routing options") : helpOf(routing));
    const auto* words = routing == PreviewRouting::mono ? u"%1 channel (mono)" : u"%1 channel (speaker-routed)";
    audible_->setText(tag.isEmpty() ? QString() : QString::fromUtf16(words).arg(tag));
}

void AudioPreviewPanel::showWaveform() {
    const auto& single = playback_.waveformData.value();
    waveform_->setData(single, playback_.multiChannelWaveformData.value(), playback_.availableChannelTags.value());
    QString message;
    if (playback_.isGeneratingWaveform.value()) {
        message = QStringLiteral("Reading waveform...");
    } else if (playback_.waveformError.value()) {
        message = QStringLiteral("Waveform unavailable");
    } else if (single.empty()) {
        message = QStringLiteral("No waveform");
    }
    // What can't be played may well be seen: then the reason stands beside the waveform.
    const QString loadError = playback_.engine().loadError.value();
    if (!loadError.isEmpty() && !playback_.isGeneratingWaveform.value() && single.empty()) message = loadError;
    waveform_->setMessage(message);
    showHint();
}

void AudioPreviewPanel::showHint() {
    const bool isShort = waveform_->lacksHeightForLanes();
    const QString loadError = playback_.engine().loadError.value();
    QString hint;
    if (!loadError.isEmpty() && !playback_.waveformData.value().empty()) {
        hint = loadError;
    } else if (isShort) {
        hint = QStringLiteral("%1 channels • Expand preview to see individual lanes").arg(waveform_->laneCount());
    }
    hint_->setVisible(!hint.isEmpty());
    hint_->setText(hint);
    waveform_->setToolTip(isShort ? QStringLiteral("Expand preview for larger waveforms") : QString());
}

} // namespace ostrel
