#pragma once

#include "session/AsyncMutex.h"
#include "session/ClientPaths.h"
#include "session/KeychainBackend.h"

#include <QString>

#include <exception>
#include <functional>
#include <memory>

// Where the relay's bearer token is found, first hit wins: MINTBRIDGE_BEARER; the app's own
// file "Quillon/mintbridge-bearer.txt"; the relay's file ~/.config/mintbridge/bearer (copied
// forward into the app's file); the keychain item (also copied into the app's file, so later
// reads need no keychain).
class RelayBearerStore {
public:
    class StoreError : public std::exception {
    public:
        enum class Kind { NotFound, WriteFailed, UnexpectedStatus };

        static StoreError notFound() { return { Kind::NotFound, {} }; }
        static StoreError writeFailed(QString text) { return { Kind::WriteFailed, std::move(text) }; }
        static StoreError unexpectedStatus(int status) { return { Kind::UnexpectedStatus, QString::number(status) }; }

        Kind kind() const { return m_kind; }
        QString description() const;
        const char* what() const noexcept override { return m_what.constData(); }

    private:
        StoreError(Kind kind, QString text);

        Kind m_kind;
        QString m_text;
        QByteArray m_what;
    };

    using Environment = std::function<QString(const char*)>;

    static inline const QString defaultAccount = QStringLiteral("mintbridge-bearer");

    // `home` stands for "~" of the older file; `backend` may be null (the files carry it all).
    RelayBearerStore(ClientPaths paths, QString home, std::shared_ptr<KeychainBackend> backend, QString service,
        QString account = defaultAccount, Environment environment = defaultEnvironment());

    static RelayBearerStore& shared();
    static Environment defaultEnvironment();

    // Throws StoreError::notFound when no place holds a token.
    QCoro::Task<QString> bearer();
    // Writes the app's file (0600) and the keychain item; throws when neither took it.
    QCoro::Task<void> store(QString token);
    // Removes the app's file and the keychain item. The relay's own file stays: it is the
    // relay's, not ours.
    QCoro::Task<void> clear();
    // Without reading the keychain's secret.
    QCoro::Task<bool> hasToken();

    QString appFilePath() const { return m_paths.quillonDir() + QStringLiteral("/mintbridge-bearer.txt"); }
    QString olderFilePath() const { return m_home + QStringLiteral("/.config/mintbridge/bearer"); }
    const QString& service() const { return m_service; }
    const QString& account() const { return m_account; }

private:
    QString environmentBearer() const;
    bool copyToAppFile(const QString& token) const;

    ClientPaths m_paths;
    QString m_home;
    std::shared_ptr<KeychainBackend> m_backend;
    QString m_service;
    QString m_account;
    Environment m_environment;
    std::unique_ptr<AsyncMutex> m_mutex;
};
