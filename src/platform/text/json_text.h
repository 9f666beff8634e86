// Texts in JSON documents: nlohmann-json takes UTF-8.
#pragma once

#include <QString>
#include <QStringList>
#include <nlohmann/json.hpp>

namespace ostrel {

inline nlohmann::json jsonText(const QString& text) { return text.toStdString(); }

// Null for an empty text.
inline nlohmann::json jsonTextOrNull(const QString& text) { return text.isEmpty() ? nlohmann::json() : jsonText(text); }

inline nlohmann::json jsonList(const QStringList& texts) {
    nlohmann::json list = nlohmann::json::array();
    for (const QString& text : texts) list.push_back(jsonText(text));
    return list;
}

} // namespace ostrel
