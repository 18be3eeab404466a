#pragma once

// A tool input value of the agent. Built from a loosely typed value (QVariant) in the
// order string, int, double, bool, null, then containers; `rawAny` turns it back.

#include "JsonCoding.h"

#include <QVariant>

#include <map>
#include <variant>
#include <vector>

namespace wire {

class JSONScalar {
public:
    using Array = std::vector<JSONScalar>;
    using Object = std::map<QString, JSONScalar>;

    JSONScalar() = default; // null
    JSONScalar(QString value)
        : m_value(std::move(value))
    {
    }
    JSONScalar(qint64 value)
        : m_value(value)
    {
    }
    JSONScalar(int value)
        : m_value(qint64(value))
    {
    }
    JSONScalar(double value)
        : m_value(value)
    {
    }
    JSONScalar(bool value)
        : m_value(value)
    {
    }
    JSONScalar(Array value)
        : m_value(std::move(value))
    {
    }
    JSONScalar(Object value)
        : m_value(std::move(value))
    {
    }

    static JSONScalar fromAny(const QVariant& value);
    static JSONScalar fromJson(const QJsonValue& value);
    QVariant rawAny() const;
    QJsonValue toJson() const;

    bool isNull() const { return std::holds_alternative<std::monostate>(m_value); }
    std::optional<QString> stringValue() const;
    // Accepts a double as well and truncates it toward zero.
    std::optional<qint64> intValue() const;
    std::optional<double> doubleValue() const;
    std::optional<bool> boolValue() const;
    const Array* arrayValue() const { return std::get_if<Array>(&m_value); }
    const Object* objectValue() const { return std::get_if<Object>(&m_value); }

    bool operator==(const JSONScalar& other) const = default;

private:
    std::variant<std::monostate, QString, qint64, double, bool, Array, Object> m_value;
};

template<> struct Codec<JSONScalar> {
    static QJsonValue encode(const JSONScalar& value) { return value.toJson(); }
    static JSONScalar decode(const QJsonValue& value, const QString&) { return JSONScalar::fromJson(value); }
};

} // namespace wire
