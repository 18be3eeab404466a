#pragma once

#include "json/JsonCoding.h"

#include <QString>

#include <optional>

// Snapshot files: one plain JSON file per key under "VelmarOS/widget-cache/", shared by all
// accounts of the device. No failure of the cache ever reaches the user: a missing, corrupt
// or outdated file reads as absent and is replaced by the next save.
class WidgetCache {
public:
    explicit WidgetCache(QString key, QString directory = defaultDirectory());

    static QString defaultDirectory();

    const QString& key() const { return m_key; }
    QString fileURL() const { return m_directory + QLatin1Char('/') + m_key + QStringLiteral(".json"); }

    template<class T> std::optional<T> load() const
    {
        const auto bytes = readFile(fileURL());
        if (!bytes)
            return std::nullopt;
        try {
            return wire::fromBytes<T>(*bytes);
        } catch (const wire::DecodeError&) {
            return std::nullopt;
        }
    }

    template<class T> void save(const T& value) const { writeFile(fileURL(), wire::toBytes(value)); }

    template<class T>
    static std::optional<T> loadSync(const QString& key, const QString& directory = defaultDirectory())
    {
        return WidgetCache(key, directory).load<T>();
    }

    template<class T>
    static void saveSync(const QString& key, const T& value, const QString& directory = defaultDirectory())
    {
        WidgetCache(key, directory).save(value);
    }

private:
    static std::optional<QByteArray> readFile(const QString& path);
    static void writeFile(const QString& path, const QByteArray& bytes);

    QString m_key;
    QString m_directory;
};
