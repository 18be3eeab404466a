#pragma once

#include <QByteArray>
#include <QString>

#include <qcoro/qcorotask.h>

// The platform keychain as the credential store sees it: generic passwords keyed by
// service and account. `Unavailable` means there is no keychain to talk to (a headless
// session, a locked or absent secret service); the 0600 files then carry everything.
class KeychainBackend {
public:
    enum class Status { Ok, NotFound, Unavailable, Failed };

    struct Result {
        Status status = Status::Ok;
        int code = 0; // platform status for Failed
        QByteArray data;
    };

    virtual ~KeychainBackend() = default;
    virtual QCoro::Task<Result> read(QString service, QString account) = 0;
    // Creates the item or replaces its data.
    virtual QCoro::Task<Result> write(QString service, QString account, QByteArray data) = 0;
    virtual QCoro::Task<Result> remove(QString service, QString account) = 0;
};
