#pragma once

// A body of run-time type for the generic request: the value is encoded when boxed.

#include "JsonCoding.h"

namespace wire {

class AnyEncodable {
public:
    AnyEncodable() = default;
    template<class T>
    requires(!std::same_as<std::remove_cvref_t<T>, AnyEncodable>) AnyEncodable(const T& value)
        : m_json(Codec<std::remove_cvref_t<T>>::encode(value))
    {
    }

    const QJsonValue& json() const { return m_json; }

private:
    QJsonValue m_json;
};

template<> struct Codec<AnyEncodable> {
    static QJsonValue encode(const AnyEncodable& value) { return value.json(); }
};

} // namespace wire
