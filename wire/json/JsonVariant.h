#pragma once

// What AnyCodableValue and JSONScalar share: both hold null, a string, an integer, a double,
// a bool, an array of themselves or a keyed map of themselves.

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVariant>

#include <optional>
#include <type_traits>
#include <variant>

namespace wire::detail {

template<typename T, typename Variant> std::optional<T> alternative(const Variant& value)
{
    if (const T* held = std::get_if<T>(&value))
        return *held;
    return std::nullopt;
}

// A JSON number that is whole stays an integer; any other is a double.
template<typename Value> Value numberFromJson(const QJsonValue& value)
{
    const QVariant variant = value.toVariant();
    if (variant.typeId() == QMetaType::LongLong)
        return Value(variant.toLongLong());
    return Value(value.toDouble());
}

template<typename Variant> QJsonValue variantToJson(const Variant& value)
{
    return std::visit(
        [](const auto& held) -> QJsonValue {
            using T = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return QJsonValue(QJsonValue::Null);
            } else if constexpr (requires { held.begin()->second.toJson(); }) {
                QJsonObject object;
                for (const auto& [key, item] : held)
                    object.insert(key, item.toJson());
                return object;
            } else if constexpr (requires { held.begin()->toJson(); }) {
                QJsonArray array;
                for (const auto& item : held)
                    array.append(item.toJson());
                return array;
            } else {
                return QJsonValue(held);
            }
        },
        value);
}

} // namespace wire::detail
