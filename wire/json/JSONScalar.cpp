#include "JSONScalar.h"

#include "JsonVariant.h"

#include <QJsonArray>
#include <QJsonObject>

#include <cmath>

namespace wire {

JSONScalar JSONScalar::fromAny(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        return JSONScalar(value.toString());
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return JSONScalar(value.toLongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return JSONScalar(value.toDouble());
    case QMetaType::Bool:
        return JSONScalar(value.toBool());
    case QMetaType::Nullptr:
    case QMetaType::UnknownType:
        return {};
    case QMetaType::QVariantList: {
        Array items;
        for (const QVariant& item : value.toList())
            items.push_back(fromAny(item));
        return JSONScalar(std::move(items));
    }
    case QMetaType::QVariantMap: {
        Object entries;
        const QVariantMap map = value.toMap();
        for (auto it = map.begin(); it != map.end(); ++it)
            entries.emplace(it.key(), fromAny(it.value()));
        return JSONScalar(std::move(entries));
    }
    case QMetaType::QJsonValue:
        return fromJson(value.toJsonValue());
    default:
        if (value.isNull())
            return {};
        return JSONScalar(value.toString());
    }
}

JSONScalar JSONScalar::fromJson(const QJsonValue& value)
{
    if (value.isDouble())
        return detail::numberFromJson<JSONScalar>(value);
    if (value.isArray()) {
        Array items;
        for (const QJsonValue& item : value.toArray())
            items.push_back(fromJson(item));
        return JSONScalar(std::move(items));
    }
    if (value.isObject()) {
        Object entries;
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            entries.emplace(it.key(), fromJson(it.value()));
        return JSONScalar(std::move(entries));
    }
    return fromAny(value.toVariant());
}

QVariant JSONScalar::rawAny() const
{
    struct Visitor {
        QVariant operator()(std::monostate) const { return QVariant::fromValue(nullptr); }
        QVariant operator()(const QString& v) const { return v; }
        QVariant operator()(qint64 v) const { return v; }
        QVariant operator()(double v) const { return v; }
        QVariant operator()(bool v) const { return v; }
        QVariant operator()(const Array& v) const
        {
            QVariantList list;
            for (const auto& item : v)
                list.append(item.rawAny());
            return list;
        }
        QVariant operator()(const Object& v) const
        {
            QVariantMap map;
            for (const auto& [key, item] : v)
                map.insert(key, item.rawAny());
            return map;
        }
    };
    return std::visit(Visitor {}, m_value);
}

QJsonValue JSONScalar::toJson() const
{
    return detail::variantToJson(m_value);
}

std::optional<QString> JSONScalar::stringValue() const
{
    return detail::alternative<QString>(m_value);
}

std::optional<qint64> JSONScalar::intValue() const
{
    if (auto v = std::get_if<qint64>(&m_value))
        return *v;
    if (auto v = std::get_if<double>(&m_value); v && std::isfinite(*v))
        return static_cast<qint64>(std::trunc(*v));
    return std::nullopt;
}

std::optional<double> JSONScalar::doubleValue() const
{
    return detail::alternative<double>(m_value);
}

std::optional<bool> JSONScalar::boolValue() const
{
    return detail::alternative<bool>(m_value);
}

} // namespace wire
