#include "ConversationStore.h"

#include "MintbridgeClient.h"

#include "session/LoadError.h"

ConversationStore::ConversationStore(StoreContext context, MintbridgeClient* relay, QObject* parent)
    : DomainStore(std::move(context), parent)
    , m_relay(relay)
{
}

MintbridgeClient& ConversationStore::relay() const
{
    return m_relay ? *m_relay : MintbridgeClient::shared();
}

QString ConversationStore::replyText(const wire::RelayIntentResponse& response)
{
    if (response.parsed) {
        const auto it = response.parsed->find(QStringLiteral("answer"));
        if (it != response.parsed->end()) {
            const QString answer = it->second.stringValue().value_or(QString()).trimmed();
            if (!answer.isEmpty())
                return answer;
        }
    }
    const QString raw = response.raw_result.value_or(QString()).trimmed();
    if (!raw.isEmpty())
        return raw;
    return QStringLiteral("（没有返回内容）");
}

QCoro::Task<void> ConversationStore::send(QString text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty() || m_isSending)
        co_return;
    QPointer<ConversationStore> self(this);
    const ChatModel model = m_selectedModel;
    const quint64 conversation = m_conversation;
    ChatMessage question;
    question.role = ChatMessage::Role::user;
    question.text = trimmed;
    question.model = model;
    question.createdAt = now();
    append(std::move(question));
    setSending(true);

    ChatMessage answer;
    answer.role = ChatMessage::Role::assistant;
    answer.model = model;
    bool signOut = false;
    std::optional<QString> sessionID;
    try {
        const QString section = QStringLiteral("steward");
        const QString modelId = model.id();
        wire::RelayIntentResponse response;
        if (relayIntent)
            response = co_await relayIntent(trimmed, section, modelId);
        else
            response = co_await relay().intent(trimmed, section, modelId);
        sessionID = response.session_id;
        answer.text = replyText(response);
    } catch (const MintbridgeError& error) {
        answer.text = error.userMessage();
        answer.isError = true;
        signOut = error.kind() == MintbridgeError::Kind::Unauthorized;
    } catch (const RelayBearerStore::StoreError& error) {
        answer.text = error.description();
        answer.isError = true;
    } catch (...) {
        answer.text = formatLoadError(std::current_exception()).message;
        answer.isError = true;
    }
    if (!self)
        co_return;
    if (conversation == m_conversation) {
        if (sessionID)
            setRelaySessionID(sessionID);
        answer.createdAt = now();
        append(std::move(answer));
    }
    setSending(false);
    if (signOut && onAuthFailure)
        onAuthFailure();
}

void ConversationStore::sendMessage(const QString& text)
{
    send(text);
}

void ConversationStore::newConversation()
{
    ++m_conversation;
    if (!m_messages.empty()) {
        m_messages.clear();
        emit messagesChanged();
    }
    setRelaySessionID(std::nullopt);
}

void ConversationStore::setSelectedModel(ChatModel model)
{
    if (m_selectedModel == model)
        return;
    m_selectedModel = model;
    emit selectedModelChanged();
}

void ConversationStore::setSelectedModelId(const QString& id)
{
    if (const auto model = ChatModel::fromId(id))
        setSelectedModel(*model);
}

QVariantList ConversationStore::messagesForView() const
{
    QVariantList list;
    list.reserve(qsizetype(m_messages.size()));
    for (const ChatMessage& message : m_messages)
        list.append(message.toVariant());
    return list;
}

void ConversationStore::append(ChatMessage message)
{
    m_messages.push_back(std::move(message));
    emit messagesChanged();
}

void ConversationStore::setSending(bool value)
{
    if (m_isSending == value)
        return;
    m_isSending = value;
    emit isSendingChanged();
}

void ConversationStore::setRelaySessionID(std::optional<QString> value)
{
    if (m_relaySessionID == value)
        return;
    m_relaySessionID = std::move(value);
    emit relaySessionIDChanged();
}
