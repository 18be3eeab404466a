#pragma once

#include "AsyncMutex.h"
#include "ClientPaths.h"
#include "KeychainBackend.h"
#include "KeychainError.h"

#include <QStringList>

#include <functional>
#include <memory>

// Bearer tokens of the accounts used on this device, which one is current, and their
// display names. Every value is kept twice, in a 0600 file under "Quillon/kc/" and in the
// platform keychain when one answers; reads find the file first.
class KeychainStore {
public:
    using Environment = std::function<QString(const char*)>;

    // `backend` may be null: the files alone then carry every value.
    KeychainStore(ClientPaths paths, std::shared_ptr<KeychainBackend> backend, QString service,
        Environment environment = defaultEnvironment());

    static KeychainStore& shared();
    static Environment defaultEnvironment();

    static inline const QString legacyAccount = QStringLiteral("lumen-api-bearer");
    static inline const QString currentUsernameKey = QStringLiteral("current-username");
    static inline const QString knownUsersKey = QStringLiteral("known-users");
    static QString userTokenKey(const QString& username) { return QStringLiteral("user-token-") + username; }
    static QString userDisplayKey(const QString& username) { return QStringLiteral("user-display-") + username; }

    const QString& service() const { return m_service; }

    QCoro::Task<bool> hasToken();
    // The token for an authenticated call; throws KeychainError.
    QCoro::Task<QString> bearerV1();
    // The older read: file before the legacy item. Kept for completeness.
    QCoro::Task<QString> bearer();

    QCoro::Task<void> storeUser(QString username, QString token, QString displayName, bool setCurrent);
    QCoro::Task<void> removeUser(QString username);
    QCoro::Task<QString> readUserToken(QString username);
    // The current user's name, or empty.
    QCoro::Task<QString> currentUsername();
    QCoro::Task<QStringList> listKnownUsernames();
    QCoro::Task<void> clear();

    // The legacy single-token item, without a file copy.
    QCoro::Task<QString> readKeychain();
    QCoro::Task<void> writeKeychain(QString token);
    QCoro::Task<void> deleteKeychain();
    QCoro::Task<bool> keychainHasItem();

    // Per-key values with their file copies.
    QCoro::Task<QString> readKeychainCustom(QString account);
    QCoro::Task<void> writeKeychainCustom(QString account, QString value);
    QCoro::Task<void> deleteKeychainCustom(QString account);

    // "bearer.txt", the legacy token file.
    void writeFile(const QString& token) const;
    bool deleteFile() const;
    QString fileURL() const;

    // "kc/{key}.txt"; absent, unreadable or blank files read as empty.
    QString readCustomFile(const QString& account) const;
    void writeCustomFile(const QString& account, const QString& value) const;
    bool deleteCustomFile(const QString& account) const;
    QString customFilePath(const QString& account) const;

private:
    QString environmentBearer() const;
    QCoro::Task<QString> bearerV1Unlocked();
    QCoro::Task<QString> readCustomUnlocked(QString account);
    QCoro::Task<void> writeCustomUnlocked(QString account, QString value);
    QCoro::Task<void> deleteCustomUnlocked(QString account);
    QCoro::Task<QStringList> listKnownUnlocked();

    ClientPaths m_paths;
    std::shared_ptr<KeychainBackend> m_backend;
    QString m_service;
    Environment m_environment;
    std::unique_ptr<AsyncMutex> m_mutex;
};
