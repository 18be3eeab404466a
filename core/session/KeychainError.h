#pragma once

#include <QString>

#include <exception>

// Failure of the credential store. A missing value is `notFound`; callers decide what it means.
class KeychainError : public std::exception {
public:
    enum class Kind { UnexpectedStatus, FileWriteFailed, NotFound };

    static KeychainError unexpectedStatus(int status) { return { Kind::UnexpectedStatus, status, {} }; }
    static KeychainError fileWriteFailed(QString text) { return { Kind::FileWriteFailed, 0, std::move(text) }; }
    static KeychainError notFound() { return { Kind::NotFound, 0, {} }; }

    Kind kind() const { return m_kind; }
    int status() const { return m_status; }
    const QString& text() const { return m_text; }

    // Shown to the user when a store meets it, e.g. an authenticated call with no stored token.
    QString description() const;
    const char* what() const noexcept override { return m_what.constData(); }

private:
    KeychainError(Kind kind, int status, QString text);

    Kind m_kind;
    int m_status;
    QString m_text;
    QByteArray m_what;
};
