#include "app/controls/proof_box.h"

#include "app/controls/flag_box.h"

#include <QCheckBox>
#include <QSettings>

namespace ostrel {

QCheckBox* proofBox(Bindings& bindings, QProperty<bool>& proves, const QString& tool) {
    const QString key = QStringLiteral("proof/") + tool;
    proves = QSettings().value(key).toBool();
    QCheckBox* box =
        flagBox(bindings, proves, QStringLiteral("Prove that nothing changed"),
                QStringLiteral("Reads every new file back from the disk and compares each of its channels with "
                               "the channel that it was made of. An item that differs fails, and its sources "
                               "stay."));
    QObject::connect(box, &QCheckBox::toggled, box, [key](bool isOn) { QSettings().setValue(key, isOn); });
    return box;
}

} // namespace ostrel
