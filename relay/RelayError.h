#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <optional>

namespace mintbridge {

// A refusal the client is meant to read: an HTTP status and the text of {"detail": ...}.
class RelayError : public std::exception {
public:
    RelayError(int status, QString detail, std::optional<int> retryAfterSeconds = std::nullopt)
        : m_status(status)
        , m_detail(std::move(detail))
        , m_retryAfter(retryAfterSeconds)
        , m_what(QStringLiteral("%1 %2").arg(status).arg(m_detail).toUtf8())
    {
    }

    int status() const noexcept { return m_status; }
    const QString& detail() const noexcept { return m_detail; }
    std::optional<int> retryAfter() const noexcept { return m_retryAfter; }
    const char* what() const noexcept override { return m_what.constData(); }

    static RelayError badRequest(QString detail) { return { 400, std::move(detail) }; }
    static RelayError unauthorized() { return { 401, QStringLiteral("mintbridge token 无效或缺失") }; }
    static RelayError unprocessable(QString detail) { return { 422, std::move(detail) }; }
    static RelayError rateLimited(QString detail, int retryAfterSeconds)
    {
        return { 429, std::move(detail), retryAfterSeconds };
    }
    static RelayError killSwitch(const QString& path)
    {
        return { 503, QStringLiteral("mintbridge 已紧急停用（删除 %1 后恢复）").arg(path) };
    }
    // The model command failed or answered something unusable.
    static RelayError badGateway(QString detail) { return { 502, std::move(detail) }; }
    static RelayError gatewayTimeout(QString detail) { return { 504, std::move(detail) }; }

private:
    int m_status;
    QString m_detail;
    std::optional<int> m_retryAfter;
    QByteArray m_what;
};

} // namespace mintbridge
