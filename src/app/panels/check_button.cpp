#include "app/panels/check_button.h"

#include "app/controls/controls.h"
#include "app/panels/tab_page.h"

namespace ostrel {

QPushButton* checkButton() {
    QPushButton* button = pushButton(QStringLiteral("Check..."), QStringLiteral("magnifyingglass"),
                                     QStringLiteral("Look at the listed recordings with the eyes of the cutting room: "
                                                    "bext, iXML, format, names and their agreement"));
    QObject::connect(button, &QPushButton::clicked, button, [button] {
        for (QWidget* widget = button; widget; widget = widget->parentWidget()) {
            if (auto* page = qobject_cast<TabPage*>(widget)) {
                Q_EMIT page->checkRequested();
                return;
            }
        }
    });
    return button;
}

} // namespace ostrel
