#include "KeychainStore.h"

#include "QtKeychainBackend.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>
#include <QUrl>

#ifndef VELMAROS_API_BASE
#define VELMAROS_API_BASE "http://127.0.0.1:8787"
#endif

namespace {

using Status = KeychainBackend::Status;

bool isValidUsername(const QString& username)
{
    if (username.isEmpty())
        return false;
    for (const QChar c : username) {
        if (c == QChar(0) || c == QLatin1Char('\n') || c == QLatin1Char('\r') || c == QLatin1Char('/'))
            return false;
    }
    return true;
}

// Text of a credential file: UTF-8, trimmed; anything unreadable counts as empty.
QString readTrimmedFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(file.readAll());
    if (decoder.hasError())
        return {};
    return text.trimmed();
}

// Atomic write with the file private to the user from its first byte.
bool writePrivateFile(const QString& path, const QString& text, QString* error)
{
    const QFileInfo info(path);
    QDir dir;
    if (!dir.mkpath(info.absolutePath())) {
        *error = QStringLiteral("cannot create %1").arg(info.absolutePath());
        return false;
    }
    QFile::setPermissions(
        info.absolutePath(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = file.errorString();
        return false;
    }
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(text.toUtf8());
    if (!file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}

} // namespace

KeychainStore::KeychainStore(
    ClientPaths paths, std::shared_ptr<KeychainBackend> backend, QString service, Environment environment)
    : m_paths(std::move(paths))
    , m_backend(std::move(backend))
    , m_service(std::move(service))
    , m_environment(std::move(environment))
    , m_mutex(std::make_unique<AsyncMutex>())
{
}

KeychainStore& KeychainStore::shared()
{
    static KeychainStore store(
        ClientPaths::standard(), std::make_shared<QtKeychainBackend>(), QUrl(QStringLiteral(VELMAROS_API_BASE)).host());
    return store;
}

KeychainStore::Environment KeychainStore::defaultEnvironment()
{
    return [](const char* name) { return qEnvironmentVariable(name); };
}

QString KeychainStore::environmentBearer() const
{
    return m_environment ? m_environment("QUILLON_BEARER").trimmed() : QString();
}

// ---- files ----

QString KeychainStore::fileURL() const
{
    return m_paths.quillonDir() + QStringLiteral("/bearer.txt");
}

void KeychainStore::writeFile(const QString& token) const
{
    QString error;
    if (!writePrivateFile(fileURL(), token, &error))
        throw KeychainError::fileWriteFailed(error);
}

bool KeychainStore::deleteFile() const
{
    return QFile::remove(fileURL());
}

QString KeychainStore::customFilePath(const QString& account) const
{
    QString name = account;
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    return m_paths.credentialDir() + QLatin1Char('/') + name + QStringLiteral(".txt");
}

QString KeychainStore::readCustomFile(const QString& account) const
{
    return readTrimmedFile(customFilePath(account));
}

void KeychainStore::writeCustomFile(const QString& account, const QString& value) const
{
    QString error;
    if (!writePrivateFile(customFilePath(account), value, &error))
        throw KeychainError::fileWriteFailed(error);
}

bool KeychainStore::deleteCustomFile(const QString& account) const
{
    return QFile::remove(customFilePath(account));
}

// ---- per-key values ----

QCoro::Task<QString> KeychainStore::readKeychainCustom(QString account)
{
    auto guard = co_await m_mutex->lock();
    co_return co_await readCustomUnlocked(account);
}

QCoro::Task<QString> KeychainStore::readCustomUnlocked(QString account)
{
    const QString fromFile = readCustomFile(account);
    if (!fromFile.isEmpty())
        co_return fromFile;
    if (!m_backend)
        throw KeychainError::notFound();
    const auto result = co_await m_backend->read(m_service, account);
    switch (result.status) {
    case Status::Ok:
        break;
    case Status::NotFound:
    case Status::Unavailable:
        throw KeychainError::notFound();
    case Status::Failed:
        throw KeychainError::unexpectedStatus(result.code);
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString value = decoder(result.data);
    if (decoder.hasError())
        throw KeychainError::notFound();
    // Next read is served from the file without touching the keychain.
    try {
        writeCustomFile(account, value);
    } catch (const KeychainError&) {
    }
    co_return value;
}

QCoro::Task<void> KeychainStore::writeKeychainCustom(QString account, QString value)
{
    auto guard = co_await m_mutex->lock();
    co_await writeCustomUnlocked(account, value);
}

QCoro::Task<void> KeychainStore::writeCustomUnlocked(QString account, QString value)
{
    std::optional<KeychainError> fileError;
    try {
        writeCustomFile(account, value);
    } catch (const KeychainError& error) {
        fileError = error;
    }
    const auto result = m_backend ? co_await m_backend->write(m_service, account, value.toUtf8())
                                  : KeychainBackend::Result { Status::Unavailable, 0, {} };
    if (result.status == Status::Failed)
        throw KeychainError::unexpectedStatus(result.code);
    // Without a keychain the file is the only copy, so its failure is the failure.
    if (fileError && result.status != Status::Ok)
        throw *fileError;
}

QCoro::Task<void> KeychainStore::deleteKeychainCustom(QString account)
{
    auto guard = co_await m_mutex->lock();
    co_await deleteCustomUnlocked(account);
}

QCoro::Task<void> KeychainStore::deleteCustomUnlocked(QString account)
{
    deleteCustomFile(account);
    if (!m_backend)
        co_return;
    const auto result = co_await m_backend->remove(m_service, account);
    if (result.status == Status::Failed)
        throw KeychainError::unexpectedStatus(result.code);
}

// ---- legacy item ----

QCoro::Task<QString> KeychainStore::readKeychain()
{
    if (!m_backend)
        throw KeychainError::notFound();
    const auto result = co_await m_backend->read(m_service, legacyAccount);
    if (result.status == Status::Failed)
        throw KeychainError::unexpectedStatus(result.code);
    if (result.status != Status::Ok)
        throw KeychainError::notFound();
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString value = decoder(result.data);
    if (decoder.hasError())
        throw KeychainError::notFound();
    co_return value;
}

QCoro::Task<void> KeychainStore::writeKeychain(QString token)
{
    if (!m_backend)
        co_return;
    const auto result = co_await m_backend->write(m_service, legacyAccount, token.toUtf8());
    if (result.status == Status::Failed)
        throw KeychainError::unexpectedStatus(result.code);
}

QCoro::Task<void> KeychainStore::deleteKeychain()
{
    if (!m_backend)
        co_return;
    const auto result = co_await m_backend->remove(m_service, legacyAccount);
    if (result.status == Status::Failed)
        throw KeychainError::unexpectedStatus(result.code);
}

QCoro::Task<bool> KeychainStore::keychainHasItem()
{
    if (!m_backend)
        co_return false;
    const auto result = co_await m_backend->read(m_service, legacyAccount);
    co_return result.status == Status::Ok;
}

// ---- tokens and users ----

QCoro::Task<bool> KeychainStore::hasToken()
{
    if (!environmentBearer().isEmpty())
        co_return true;
    if (QFileInfo::exists(fileURL()))
        co_return true;
    auto guard = co_await m_mutex->lock();
    try {
        const QString current = co_await readCustomUnlocked(currentUsernameKey);
        co_await readCustomUnlocked(userTokenKey(current));
        co_return true;
    } catch (const KeychainError&) {
    }
    co_return co_await keychainHasItem();
}

QCoro::Task<QString> KeychainStore::bearerV1()
{
    auto guard = co_await m_mutex->lock();
    co_return co_await bearerV1Unlocked();
}

QCoro::Task<QString> KeychainStore::bearerV1Unlocked()
{
    const QString fromEnvironment = environmentBearer();
    if (!fromEnvironment.isEmpty())
        co_return fromEnvironment;

    std::optional<QString> userToken;
    try {
        const QString current = co_await readCustomUnlocked(currentUsernameKey);
        userToken = co_await readCustomUnlocked(userTokenKey(current));
    } catch (const KeychainError&) {
    }
    if (userToken && !userToken->isEmpty())
        co_return *userToken;

    const QString fromFile = readTrimmedFile(fileURL());
    if (!fromFile.isEmpty())
        co_return fromFile;

    const QString legacy = co_await readKeychain();
    try {
        writeFile(legacy);
    } catch (const KeychainError&) {
    }
    co_return legacy;
}

QCoro::Task<QString> KeychainStore::bearer()
{
    const QString fromFile = readTrimmedFile(fileURL());
    if (!fromFile.isEmpty())
        co_return fromFile;
    co_return co_await readKeychain();
}

QCoro::Task<void> KeychainStore::storeUser(QString username, QString token, QString displayName, bool setCurrent)
{
    if (!isValidUsername(username))
        throw KeychainError::fileWriteFailed(QStringLiteral("invalid username"));
    auto guard = co_await m_mutex->lock();
    co_await writeCustomUnlocked(userTokenKey(username), token);
    co_await writeCustomUnlocked(userDisplayKey(username), displayName);
    if (setCurrent)
        co_await writeCustomUnlocked(currentUsernameKey, username);
    QStringList known;
    try {
        known = co_await listKnownUnlocked();
    } catch (const KeychainError&) {
    }
    if (!known.contains(username)) {
        known.append(username);
        co_await writeCustomUnlocked(knownUsersKey, known.join(QLatin1Char('\n')));
    }
}

QCoro::Task<void> KeychainStore::removeUser(QString username)
{
    auto guard = co_await m_mutex->lock();
    try {
        co_await deleteCustomUnlocked(userTokenKey(username));
    } catch (const KeychainError&) {
    }
    try {
        co_await deleteCustomUnlocked(userDisplayKey(username));
    } catch (const KeychainError&) {
    }
    QStringList known;
    try {
        known = co_await listKnownUnlocked();
    } catch (const KeychainError&) {
    }
    known.removeAll(username);
    if (!known.isEmpty()) {
        co_await writeCustomUnlocked(knownUsersKey, known.join(QLatin1Char('\n')));
    } else {
        try {
            co_await deleteCustomUnlocked(knownUsersKey);
        } catch (const KeychainError&) {
        }
    }
    try {
        const QString current = co_await readCustomUnlocked(currentUsernameKey);
        if (current == username)
            co_await deleteCustomUnlocked(currentUsernameKey);
    } catch (const KeychainError&) {
    }
}

QCoro::Task<QString> KeychainStore::readUserToken(QString username)
{
    co_return co_await readKeychainCustom(userTokenKey(username));
}

QCoro::Task<QString> KeychainStore::currentUsername()
{
    try {
        co_return co_await readKeychainCustom(currentUsernameKey);
    } catch (const KeychainError&) {
    }
    co_return QString();
}

QCoro::Task<QStringList> KeychainStore::listKnownUsernames()
{
    auto guard = co_await m_mutex->lock();
    co_return co_await listKnownUnlocked();
}

QCoro::Task<QStringList> KeychainStore::listKnownUnlocked()
{
    const QString joined = co_await readCustomUnlocked(knownUsersKey);
    co_return joined.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QCoro::Task<void> KeychainStore::clear()
{
    auto guard = co_await m_mutex->lock();
    try {
        co_await deleteKeychain();
    } catch (const KeychainError&) {
    }
    deleteFile();
    QStringList known;
    try {
        known = co_await listKnownUnlocked();
    } catch (const KeychainError&) {
    }
    for (const QString& name : std::as_const(known)) {
        const QStringList keys { userTokenKey(name), userDisplayKey(name) };
        for (const QString& key : keys) {
            try {
                co_await deleteCustomUnlocked(key);
            } catch (const KeychainError&) {
            }
        }
    }
    const QStringList sessionKeys { currentUsernameKey, knownUsersKey };
    for (const QString& key : sessionKeys) {
        try {
            co_await deleteCustomUnlocked(key);
        } catch (const KeychainError&) {
        }
    }
    // Whatever the list said, nothing stays behind in the folder.
    QDir dir(m_paths.credentialDir());
    const QStringList files = dir.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& file : files)
        dir.remove(file);
}
