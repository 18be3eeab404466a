#include "SessionJSONLWriter.h"

#include "ChatSyncEncoding.h"

#include <QDir>
#include <QFileInfo>

SessionJSONLWriter::SessionJSONLWriter(ClientPaths paths, QString sessionId, std::shared_ptr<const Clock> clock)
    : m_sessionId(std::move(sessionId))
    , m_fileURL(urlFor(paths, m_sessionId))
    , m_clock(std::move(clock))
{
}

SessionJSONLWriter::~SessionJSONLWriter()
{
    close();
}

QString SessionJSONLWriter::urlFor(const ClientPaths& paths, const QString& sessionId)
{
    return sessionsDir(paths) + QLatin1Char('/') + sessionId + QStringLiteral(".jsonl");
}

void SessionJSONLWriter::append(QJsonObject object)
{
    if (!object.contains(QStringLiteral("ts")))
        object.insert(QStringLiteral("ts"), ChatSyncEncoding::timestamp(m_clock->now()));
    write(ChatSyncEncoding::canonicalJSON(object).toUtf8());
}

void SessionJSONLWriter::appendRaw(const QString& line)
{
    write(line.toUtf8());
}

bool SessionJSONLWriter::open()
{
    if (!QDir().mkpath(QFileInfo(m_fileURL).absolutePath()))
        return false;
    auto file = std::make_unique<QFile>(m_fileURL);
    if (!file->open(QIODevice::ReadWrite))
        return false;
    // A line cut short by an earlier failure ends here, so the damage stays on that line.
    const qint64 size = file->size();
    if (size > 0) {
        char last = '\n';
        if (!file->seek(size - 1) || !file->getChar(&last))
            return false;
        if (last != '\n' && (file->write("\n", 1) != 1 || !file->flush()))
            return false;
    }
    m_handle = std::move(file);
    return true;
}

void SessionJSONLWriter::write(QByteArray line)
{
    if (!m_handle && !open())
        return;
    line.append('\n');
    const bool written = m_handle->seek(m_handle->size()) && m_handle->write(line) == line.size() && m_handle->flush();
    if (!written)
        close();
}

void SessionJSONLWriter::close()
{
    if (!m_handle)
        return;
    m_handle->close();
    m_handle.reset();
}

void SessionJSONLWriter::clearAndReset()
{
    close();
    QFile::remove(m_fileURL);
    QDir().mkpath(QFileInfo(m_fileURL).absolutePath());
    QFile file(m_fileURL);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.close();
}

QStringList SessionJSONLWriter::readLines() const
{
    QFile file(m_fileURL);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QString text = QString::fromUtf8(file.readAll());
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
