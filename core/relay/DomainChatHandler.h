#pragma once

#include "DomainChatError.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

class MintbridgeClient;

// The input bar of one organ's page: a sentence goes to that organ's store through the relay.
// A handler says what to type (`chatPlaceholder`), whether it can take a sentence now
// (`isReady`), and acts on one (`handle`). Screens call `submit`, which reports a failure in
// the user's words through `lastError` and `failed`.
class DomainChatHandler : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("one of the domain handlers")
    Q_PROPERTY(QString chatPlaceholder READ chatPlaceholder CONSTANT)
    Q_PROPERTY(bool isSubmitting READ isSubmitting NOTIFY isSubmittingChanged)
    Q_PROPERTY(bool relayHealthy READ relayHealthy NOTIFY relayHealthyChanged)
    Q_PROPERTY(bool isReady READ isReady NOTIFY isReadyChanged)
    Q_PROPERTY(QString lastError READ lastError NOTIFY lastErrorChanged)

public:
    virtual QString chatPlaceholder() const = 0;
    bool isSubmitting() const { return m_isSubmitting; }
    bool relayHealthy() const { return m_relayHealthy; }
    // Ready for a sentence: the relay answers and none is under way.
    virtual bool isReady() const { return m_relayHealthy && !m_isSubmitting; }
    const QString& lastError() const { return m_lastError; }

    // Acts on one sentence; throws DomainChatError, MintbridgeError or the store's own errors.
    virtual QCoro::Task<void> handle(QString text) = 0;

    // `handle` with its state published: true when the sentence was acted on. Never throws.
    QCoro::Task<bool> submitText(QString text);
    Q_INVOKABLE void submit(const QString& text);
    // Asks the relay's /health and publishes `relayHealthy`. Never throws.
    QCoro::Task<bool> checkRelay();
    Q_INVOKABLE void refreshRelayHealth();

    // The words a failure of `handle` is shown in.
    static QString messageFor(std::exception_ptr error);

signals:
    void isSubmittingChanged();
    void relayHealthyChanged();
    void isReadyChanged();
    void lastErrorChanged();
    void submitted();
    void failed(const QString& message);

protected:
    // `relay` null: the process-wide client.
    explicit DomainChatHandler(MintbridgeClient* relay, QObject* parent = nullptr);
    MintbridgeClient& relay() const;

private:
    void setSubmitting(bool value);
    void setRelayHealthy(bool value);
    void setLastError(QString value);

    MintbridgeClient* m_relay;
    bool m_isSubmitting = false;
    bool m_relayHealthy = false;
    QString m_lastError;
};
