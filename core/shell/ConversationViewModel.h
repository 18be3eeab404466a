#pragma once

#include "chat/PendingModels.h"

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

class AppState;
class SessionsStore;
class VelmarOSChatStore;

// The conversation screens' rules over the chat store of the open session: what a card says,
// which of its fields can be edited and how an edit is saved, the model of the session, the
// words of the session list, and the thumbnails of a message.
class ConversationViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged)
    Q_MOC_INCLUDE("chat/SessionsStore.h")
    Q_PROPERTY(SessionsStore* sessions READ sessions NOTIFY appStateChanged)
    Q_MOC_INCLUDE("chat/VelmarOSChatStore.h")
    Q_PROPERTY(VelmarOSChatStore* store READ store NOTIFY storeChanged)
    Q_PROPERTY(QVariantList models READ models CONSTANT)
    Q_PROPERTY(QString modelId READ modelId NOTIFY modelChanged)
    Q_PROPERTY(QString editError READ editError NOTIFY editStateChanged)
    Q_PROPERTY(bool isSavingEdit READ isSavingEdit NOTIFY editStateChanged)

public:
    explicit ConversationViewModel(QObject* parent = nullptr);

    AppState* appState() const { return m_appState; }
    void setAppState(AppState* appState);
    SessionsStore* sessions() const;
    VelmarOSChatStore* store() const;
    // Each tier: id, displayName, roleHint.
    QVariantList models() const;
    QString modelId() const;
    const QString& editError() const { return m_editError; }
    bool isSavingEdit() const { return m_isSavingEdit; }

    // Sends a sentence (and images) on the open session, on the session's model. False when
    // there was nothing to send. Images: {"mediaType", "base64", "thumbnail"}.
    Q_INVOKABLE bool send(const QString& text, const QVariantList& images = {});
    Q_INVOKABLE void selectModel(const QString& modelId);

    // A card's words: title, kindText, headline, fields [{label, value}], status, statusText.
    Q_INVOKABLE static QVariantMap pendingCard(const QVariantMap& item);
    // The payload's plain values a person can change: [{key, label, value, numeric}].
    Q_INVOKABLE static QVariantList editableFields(const QVariantMap& item);
    // Saves edited values (key → text) through the server, then onto the card. Errors land
    // in `editError`; `editSaved` tells the sheet it may close.
    Q_INVOKABLE void savePendingEdit(const QVariantMap& item, const QVariantMap& values);
    QCoro::Task<bool> savePendingEditAsync(QVariantMap item, QVariantMap values);
    Q_INVOKABLE void clearEditError();

    // "data:" URLs of the images sent with a message, for as long as this run keeps them.
    Q_INVOKABLE QStringList thumbnailUrls(const QString& eventId) const;
    // A tool's time: "0.4s", "12s", "1m05s"; empty while it runs.
    Q_INVOKABLE static QString durationText(const QVariant& milliseconds);
    // A session's row: its title or "新会话", and when it was last spoken in.
    Q_INVOKABLE static QString sessionTitle(const QVariantMap& session);
    Q_INVOKABLE QString sessionTime(const QVariantMap& session) const;

    static QString currencySymbol(const QString& code);

signals:
    void appStateChanged();
    void storeChanged();
    void modelChanged();
    void editStateChanged();
    void editSaved();

private:
    void setEditState(const QString& error, bool saving);

    QPointer<AppState> m_appState;
    QList<QMetaObject::Connection> m_connections;
    QString m_editError;
    bool m_isSavingEdit = false;
};
