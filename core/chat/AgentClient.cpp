#include "AgentClient.h"

#include "chat/AgentModels.h"
#include "session/KeychainStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <qcoro/qcoronetworkreply.h>

#include <cmath>

#ifndef VELMAROS_API_BASE
#define VELMAROS_API_BASE "http://127.0.0.1:8787"
#endif

namespace {

// A field of the wrong type counts as absent.
std::optional<QString> stringField(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? std::optional<QString>(value.toString()) : std::nullopt;
}

std::optional<bool> boolField(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    return value.isBool() ? std::optional<bool>(value.toBool()) : std::nullopt;
}

std::optional<double> numberField(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    return value.isDouble() ? std::optional<double>(value.toDouble()) : std::nullopt;
}

bool isJsonInteger(const QJsonValue& value)
{
    return value.isDouble() && value.toVariant().typeId() == QMetaType::LongLong;
}

// An integer, or a float truncated toward zero.
std::optional<qint64> integerField(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        return std::nullopt;
    if (isJsonInteger(value))
        return value.toVariant().toLongLong();
    const double truncated = std::trunc(value.toDouble());
    if (!std::isfinite(truncated) || std::abs(truncated) >= 9.2233720368547758e18)
        return std::nullopt;
    return static_cast<qint64>(truncated);
}

// How a cell of a query table reads on screen.
QString cellText(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        return value.toBool() ? QStringLiteral("是") : QStringLiteral("否");
    case QJsonValue::Double: {
        if (isJsonInteger(value))
            return QString::number(value.toVariant().toLongLong());
        const double number = value.toDouble();
        if (std::trunc(number) == number && std::abs(number) <= 9.2233720368547758e18)
            return QString::asprintf("%.0f", number);
        return QString::asprintf("%g", number);
    }
    case QJsonValue::Null:
        return QStringLiteral("—");
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Array:
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    case QJsonValue::Object:
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    case QJsonValue::Undefined:
        break;
    }
    return {};
}

std::vector<std::map<QString, QString>> queryRows(const QJsonValue& value)
{
    if (!value.isArray())
        return {};
    std::vector<std::map<QString, QString>> rows;
    for (const QJsonValue& row : value.toArray()) {
        // Rows that are not all objects make the field unusable as a whole.
        if (!row.isObject())
            return {};
        std::map<QString, QString> cells;
        const QJsonObject object = row.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            cells.emplace(it.key(), cellText(it.value()));
        rows.push_back(std::move(cells));
    }
    return rows;
}

wire::AnyDict anyDict(const QJsonValue& value)
{
    wire::AnyDict out;
    if (!value.isObject())
        return out;
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it)
        out.emplace(it.key(), wire::AnyCodableValue::fromJson(it.value()));
    return out;
}

} // namespace

AgentClient::AgentClient(QUrl baseURL, KeychainStore* keychain, Sleep sleep, Timeouts timeouts)
    : m_baseURL(std::move(baseURL))
    , m_keychain(keychain)
    , m_sleep(std::move(sleep))
    , m_timeouts(timeouts)
    , m_network(std::make_unique<QNetworkAccessManager>())
{
    m_network->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
}

AgentClient::~AgentClient()
{
    // Open streams end quietly; a pending confirmDelete resumes with a transport error.
    m_shuttingDown = true;
    const auto streams = std::exchange(m_streams, {});
    for (const auto& stream : streams) {
        if (!stream)
            continue;
        stream->detachFromClient();
        stream->cancel();
    }
    const auto replies = m_inFlight;
    for (QNetworkReply* reply : replies)
        reply->abort();
}

AgentClient& AgentClient::shared()
{
    static AgentClient client(QUrl(QStringLiteral(VELMAROS_API_BASE)), &KeychainStore::shared());
    return client;
}

std::optional<QUrl> AgentClient::chatURL() const
{
    QUrl url = m_baseURL;
    QString path = url.path();
    if (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    url.setPath(path + QStringLiteral("/agent/chat"));
    if (!url.isValid() || url.scheme().isEmpty() || url.host().isEmpty())
        return std::nullopt;
    return url;
}

void AgentClient::forget(AgentStream* stream)
{
    m_streams.removeIf([stream](const QPointer<AgentStream>& item) { return !item || item == stream; });
}

std::unique_ptr<AgentStream> AgentClient::streamAgentChat(QString message, std::optional<QString> sessionId,
    std::optional<QString> model, std::vector<VisionImage> images, std::optional<QString> chatSessionId)
{
    QByteArray body = requestBody(message, sessionId, model, images, chatSessionId);
    std::unique_ptr<AgentStream> stream(
        new AgentStream(this, std::move(body), !images.empty(), chatSessionId.has_value()));
    m_streams.removeIf([](const QPointer<AgentStream>& item) { return !item; });
    m_streams.append(stream.get());
    return stream;
}

QByteArray AgentClient::requestBody(const QString& message, const std::optional<QString>& sessionId,
    const std::optional<QString>& model, const std::vector<VisionImage>& images,
    const std::optional<QString>& chatSessionId)
{
    wire::AgentChatRequest request;
    request.message = message;
    request.session_id = sessionId;
    request.chat_session_id = chatSessionId;
    request.model = model;
    if (!images.empty()) {
        std::vector<wire::AgentImage> encoded;
        for (const auto& image : images)
            encoded.push_back({ image.mediaType, image.base64 });
        request.images = std::move(encoded);
    }
    return wire::toBytes(request);
}

std::optional<AgentEvent> AgentClient::parseSSEEvent(const QString& type, const QJsonObject& object)
{
    if (type == QLatin1String("session"))
        return AgentEvent::Session { stringField(object, "session_id"), stringField(object, "model") };
    if (type == QLatin1String("text_delta")) {
        const auto text = stringField(object, "text");
        if (!text)
            return std::nullopt;
        return AgentEvent::TextDelta { *text };
    }
    if (type == QLatin1String("tool_call_start")) {
        std::map<QString, wire::JSONScalar> input;
        const QJsonValue raw = object.value(QStringLiteral("input"));
        if (raw.isObject()) {
            const QJsonObject fields = raw.toObject();
            for (auto it = fields.begin(); it != fields.end(); ++it)
                input.emplace(it.key(), wire::JSONScalar::fromJson(it.value()));
        }
        return AgentEvent::ToolCallStart { stringField(object, "tool_use_id").value_or(QString()),
            stringField(object, "tool").value_or(QString()), std::move(input) };
    }
    if (type == QLatin1String("tool_result"))
        return AgentEvent::ToolResult { stringField(object, "tool_use_id").value_or(QString()),
            boolField(object, "ok").value_or(true), stringField(object, "preview").value_or(QString()) };
    if (type == QLatin1String("pending_card")) {
        wire::AnyDict payload = anyDict(object.value(QStringLiteral("payload")));
        const auto kindValue = payload.find(QStringLiteral("_kind"));
        QString kind = QStringLiteral("create");
        if (kindValue != payload.end()) {
            if (const auto text = kindValue->second.stringValue())
                kind = *text;
        } else {
            payload.emplace(QStringLiteral("_kind"), kind);
        }
        return AgentEvent::PendingCard { stringField(object, "pending_id").value_or(QString()),
            stringField(object, "domain").value_or(QStringLiteral("finance")), kind, std::move(payload),
            stringField(object, "source_text").value_or(QString()) };
    }
    if (type == QLatin1String("proposed_delete"))
        return AgentEvent::ProposedDelete { stringField(object, "domain").value_or(QStringLiteral("finance")),
            integerField(object, "target_id").value_or(0), stringField(object, "preview").value_or(QString()),
            stringField(object, "delete_endpoint").value_or(QString()) };
    if (type == QLatin1String("query_result"))
        return QueryResultBlock { stringField(object, "domain").value_or(QStringLiteral("finance")),
            stringField(object, "title").value_or(QStringLiteral("查询结果")),
            queryRows(object.value(QStringLiteral("rows"))), stringField(object, "id_hint").value_or(QString()),
            stringField(object, "summary").value_or(QString()) };
    if (type == QLatin1String("time_effect"))
        return AgentEvent::TimeEffect { stringField(object, "kind").value_or(QStringLiteral("started")),
            stringField(object, "activity"), stringField(object, "timestamp") };
    if (type == QLatin1String("rate_limit"))
        return AgentEvent::RateLimited { integerField(object, "retry_after_sec") };
    if (type == QLatin1String("error"))
        return AgentEvent::Error { stringField(object, "code").value_or(QStringLiteral("unknown")),
            stringField(object, "message").value_or(QStringLiteral("未知错误")) };
    if (type == QLatin1String("result"))
        return AgentEvent::Result { stringField(object, "reason"), integerField(object, "iterations"),
            numberField(object, "cost_usd") };
    return std::nullopt;
}

bool AgentClient::isConnectionLost(QNetworkReply::NetworkError error, bool userAborted)
{
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
        return true;
    case QNetworkReply::OperationCanceledError:
        // Qt reports a time-out as a cancel; only the user's own abort is not a loss.
        return !userAborted;
    default:
        return false;
    }
}

QCoro::Task<void> AgentClient::confirmDelete(QString endpoint)
{
    const QString token = co_await m_keychain->bearerV1();
    const QUrl relative(endpoint.trimmed(), QUrl::StrictMode);
    if (endpoint.trimmed().isEmpty() || !relative.isValid())
        throw LumenAPIError::badURL();
    const QUrl url = m_baseURL.resolved(relative);
    if (!url.isValid() || url.host().isEmpty()
        || (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https")))
        throw LumenAPIError::badURL();
    if (m_shuttingDown)
        throw LumenAPIError::transport(QStringLiteral("cancelled"));

    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    request.setTransferTimeout(static_cast<int>(confirmDeleteTimeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    QNetworkReply* reply = m_network->post(request, QByteArrayLiteral("{}"));
    m_inFlight.insert(reply);
    co_await reply;
    m_inFlight.remove(reply);
    reply->deleteLater();

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid()) {
        const int code = status.toInt();
        if (code >= 200 && code <= 299)
            co_return;
        if (code == 401)
            throw LumenAPIError::unauthorized();
        throw LumenAPIError::serverError(code);
    }
    const auto error = reply->error();
    if (error == QNetworkReply::NoError)
        throw LumenAPIError::transport(QStringLiteral("no HTTPURLResponse"));
    if (error == QNetworkReply::OperationCanceledError || error == QNetworkReply::TimeoutError) {
        if (m_shuttingDown)
            throw LumenAPIError::transport(QStringLiteral("cancelled"));
        throw LumenAPIError::timeout();
    }
    throw LumenAPIError::transport(reply->errorString());
}
