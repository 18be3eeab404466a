#pragma once

#include "session/KeychainBackend.h"

#include <QMap>
#include <QPair>

// A keychain held in memory, standing in for the platform's where a test needs one that
// answers (the machines that run tests have none).
class MemoryKeychain final : public KeychainBackend {
public:
    QMap<QPair<QString, QString>, QByteArray> items;
    int readCount = 0;
    // When set, every call fails with this platform status.
    std::optional<int> failWith;

    QCoro::Task<Result> read(QString service, QString account) override
    {
        ++readCount;
        if (failWith)
            co_return Result { Status::Failed, *failWith, {} };
        const auto it = items.find({ service, account });
        if (it == items.end())
            co_return Result { Status::NotFound, 0, {} };
        co_return Result { Status::Ok, 0, *it };
    }

    QCoro::Task<Result> write(QString service, QString account, QByteArray data) override
    {
        if (failWith)
            co_return Result { Status::Failed, *failWith, {} };
        items.insert({ service, account }, data);
        co_return Result { Status::Ok, 0, {} };
    }

    QCoro::Task<Result> remove(QString service, QString account) override
    {
        if (failWith)
            co_return Result { Status::Failed, *failWith, {} };
        items.remove({ service, account });
        co_return Result { Status::Ok, 0, {} };
    }
};
