#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <optional>

// The error of every relay call, turned into the words the user reads.
class MintbridgeError : public std::exception {
public:
    enum class Kind {
        RateLimited,
        ServerError,
        Transport,
        DecodeFailed,
        BadURL,
        Unauthorized,
        KillSwitchActive,
        Timeout
    };

    static MintbridgeError rateLimited(std::optional<QString> detail = std::nullopt);
    static MintbridgeError serverError(int status, std::optional<QString> detail = std::nullopt);
    static MintbridgeError transport(QString text);
    static MintbridgeError decodeFailed(QString text);
    static MintbridgeError badURL();
    static MintbridgeError unauthorized();
    static MintbridgeError killSwitchActive();
    static MintbridgeError timeout();

    Kind kind() const { return m_kind; }
    int status() const { return m_status; }
    const std::optional<QString>& detail() const { return m_detail; }
    // The free text of transport and decodeFailed.
    const QString& text() const { return m_text; }

    QString userMessage() const;
    const char* what() const noexcept override { return m_what.constData(); }

    bool operator==(const MintbridgeError& other) const
    {
        return m_kind == other.m_kind && m_status == other.m_status && m_detail == other.m_detail
            && m_text == other.m_text;
    }

private:
    MintbridgeError(Kind kind, int status, std::optional<QString> detail, QString text);

    Kind m_kind;
    int m_status;
    std::optional<QString> m_detail;
    QString m_text;
    QByteArray m_what;
};
