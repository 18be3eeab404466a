#include "PrivateFile.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

QString writePrivateFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(bytes);
    if (!file.commit())
        return file.errorString();
    return {};
}
