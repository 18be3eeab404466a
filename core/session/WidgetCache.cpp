#include "WidgetCache.h"

#include "ClientPaths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

WidgetCache::WidgetCache(QString key, QString directory)
    : m_key(std::move(key))
    , m_directory(std::move(directory))
{
}

QString WidgetCache::defaultDirectory()
{
    return ClientPaths::standard().widgetCacheDir();
}

std::optional<QByteArray> WidgetCache::readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

void WidgetCache::writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(bytes);
    file.commit();
}
