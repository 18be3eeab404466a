#pragma once

// Typed JSON coding for every record that crosses HTTP. A record is a struct whose
// fields carry the wire names; it provides
//     static T fromJson(const wire::ObjectReader&);
//     void writeJson(wire::ObjectWriter&) const;
// Absent optionals are left out of encoded objects; a missing required key or a value
// of the wrong type throws DecodeError naming the field, which the server turns into 422.

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <cmath>
#include <concepts>
#include <exception>
#include <limits>
#include <map>
#include <optional>
#include <type_traits>
#include <vector>

namespace wire {

class DecodeError : public std::exception {
public:
    DecodeError(QString field, QString problem);

    // Dotted path of the offending value, such as "relations[0].role"; empty for the whole body.
    const QString& field() const noexcept { return m_field; }
    const QString& problem() const noexcept { return m_problem; }
    // "field 'x': problem" or the problem alone when no field is involved.
    QString description() const;
    const char* what() const noexcept override { return m_what.constData(); }

private:
    QString m_field;
    QString m_problem;
    QByteArray m_what;
};

class ObjectReader;
class ObjectWriter;

template<class T>
concept JsonRecord = requires(const T& value, ObjectWriter& writer, const ObjectReader& reader)
{
    {
        T::fromJson(reader)
        } -> std::same_as<T>;
    value.writeJson(writer);
};

template<class T, class Enable = void> struct Codec;

QString joinPath(const QString& parent, const QString& key);
QString indexPath(const QString& parent, qsizetype index);

class ObjectReader {
public:
    // Throws DecodeError when the value is not an object.
    explicit ObjectReader(const QJsonValue& value, QString path = {});

    const QJsonObject& object() const { return m_object; }
    const QString& path() const { return m_path; }
    // Present and not null.
    bool has(const QString& key) const;
    QJsonValue raw(const QString& key) const { return m_object.value(key); }

    template<class T> T required(const QString& key) const
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull())
            throw DecodeError(joinPath(m_path, key), QStringLiteral("is required"));
        return Codec<T>::decode(value, joinPath(m_path, key));
    }

    template<class T> std::optional<T> optional(const QString& key) const
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull())
            return std::nullopt;
        return Codec<T>::decode(value, joinPath(m_path, key));
    }

    template<class T> T valueOr(const QString& key, T fallback) const
    {
        auto found = optional<T>(key);
        return found ? std::move(*found) : std::move(fallback);
    }

private:
    QJsonObject m_object;
    QString m_path;
};

class ObjectWriter {
public:
    template<class T> ObjectWriter& set(const QString& key, const T& value)
    {
        QJsonValue encoded = Codec<T>::encode(value);
        if (!encoded.isUndefined())
            m_object.insert(key, encoded);
        return *this;
    }

    QJsonObject object() const { return m_object; }

private:
    QJsonObject m_object;
};

// ---- codecs of plain values ----

template<> struct Codec<bool> {
    static QJsonValue encode(bool value) { return value; }
    static bool decode(const QJsonValue& value, const QString& path);
};

template<> struct Codec<int> {
    static QJsonValue encode(int value) { return value; }
    static int decode(const QJsonValue& value, const QString& path);
};

template<> struct Codec<qint64> {
    static QJsonValue encode(qint64 value) { return value; }
    static qint64 decode(const QJsonValue& value, const QString& path);
};

template<> struct Codec<double> {
    static QJsonValue encode(double value) { return value; }
    static double decode(const QJsonValue& value, const QString& path);
};

template<> struct Codec<QString> {
    static QJsonValue encode(const QString& value) { return value; }
    static QString decode(const QJsonValue& value, const QString& path);
};

template<> struct Codec<QJsonValue> {
    static QJsonValue encode(const QJsonValue& value) { return value; }
    static QJsonValue decode(const QJsonValue& value, const QString&) { return value; }
};

template<> struct Codec<QJsonObject> {
    static QJsonValue encode(const QJsonObject& value) { return value; }
    static QJsonObject decode(const QJsonValue& value, const QString& path);
};

template<> struct Codec<QStringList> {
    static QJsonValue encode(const QStringList& value) { return QJsonArray::fromStringList(value); }
    static QStringList decode(const QJsonValue& value, const QString& path);
};

template<class T> struct Codec<std::optional<T>> {
    static QJsonValue encode(const std::optional<T>& value)
    {
        return value ? Codec<T>::encode(*value) : QJsonValue(QJsonValue::Undefined);
    }
    static std::optional<T> decode(const QJsonValue& value, const QString& path)
    {
        if (value.isNull() || value.isUndefined())
            return std::nullopt;
        return Codec<T>::decode(value, path);
    }
};

template<class T> struct Codec<std::vector<T>> {
    static QJsonValue encode(const std::vector<T>& values)
    {
        QJsonArray array;
        for (const auto& value : values)
            array.append(Codec<T>::encode(value));
        return array;
    }
    static std::vector<T> decode(const QJsonValue& value, const QString& path)
    {
        if (!value.isArray())
            throw DecodeError(path, QStringLiteral("must be an array"));
        const QJsonArray array = value.toArray();
        std::vector<T> out;
        out.reserve(array.size());
        for (qsizetype i = 0; i < array.size(); ++i)
            out.push_back(Codec<T>::decode(array.at(i), indexPath(path, i)));
        return out;
    }
};

template<class T> struct Codec<std::map<QString, T>> {
    static QJsonValue encode(const std::map<QString, T>& values)
    {
        QJsonObject object;
        for (const auto& [key, value] : values)
            object.insert(key, Codec<T>::encode(value));
        return object;
    }
    static std::map<QString, T> decode(const QJsonValue& value, const QString& path)
    {
        if (!value.isObject())
            throw DecodeError(path, QStringLiteral("must be an object"));
        const QJsonObject object = value.toObject();
        std::map<QString, T> out;
        for (auto it = object.begin(); it != object.end(); ++it)
            out.emplace(it.key(), Codec<T>::decode(it.value(), joinPath(path, it.key())));
        return out;
    }
};

template<JsonRecord T> struct Codec<T> {
    static QJsonValue encode(const T& value)
    {
        ObjectWriter writer;
        value.writeJson(writer);
        return writer.object();
    }
    static T decode(const QJsonValue& value, const QString& path) { return T::fromJson(ObjectReader(value, path)); }
};

// ---- whole documents ----

template<class T> QJsonValue toJson(const T& value)
{
    return Codec<T>::encode(value);
}

// Compact JSON; object keys come out sorted because QJsonObject keeps them sorted.
QByteArray serialize(const QJsonValue& value);

template<class T> QByteArray toBytes(const T& value)
{
    return serialize(toJson(value));
}

template<class T> T fromJson(const QJsonValue& value)
{
    return Codec<T>::decode(value, QString());
}

// Throws DecodeError for an empty body, text that is not JSON, or a record mismatch.
QJsonValue parse(const QByteArray& bytes);

template<class T> T fromBytes(const QByteArray& bytes)
{
    return fromJson<T>(parse(bytes));
}

} // namespace wire
