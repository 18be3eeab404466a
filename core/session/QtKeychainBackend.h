#pragma once

#include "KeychainBackend.h"

#include <chrono>

// The system keychain through QtKeychain (Secret Service on Linux, Keychain on macOS).
// Every job is bounded by a timeout so that a keychain that never answers cannot hold up a
// sign-in; once the keychain is found missing it is not asked again in this process.
class QtKeychainBackend final : public KeychainBackend {
public:
    explicit QtKeychainBackend(std::chrono::milliseconds jobTimeout = std::chrono::seconds(3));

    QCoro::Task<Result> read(QString service, QString account) override;
    QCoro::Task<Result> write(QString service, QString account, QByteArray data) override;
    QCoro::Task<Result> remove(QString service, QString account) override;

private:
    std::chrono::milliseconds m_jobTimeout;
    bool m_unavailable = false;
};
