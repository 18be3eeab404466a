#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

// The published loading state of a store: shown as a spinner, a "last updated" time and
// an error banner.
struct LoadState {
    Q_GADGET
    QML_VALUE_TYPE(loadState)
    Q_PROPERTY(bool isLoading MEMBER isLoading)
    Q_PROPERTY(QDateTime lastRefreshedAt READ lastRefreshedAtValue)
    Q_PROPERTY(QString errorMessage READ errorText)
    Q_PROPERTY(bool hasError READ hasError)

public:
    bool isLoading = false;
    // Set by the first successful refresh of this process; a snapshot from disk does not set it.
    std::optional<QDateTime> lastRefreshedAt;
    std::optional<QString> errorMessage;

    // True when the last success lies further back than `staleAfterSeconds`; never before one.
    bool isStale(double staleAfterSeconds, const QDateTime& now) const
    {
        return lastRefreshedAt && lastRefreshedAt->msecsTo(now) > staleAfterSeconds * 1000.0;
    }

    QDateTime lastRefreshedAtValue() const { return lastRefreshedAt.value_or(QDateTime()); }
    QString errorText() const { return errorMessage.value_or(QString()); }
    bool hasError() const { return errorMessage.has_value(); }

    bool operator==(const LoadState&) const = default;
};
