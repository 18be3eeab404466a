#include "AnyCodableValue.h"

#include "JsonVariant.h"

#include <QJsonDocument>

namespace wire {

AnyCodableValue AnyCodableValue::fromJson(const QJsonValue& value, const QString& path)
{
    switch (value.type()) {
    case QJsonValue::Null:
        return {};
    case QJsonValue::Bool:
        return AnyCodableValue(value.toBool());
    case QJsonValue::Double:
        return detail::numberFromJson<AnyCodableValue>(value);
    case QJsonValue::String:
        return AnyCodableValue(value.toString());
    case QJsonValue::Array: {
        Array items;
        const QJsonArray array = value.toArray();
        items.reserve(array.size());
        for (qsizetype i = 0; i < array.size(); ++i)
            items.push_back(fromJson(array.at(i), indexPath(path, i)));
        return AnyCodableValue(std::move(items));
    }
    case QJsonValue::Object: {
        Dict entries;
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            entries.emplace(it.key(), fromJson(it.value(), joinPath(path, it.key())));
        return AnyCodableValue(std::move(entries));
    }
    case QJsonValue::Undefined:
        break;
    }
    throw DecodeError(path, QStringLiteral("unsupported JSON"));
}

QJsonValue AnyCodableValue::toJson() const
{
    return detail::variantToJson(m_value);
}

AnyCodableValue::Kind AnyCodableValue::kind() const
{
    switch (m_value.index()) {
    case 1:
        return Kind::String;
    case 2:
        return Kind::Int;
    case 3:
        return Kind::Double;
    case 4:
        return Kind::Bool;
    case 5:
        return Kind::Array;
    case 6:
        return Kind::Dict;
    default:
        return Kind::Null;
    }
}

std::optional<QString> AnyCodableValue::stringValue() const
{
    return detail::alternative<QString>(m_value);
}

std::optional<qint64> AnyCodableValue::intValue() const
{
    return detail::alternative<qint64>(m_value);
}

std::optional<double> AnyCodableValue::doubleValue() const
{
    if (auto v = std::get_if<double>(&m_value))
        return *v;
    if (auto v = std::get_if<qint64>(&m_value))
        return static_cast<double>(*v);
    return std::nullopt;
}

std::optional<bool> AnyCodableValue::boolValue() const
{
    return detail::alternative<bool>(m_value);
}

QString AnyCodableValue::displayText() const
{
    switch (kind()) {
    case Kind::String:
        return *stringValue();
    case Kind::Int:
        return QString::number(*intValue());
    case Kind::Double:
        return QString::number(*doubleValue(), 'g', 15);
    case Kind::Bool:
        return *boolValue() ? QStringLiteral("true") : QStringLiteral("false");
    case Kind::Null:
        return QStringLiteral("null");
    case Kind::Array:
    case Kind::Dict:
        return QString::fromUtf8(serialize(toJson()));
    }
    return {};
}

QVariant AnyCodableValue::toVariant() const
{
    return toJson().toVariant();
}

size_t qHash(const AnyCodableValue& value, size_t seed)
{
    return ::qHash(serialize(value.toJson()), seed) ^ static_cast<size_t>(value.kind());
}

} // namespace wire
