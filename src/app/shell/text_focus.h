// Whether what a person types is for the control in focus.
#pragma once

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace ostrel {

inline bool takesText(const QWidget* widget) {
    if (const auto* combo = qobject_cast<const QComboBox*>(widget)) return combo->isEditable();
    return qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QTextEdit*>(widget) ||
           qobject_cast<const QPlainTextEdit*>(widget) || qobject_cast<const QAbstractSpinBox*>(widget);
}

} // namespace ostrel
