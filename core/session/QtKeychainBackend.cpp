#include "QtKeychainBackend.h"

#include <QPointer>
#include <qcoro/qcorosignal.h>
#include <qt6keychain/keychain.h>

namespace {

using Status = KeychainBackend::Status;

KeychainBackend::Result resultOf(const QKeychain::Job& job)
{
    switch (job.error()) {
    case QKeychain::NoError:
        return { Status::Ok, 0, {} };
    case QKeychain::EntryNotFound:
        return { Status::NotFound, 0, {} };
    case QKeychain::NoBackendAvailable:
    case QKeychain::NotImplemented:
    case QKeychain::OtherError: // what a session without a secret service reports
        return { Status::Unavailable, static_cast<int>(job.error()), {} };
    default:
        return { Status::Failed, static_cast<int>(job.error()), {} };
    }
}

// Runs a job and waits for it, at most `timeout`; a job that does not finish is abandoned.
template<class Job> QCoro::Task<KeychainBackend::Result> runJob(Job* job, std::chrono::milliseconds timeout)
{
    job->setAutoDelete(false);
    QPointer<Job> guard(job);
    job->start();
    const auto finished = co_await qCoro(job, &QKeychain::Job::finished, timeout);
    if (!finished || !guard) {
        if (guard)
            guard->deleteLater();
        co_return KeychainBackend::Result { Status::Unavailable, 0, {} };
    }
    KeychainBackend::Result result = resultOf(*job);
    if constexpr (std::is_same_v<Job, QKeychain::ReadPasswordJob>) {
        if (result.status == Status::Ok)
            result.data = job->binaryData();
    }
    job->deleteLater();
    co_return result;
}

} // namespace

QtKeychainBackend::QtKeychainBackend(std::chrono::milliseconds jobTimeout)
    : m_jobTimeout(jobTimeout)
{
}

QCoro::Task<KeychainBackend::Result> QtKeychainBackend::read(QString service, QString account)
{
    if (m_unavailable)
        co_return Result { Status::Unavailable, 0, {} };
    auto* job = new QKeychain::ReadPasswordJob(service);
    job->setKey(account);
    Result result = co_await runJob(job, m_jobTimeout);
    m_unavailable = result.status == Status::Unavailable;
    co_return result;
}

QCoro::Task<KeychainBackend::Result> QtKeychainBackend::write(QString service, QString account, QByteArray data)
{
    if (m_unavailable)
        co_return Result { Status::Unavailable, 0, {} };
    auto* job = new QKeychain::WritePasswordJob(service);
    job->setKey(account);
    job->setBinaryData(data);
    Result result = co_await runJob(job, m_jobTimeout);
    m_unavailable = result.status == Status::Unavailable;
    co_return result;
}

QCoro::Task<KeychainBackend::Result> QtKeychainBackend::remove(QString service, QString account)
{
    if (m_unavailable)
        co_return Result { Status::Unavailable, 0, {} };
    auto* job = new QKeychain::DeletePasswordJob(service);
    job->setKey(account);
    Result result = co_await runJob(job, m_jobTimeout);
    m_unavailable = result.status == Status::Unavailable;
    co_return result;
}
