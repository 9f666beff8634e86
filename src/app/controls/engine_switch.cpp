#include "app/controls/engine_switch.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"

#include <QSettings>

namespace ostrel {
namespace {

QString helpText() {
    return QStringLiteral(
        "ffmpeg: the audio goes through ffmpeg. Direct: the samples are copied as they are, many times "
        "faster, without other programs; files that are no plain WAV go by way of ffmpeg all the same.");
}

int indexOf(EngineChoice choice) { return choice == EngineChoice::direct ? 1 : 0; }

} // namespace

QWidget* engineSwitch(Bindings& bindings, QProperty<EngineChoice>& engine, const QString& tool) {
    const QString key = QStringLiteral("engine/") + tool;
    engine = engineNamed(QSettings().value(key).toString()).value_or(defaultEngine());
    auto* control = new SegmentedControl(QStringLiteral("Engine"));
    for (const EngineChoice choice : kAllEngineChoices) control->addSegment(displayName(choice));
    control->setToolTip(helpText());
    control->setAccessibleDescription(helpText());
    QObject::connect(control, &SegmentedControl::chosen, control, [&engine, key](int index) {
        engine = kAllEngineChoices[static_cast<std::size_t>(index)];
        QSettings().setValue(key, rawText(engine.value()));
    });
    bindings.bind(engine, [&engine, control] { control->setCurrent(indexOf(engine.value())); });
    auto* row = rowLayout();
    auto* label = new QLabel(QStringLiteral("Engine:"));
    label->setToolTip(helpText());
    row->addWidget(label);
    row->addWidget(control);
    row->addStretch();
    auto* widget = new QWidget;
    widget->setLayout(row);
    return widget;
}

} // namespace ostrel
