#pragma once

#include "ChatMessage.h"

#include "relay/RelayModels.h"
#include "session/DomainStore.h"

#include <QVariantList>

#include <functional>
#include <vector>

class MintbridgeClient;

// A plain question-and-answer chat over the relay's "steward" section. Nothing is kept on
// disk: a new conversation starts empty.
class ConversationStore : public DomainStore {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by AppState")
    Q_PROPERTY(QVariantList messages READ messagesForView NOTIFY messagesChanged)
    Q_PROPERTY(QString selectedModel READ selectedModelId WRITE setSelectedModelId NOTIFY selectedModelChanged)
    Q_PROPERTY(bool isSending READ isSending NOTIFY isSendingChanged)
    Q_PROPERTY(QString relaySessionID READ relaySessionIDText NOTIFY relaySessionIDChanged)

public:
    // Takes the place of MintbridgeClient::intent (text, section, model) in tests and previews.
    using RelayIntent = std::function<QCoro::Task<wire::RelayIntentResponse>(QString, QString, QString)>;

    // `relay` null: the process-wide client.
    ConversationStore(StoreContext context, MintbridgeClient* relay, QObject* parent = nullptr);

    RelayIntent relayIntent;

    const std::vector<ChatMessage>& messages() const { return m_messages; }
    ChatModel selectedModel() const { return m_selectedModel; }
    void setSelectedModel(ChatModel model);
    bool isSending() const { return m_isSending; }
    const std::optional<QString>& relaySessionID() const { return m_relaySessionID; }

    // Sends one sentence and appends the answer, or the failure as an error line. Never throws.
    QCoro::Task<void> send(QString text);
    Q_INVOKABLE void sendMessage(const QString& text);
    Q_INVOKABLE void newConversation();

    // The answer shown: `parsed.answer`, else `raw_result`, else a note that nothing came.
    static QString replyText(const wire::RelayIntentResponse& response);

    QVariantList messagesForView() const;
    QString selectedModelId() const { return m_selectedModel.id(); }
    void setSelectedModelId(const QString& id);
    QString relaySessionIDText() const { return m_relaySessionID.value_or(QString()); }

signals:
    void messagesChanged();
    void selectedModelChanged();
    void isSendingChanged();
    void relaySessionIDChanged();

private:
    void append(ChatMessage message);
    void setSending(bool value);
    void setRelaySessionID(std::optional<QString> value);
    MintbridgeClient& relay() const;

    MintbridgeClient* m_relay;
    std::vector<ChatMessage> m_messages;
    ChatModel m_selectedModel = ChatModel::sonnet();
    bool m_isSending = false;
    std::optional<QString> m_relaySessionID;
    // A new conversation outdates the answer still on its way.
    quint64 m_conversation = 0;
};
