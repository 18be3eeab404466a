#pragma once

#include <QByteArray>
#include <QString>

// Replaces the file atomically and readable by its owner only, from the first byte on; the
// folder is made when missing. On failure the old content stays and the reason is returned.
QString writePrivateFile(const QString& path, const QByteArray& bytes);
