#include "RelayBearerStore.h"

#include "session/QtKeychainBackend.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>
#include <QUrl>

#ifndef VELMAROS_RELAY_BASE
#define VELMAROS_RELAY_BASE "http://127.0.0.1:8788"
#endif

namespace {

using Status = KeychainBackend::Status;

// Text of a token file: UTF-8, trimmed; anything unreadable counts as empty.
QString readTrimmedFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(file.readAll());
    return decoder.hasError() ? QString() : text.trimmed();
}

// Atomic write with the file private to the user from its first byte.
bool writePrivateFile(const QString& path, const QString& text, QString* error)
{
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder)) {
        *error = QStringLiteral("cannot create %1").arg(folder);
        return false;
    }
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

RelayBearerStore::StoreError::StoreError(Kind kind, QString text)
    : m_kind(kind)
    , m_text(std::move(text))
    , m_what(description().toUtf8())
{
}

QString RelayBearerStore::StoreError::description() const
{
    switch (m_kind) {
    case Kind::NotFound:
        return QStringLiteral("mintbridge token 还没设置。点右上角 ⋯ → 配置 Mintbridge 中继 Token 粘贴一次。");
    case Kind::WriteFailed:
        return QStringLiteral("mintbridge token 保存失败：%1").arg(m_text);
    case Kind::UnexpectedStatus:
        return QStringLiteral("钥匙串错误（%1）").arg(m_text);
    }
    return {};
}

RelayBearerStore::RelayBearerStore(ClientPaths paths, QString home, std::shared_ptr<KeychainBackend> backend,
    QString service, QString account, Environment environment)
    : m_paths(std::move(paths))
    , m_home(std::move(home))
    , m_backend(std::move(backend))
    , m_service(std::move(service))
    , m_account(std::move(account))
    , m_environment(std::move(environment))
    , m_mutex(std::make_unique<AsyncMutex>())
{
}

RelayBearerStore& RelayBearerStore::shared()
{
    static RelayBearerStore store(ClientPaths::standard(), QDir::homePath(), std::make_shared<QtKeychainBackend>(),
        QUrl(QStringLiteral(VELMAROS_RELAY_BASE)).host());
    return store;
}

RelayBearerStore::Environment RelayBearerStore::defaultEnvironment()
{
    return [](const char* name) { return qEnvironmentVariable(name); };
}

QString RelayBearerStore::environmentBearer() const
{
    return m_environment ? m_environment("MINTBRIDGE_BEARER").trimmed() : QString();
}

bool RelayBearerStore::copyToAppFile(const QString& token) const
{
    QString error;
    return writePrivateFile(appFilePath(), token, &error);
}

QCoro::Task<QString> RelayBearerStore::bearer()
{
    if (const QString fromEnvironment = environmentBearer(); !fromEnvironment.isEmpty())
        co_return fromEnvironment;
    auto guard = co_await m_mutex->lock();
    if (const QString fromApp = readTrimmedFile(appFilePath()); !fromApp.isEmpty())
        co_return fromApp;
    if (const QString fromOlder = readTrimmedFile(olderFilePath()); !fromOlder.isEmpty()) {
        copyToAppFile(fromOlder);
        co_return fromOlder;
    }
    if (!m_backend)
        throw StoreError::notFound();
    const KeychainBackend::Result result = co_await m_backend->read(m_service, m_account);
    if (result.status == Status::Failed)
        throw StoreError::unexpectedStatus(result.code);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString fromKeychain = result.status == Status::Ok ? QString(decoder(result.data)).trimmed() : QString();
    if (decoder.hasError() || fromKeychain.isEmpty())
        throw StoreError::notFound();
    copyToAppFile(fromKeychain);
    co_return fromKeychain;
}

QCoro::Task<void> RelayBearerStore::store(QString token)
{
    const QString trimmed = token.trimmed();
    if (trimmed.isEmpty())
        throw StoreError::writeFailed(QStringLiteral("token 是空的"));
    auto guard = co_await m_mutex->lock();
    QString fileError;
    const bool fileWritten = writePrivateFile(appFilePath(), trimmed, &fileError);
    const Status keychain
        = m_backend ? (co_await m_backend->write(m_service, m_account, trimmed.toUtf8())).status : Status::Unavailable;
    // The file is read first, so it alone makes the token usable; the keychain is the spare.
    if (!fileWritten && keychain != Status::Ok)
        throw StoreError::writeFailed(fileError);
}

QCoro::Task<void> RelayBearerStore::clear()
{
    auto guard = co_await m_mutex->lock();
    QFile::remove(appFilePath());
    if (m_backend)
        co_await m_backend->remove(m_service, m_account);
}

QCoro::Task<bool> RelayBearerStore::hasToken()
{
    if (!environmentBearer().isEmpty())
        co_return true;
    // The relay's own file counts too: bearer() would find it.
    if (!readTrimmedFile(appFilePath()).isEmpty() || !readTrimmedFile(olderFilePath()).isEmpty())
        co_return true;
    if (!m_backend)
        co_return false;
    auto guard = co_await m_mutex->lock();
    const KeychainBackend::Result result = co_await m_backend->read(m_service, m_account);
    co_return result.status == Status::Ok && !result.data.trimmed().isEmpty();
}
