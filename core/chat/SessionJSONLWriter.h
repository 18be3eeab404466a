#pragma once

#include "session/ClientPaths.h"
#include "session/Clock.h"

#include <QFile>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <memory>

// The local log of one chat session: "VelmarOS/sessions/{id}.jsonl", one JSON object a line,
// keys sorted. It holds everything the session said, also what never goes to the server.
// Silent by design: a line that cannot be written is lost, and the next append reopens the
// file. Lives on the main thread; each write is one small append.
class SessionJSONLWriter {
public:
    SessionJSONLWriter(ClientPaths paths, QString sessionId, std::shared_ptr<const Clock> clock);
    ~SessionJSONLWriter();
    SessionJSONLWriter(const SessionJSONLWriter&) = delete;
    SessionJSONLWriter& operator=(const SessionJSONLWriter&) = delete;

    static QString sessionsDir(const ClientPaths& paths) { return paths.sessionsDir(); }
    static QString urlFor(const ClientPaths& paths, const QString& sessionId);

    const QString& sessionId() const { return m_sessionId; }
    const QString& fileURL() const { return m_fileURL; }
    bool isOpen() const { return m_handle != nullptr; }

    // Adds `ts` (now) when the object has none.
    void append(QJsonObject object);
    void appendRaw(const QString& line);
    void close();
    // An empty log, as after a clear of the conversation.
    void clearAndReset();
    // The lines of the file without empty ones; nothing when it is missing or unreadable.
    QStringList readLines() const;

private:
    void write(QByteArray line);
    bool open();

    QString m_sessionId;
    QString m_fileURL;
    std::shared_ptr<const Clock> m_clock;
    std::unique_ptr<QFile> m_handle;
};
