#pragma once

// A JSON value of unknown shape that keeps integers apart from floats: a JSON 1 stays an
// integer, 1.5 a double, and true never becomes a number.

#include "JsonCoding.h"

#include <QHashFunctions>
#include <QVariant>

#include <map>
#include <variant>
#include <vector>

namespace wire {

class AnyCodableValue {
public:
    enum class Kind { String, Int, Double, Bool, Array, Dict, Null };
    using Array = std::vector<AnyCodableValue>;
    using Dict = std::map<QString, AnyCodableValue>;

    AnyCodableValue() = default; // null
    AnyCodableValue(QString value)
        : m_value(std::move(value))
    {
    }
    AnyCodableValue(const char* value)
        : m_value(QString::fromUtf8(value))
    {
    }
    AnyCodableValue(qint64 value)
        : m_value(value)
    {
    }
    AnyCodableValue(int value)
        : m_value(qint64(value))
    {
    }
    AnyCodableValue(double value)
        : m_value(value)
    {
    }
    AnyCodableValue(bool value)
        : m_value(value)
    {
    }
    AnyCodableValue(Array value)
        : m_value(std::move(value))
    {
    }
    AnyCodableValue(Dict value)
        : m_value(std::move(value))
    {
    }

    static AnyCodableValue null() { return {}; }

    // Throws DecodeError "unsupported JSON" for an undefined value.
    static AnyCodableValue fromJson(const QJsonValue& value, const QString& path = {});
    QJsonValue toJson() const;

    Kind kind() const;
    bool isNull() const { return kind() == Kind::Null; }
    std::optional<QString> stringValue() const;
    std::optional<qint64> intValue() const;
    // An integer widens to double here; a string or bool does not.
    std::optional<double> doubleValue() const;
    std::optional<bool> boolValue() const;
    const Array* arrayValue() const { return std::get_if<Array>(&m_value); }
    const Dict* dictValue() const { return std::get_if<Dict>(&m_value); }

    // A plain textual rendering: strings as they are, numbers in digits, containers as JSON.
    QString displayText() const;
    QVariant toVariant() const;

    bool operator==(const AnyCodableValue& other) const = default;

private:
    std::variant<std::monostate, QString, qint64, double, bool, Array, Dict> m_value;
};

size_t qHash(const AnyCodableValue& value, size_t seed = 0);

using AnyDict = std::map<QString, AnyCodableValue>;

template<> struct Codec<AnyCodableValue> {
    static QJsonValue encode(const AnyCodableValue& value) { return value.toJson(); }
    static AnyCodableValue decode(const QJsonValue& value, const QString& path)
    {
        return AnyCodableValue::fromJson(value, path);
    }
};

} // namespace wire
