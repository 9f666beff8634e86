// Records to JSON and back, field by field, in terms of Qt texts and optionals.
#pragma once

#include <QByteArray>
#include <QString>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace ostrel {

using Json = nlohmann::json;

// A key is missing, or its value is of another type or does not fit.
class JsonShapeError : public std::runtime_error {
public:
    explicit JsonShapeError(const char* key) : std::runtime_error(key) {}
};

// Builds one object. `putIfAny` leaves a field without a value out.
class JsonFields {
public:
    JsonFields& put(const char* key, const QString& text) { return set(key, text.toStdString()); }
    JsonFields& put(const char* key, const JsonFields& object) { return set(key, object.object_); }
    template <class Number>
    requires std::is_arithmetic_v<Number> JsonFields& put(const char* key, Number number) { return set(key, number); }

    JsonFields& putIfAny(const char* key, const QString& text) { return text.isEmpty() ? *this : put(key, text); }
    template <class Number>
    JsonFields& putIfAny(const char* key, const std::optional<Number>& number) {
        return number ? put(key, *number) : *this;
    }

    template <class Record, class Encode>
    JsonFields& putList(const char* key, const std::vector<Record>& records, Encode encode) {
        Json list = Json::array();
        for (const Record& record : records) list.push_back(encode(record).object_);
        return set(key, std::move(list));
    }
    template <class Record, class Encode>
    JsonFields& putListIfAny(const char* key, const std::optional<std::vector<Record>>& records, Encode encode) {
        return records ? putList(key, *records, encode) : *this;
    }

    JsonFields& put(const char* key, const Json& value) { return set(key, value); }

    // Two blanks a level, keys sorted, UTF-8.
    QByteArray pretty() const { return QByteArray::fromStdString(object_.dump(2)); }

private:
    JsonFields& set(const char* key, Json value) {
        object_[key] = std::move(value);
        return *this;
    }

    Json object_ = Json::object();
};

// Reads one object. `...IfAny` takes a missing key and null for "no value"; every other mismatch throws JsonShapeError.
class JsonReader {
public:
    explicit JsonReader(const Json& object) : object_(object) {
        if (!object.is_object()) throw JsonShapeError("object");
    }

    QString text(const char* key) const { return textOf(key, required(key)); }
    QString textIfAny(const char* key) const {
        const Json* value = optional(key);
        return value ? textOf(key, *value) : QString();
    }

    template <class Number>
    Number number(const char* key) const {
        return numberOf<Number>(key, required(key));
    }
    template <class Number>
    std::optional<Number> numberIfAny(const char* key) const {
        const Json* value = optional(key);
        return value ? std::optional(numberOf<Number>(key, *value)) : std::nullopt;
    }

    template <class Decode>
    auto object(const char* key, Decode decode) const {
        return decode(JsonReader(required(key)));
    }
    template <class Decode>
    auto objectIfAny(const char* key, Decode decode) const -> std::optional<decltype(decode(*this))> {
        const Json* value = optional(key);
        if (!value) return std::nullopt;
        return decode(JsonReader(*value));
    }

    template <class Decode>
    auto list(const char* key, Decode decode) const {
        return listOf(key, required(key), decode);
    }
    template <class Decode>
    auto listIfAny(const char* key, Decode decode) const -> std::optional<std::vector<decltype(decode(*this))>> {
        const Json* value = optional(key);
        if (!value) return std::nullopt;
        return listOf(key, *value, decode);
    }

private:
    const Json* optional(const char* key) const {
        const auto found = object_.find(key);
        return found == object_.end() || found->is_null() ? nullptr : &*found;
    }

    const Json& required(const char* key) const {
        const Json* value = optional(key);
        if (!value) throw JsonShapeError(key);
        return *value;
    }

    static QString textOf(const char* key, const Json& value) {
        if (!value.is_string()) throw JsonShapeError(key);
        return QString::fromStdString(value.get_ref<const std::string&>());
    }

    template <class Number>
    static Number numberOf(const char* key, const Json& value) {
        if constexpr (std::is_floating_point_v<Number>) {
            if (!value.is_number()) throw JsonShapeError(key);
            return value.get<Number>();
        } else {
            if (value.is_number_unsigned() && std::in_range<Number>(value.get<quint64>())) {
                return static_cast<Number>(value.get<quint64>());
            }
            if (value.is_number_integer() && !value.is_number_unsigned() &&
                std::in_range<Number>(value.get<qint64>())) {
                return static_cast<Number>(value.get<qint64>());
            }
            throw JsonShapeError(key);
        }
    }

    template <class Decode>
    static auto listOf(const char* key, const Json& value, Decode decode) {
        if (!value.is_array()) throw JsonShapeError(key);
        std::vector<decltype(decode(JsonReader(value)))> records;
        for (const Json& item : value) records.push_back(decode(JsonReader(item)));
        return records;
    }

    const Json& object_;
};

} // namespace ostrel
