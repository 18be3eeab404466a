#pragma once

#include <QString>

#include <exception>
#include <optional>

// The error of every backend call. Only `unauthorized` signs the user out.
class LumenAPIError : public std::exception {
public:
    enum class Kind {
        Unauthorized,
        Forbidden,
        NotFound,
        ClientError,
        ServerError,
        DecodeFailed,
        Transport,
        BadURL,
        Timeout
    };

    static LumenAPIError unauthorized(std::optional<QString> detail = std::nullopt);
    static LumenAPIError forbidden(std::optional<QString> detail = std::nullopt);
    static LumenAPIError notFound(std::optional<QString> detail = std::nullopt);
    static LumenAPIError clientError(int status, std::optional<QString> detail = std::nullopt);
    static LumenAPIError serverError(int status, std::optional<QString> detail = std::nullopt);
    static LumenAPIError decodeFailed(QString text);
    static LumenAPIError transport(QString text);
    static LumenAPIError badURL();
    static LumenAPIError timeout();

    Kind kind() const { return m_kind; }
    const std::optional<QString>& detail() const { return m_detail; }
    // The free text of decodeFailed and transport.
    const QString& text() const { return m_text; }

    QString userMessage() const;
    bool isRetryable() const;
    int statusCode() const;
    const char* what() const noexcept override;

    bool operator==(const LumenAPIError& other) const
    {
        return m_kind == other.m_kind && m_status == other.m_status && m_detail == other.m_detail
            && m_text == other.m_text;
    }

private:
    LumenAPIError(Kind kind, int status, std::optional<QString> detail, QString text);

    Kind m_kind;
    int m_status;
    std::optional<QString> m_detail;
    QString m_text;
    QByteArray m_what;
};
