#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <optional>

namespace lumen {

// A refusal the client is meant to read: an HTTP status and the text of {"detail": ...}.
class ApiError : public std::exception {
public:
    ApiError(int status, QString detail, std::optional<int> retryAfterSeconds = std::nullopt)
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

    static ApiError badRequest(QString detail) { return { 400, std::move(detail) }; }
    static ApiError unauthorized(QString detail) { return { 401, std::move(detail) }; }
    static ApiError forbidden(QString detail) { return { 403, std::move(detail) }; }
    static ApiError notFound(QString detail) { return { 404, std::move(detail) }; }
    static ApiError conflict(QString detail) { return { 409, std::move(detail) }; }
    static ApiError unprocessable(QString detail) { return { 422, std::move(detail) }; }

private:
    int m_status;
    QString m_detail;
    std::optional<int> m_retryAfter;
    QByteArray m_what;
};

} // namespace lumen
