#include "UsageLedger.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>

namespace mintbridge {

UsageLedger::UsageLedger(QString path, int limit, std::chrono::seconds window)
    : m_path(std::move(path))
    , m_limit(std::max(0, limit))
    , m_windowMs(std::chrono::duration_cast<std::chrono::milliseconds>(window).count())
{
    load();
}

UsageLedger::Verdict UsageLedger::acquire(const QDateTime& now)
{
    const std::lock_guard lock(m_mutex);
    const qint64 nowMs = now.toMSecsSinceEpoch();
    prune(nowMs);
    if (int(m_calls.size()) >= m_limit) {
        // With a limit of 0 nothing is ever in the window; the next window is the soonest.
        const qint64 frees = m_calls.empty() ? nowMs + m_windowMs : m_calls.front() + m_windowMs;
        return { false, int(m_calls.size()), QDateTime::fromMSecsSinceEpoch(frees, Qt::UTC) };
    }
    m_calls.push_back(nowMs);
    save();
    return { true, int(m_calls.size()), {} };
}

int UsageLedger::used(const QDateTime& now)
{
    const std::lock_guard lock(m_mutex);
    prune(now.toMSecsSinceEpoch());
    return int(m_calls.size());
}

void UsageLedger::prune(qint64 nowMs)
{
    while (!m_calls.empty() && m_calls.front() + m_windowMs <= nowMs)
        m_calls.pop_front();
}

void UsageLedger::load()
{
    if (m_path.isEmpty())
        return;
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        qWarning().noquote() << "[mintbridge] usage ledger unreadable, starting a new window:" << m_path;
        return;
    }
    const QJsonArray calls = document.object().value(QStringLiteral("calls")).toArray();
    for (const QJsonValue& value : calls) {
        const QDateTime when = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
        if (when.isValid())
            m_calls.push_back(when.toMSecsSinceEpoch());
    }
    std::sort(m_calls.begin(), m_calls.end());
}

void UsageLedger::save() const
{
    if (m_path.isEmpty())
        return;
    QJsonArray calls;
    for (const qint64 when : m_calls)
        calls.append(QDateTime::fromMSecsSinceEpoch(when, Qt::UTC).toString(Qt::ISODateWithMs));
    const QJsonObject root { { QStringLiteral("calls"), calls } };
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly)) {
        qWarning().noquote() << "[mintbridge] cannot write usage ledger:" << file.errorString();
        return;
    }
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(QJsonDocument(root).toJson(QJsonDocument::Compact));
    if (!file.commit())
        qWarning().noquote() << "[mintbridge] cannot write usage ledger:" << file.errorString();
}

} // namespace mintbridge
