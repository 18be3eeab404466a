#include "AgentStream.h"

#include "AgentClient.h"

#include "session/KeychainStore.h"
#include "session/LoadError.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QStringDecoder>

#include <coroutine>
#include <deque>

namespace {

constexpr qsizetype errorBodyLimit = 200;

const QString unauthorizedMessage = QStringLiteral("登录已过期，请重新登录");
const QString imageErrorMessage = QStringLiteral("图片处理失败，请重试或换一张");

QByteArray lineBytes(QByteArray raw)
{
    if (raw.endsWith('\n'))
        raw.chop(1);
    if (raw.endsWith('\r'))
        raw.chop(1);
    return raw;
}

// The body of a refusal, its lines run together and cut at 200 characters.
QString errorBodyExcerpt(const QByteArray& body)
{
    QString text;
    for (const QByteArray& raw : body.split('\n')) {
        text += QString::fromUtf8(lineBytes(raw));
        if (text.size() > errorBodyLimit)
            return text.left(errorBodyLimit) + QStringLiteral("…");
    }
    return text;
}

} // namespace

// Events between the producer and a consumer that awaits next(). Shared, so a consumer still
// waiting when the stream goes away wakes up to an ended stream instead of a dangling one.
struct AgentStream::Channel {
    std::deque<AgentEvent> queue;
    bool closed = false;
    std::vector<std::coroutine_handle<>> waiters;

    // Waiters resume from the event loop, never inside the producer's own call stack.
    void wake()
    {
        if (waiters.empty())
            return;
        auto resumeAll = [handles = std::exchange(waiters, {})] {
            for (auto handle : handles)
                handle.resume();
        };
        if (QCoreApplication* app = QCoreApplication::instance())
            QMetaObject::invokeMethod(app, std::move(resumeAll), Qt::QueuedConnection);
        else
            resumeAll();
    }

    struct Wait {
        std::shared_ptr<Channel> channel;
        bool await_ready() const noexcept { return !channel->queue.empty() || channel->closed; }
        void await_suspend(std::coroutine_handle<> handle) const { channel->waiters.push_back(handle); }
        void await_resume() const noexcept { }
    };
};

AgentStream::AgentStream(AgentClient* client, QByteArray body, bool hasImages, bool hasChatSession)
    : m_client(client)
    , m_body(std::move(body))
    , m_hasImages(hasImages)
    , m_hasChatSession(hasChatSession)
    , m_channel(std::make_shared<Channel>())
{
    m_resourceTimer.setSingleShot(true);
    connect(&m_resourceTimer, &QTimer::timeout, this, [this] {
        // Reported by the reply as a cancel without our flag: a time-out.
        if (m_reply)
            m_reply->abort();
    });
    QTimer::singleShot(0, this, [this] { attempt(this); });
}

AgentStream::~AgentStream()
{
    if (!m_closed) {
        dropReply();
        close(false);
    }
    if (m_client)
        m_client->forget(this);
}

QCoro::Task<std::optional<AgentEvent>> AgentStream::next()
{
    const std::shared_ptr<Channel> channel = m_channel;
    while (channel->queue.empty() && !channel->closed) {
        const Channel::Wait wait { channel };
        co_await wait;
    }
    if (channel->queue.empty())
        co_return std::nullopt;
    AgentEvent event = std::move(channel->queue.front());
    channel->queue.pop_front();
    co_return event;
}

void AgentStream::cancel()
{
    if (m_closed)
        return;
    dropReply();
    close();
}

void AgentStream::dropReply()
{
    m_resourceTimer.stop();
    QNetworkReply* reply = m_reply;
    m_reply = nullptr;
    if (!reply)
        return;
    // Disconnected first: the abort's finished() is ours, not a failure to report.
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
}

void AgentStream::close(bool announce)
{
    m_closed = true;
    m_channel->closed = true;
    m_channel->wake();
    if (announce)
        emit finished();
}

void AgentStream::deliver(AgentEvent event)
{
    m_yielded = true;
    m_channel->queue.push_back(event);
    m_channel->wake();
    emit eventReceived(event);
}

void AgentStream::fail(const QString& code, const QString& message)
{
    QPointer<AgentStream> self(this);
    deliver(AgentEvent::error(code, message));
    if (self && !m_closed)
        close();
}

QCoro::Task<void> AgentStream::attempt(QPointer<AgentStream> self)
{
    if (!self || self->m_closed || !self->m_client)
        co_return;
    KeychainStore* keychain = &self->m_client->keychain();
    QString token;
    std::optional<QString> failure;
    try {
        token = co_await keychain->bearerV1();
    } catch (...) {
        failure = formatLoadError(std::current_exception()).message;
    }
    if (!self || self->m_closed || !self->m_client)
        co_return;
    if (failure) {
        self->fail(QStringLiteral("transport"), *failure);
        co_return;
    }
    self->send(token);
}

QCoro::Task<void> AgentStream::retryAfterPause(QPointer<AgentStream> self)
{
    const AgentClient::Sleep sleep = self->m_client->sleep();
    try {
        co_await sleep(AgentClient::retryPause);
    } catch (...) {
        // An interrupted pause ends the stream quietly.
        if (self && !self->m_closed)
            self->close();
        co_return;
    }
    if (!self || self->m_closed || !self->m_client)
        co_return;
    co_await attempt(self);
}

void AgentStream::send(const QString& token)
{
    const auto url = m_client->chatURL();
    if (!url) {
        fail(QStringLiteral("transport"), LumenAPIError::badURL().userMessage());
        return;
    }
    QNetworkRequest request(*url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setRawHeader("Accept", "text/event-stream");
    request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    request.setTransferTimeout(static_cast<int>(m_client->timeouts().inactivity.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);

    m_pendingEvent.reset();
    ++m_attempts;
    m_reply = m_client->networkAccessManager()->post(request, m_body);
    connect(m_reply, &QNetworkReply::readyRead, this, &AgentStream::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &AgentStream::onFinished);
    m_resourceTimer.start(m_client->timeouts().resource);
}

void AgentStream::onReadyRead()
{
    QNetworkReply* reply = m_reply;
    if (!reply || m_closed)
        return;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    // A refusal's body is read whole at the end.
    if (status < 200 || status > 299)
        return;
    drainLines(reply, false);
}

bool AgentStream::drainLines(QNetworkReply* reply, bool bodyComplete)
{
    QPointer<AgentStream> self(this);
    QPointer<QNetworkReply> guard(reply);
    while (self && !m_closed && guard && (reply->canReadLine() || (bodyComplete && reply->bytesAvailable() > 0))) {
        const QByteArray line = lineBytes(reply->readLine());
        if (processLine(line) == LineOutcome::Done) {
            if (self && !m_closed) {
                dropReply();
                close();
            }
            return false;
        }
    }
    return self && !m_closed;
}

AgentStream::LineOutcome AgentStream::processLine(const QByteArray& line)
{
    static constexpr QByteArrayView eventPrefix("event: ");
    static constexpr QByteArrayView dataPrefix("data: ");
    if (line.startsWith(eventPrefix)) {
        m_pendingEvent = QString::fromUtf8(line.mid(eventPrefix.size()));
        return LineOutcome::Continue;
    }
    if (!line.startsWith(dataPrefix))
        return LineOutcome::Continue;
    const QByteArray rest = line.mid(dataPrefix.size());
    if (rest == "[DONE]")
        return LineOutcome::Done;

    const std::optional<QString> pending = std::exchange(m_pendingEvent, std::nullopt);
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(rest, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject())
        return LineOutcome::Continue;
    const QJsonObject object = document.object();
    const QJsonValue typeField = object.value(QStringLiteral("type"));
    const QString type = pending ? *pending : (typeField.isString() ? typeField.toString() : QString());
    if (auto event = AgentClient::parseSSEEvent(type, object))
        deliver(std::move(*event));
    return LineOutcome::Continue;
}

void AgentStream::onFinished()
{
    QNetworkReply* reply = m_reply;
    m_reply = nullptr;
    m_resourceTimer.stop();
    if (!reply)
        return;
    reply->disconnect(this);
    reply->deleteLater();
    if (m_closed)
        return;

    const auto error = reply->error();
    const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (statusAttribute.isValid()) {
        const int status = statusAttribute.toInt();
        if (status == 401) {
            fail(QStringLiteral("unauthorized"), unauthorizedMessage);
            return;
        }
        if (status < 200 || status > 299) {
            const QString body = errorBodyExcerpt(reply->readAll());
            if (status == 422 && m_hasImages)
                fail(QStringLiteral("image_error"), imageErrorMessage);
            else
                fail(QStringLiteral("http_%1").arg(status), QStringLiteral("服务器错误 (%1) %2").arg(status).arg(body));
            return;
        }
        // Complete lines that arrived with the failure still count.
        if (!drainLines(reply, error == QNetworkReply::NoError))
            return;
        if (error == QNetworkReply::NoError) {
            close();
            return;
        }
    } else if (error == QNetworkReply::NoError) {
        fail(QStringLiteral("no_http_response"), QStringLiteral("服务器无响应"));
        return;
    }
    onTransportFailure(static_cast<int>(error), reply->errorString());
}

void AgentStream::onTransportFailure(int code, const QString& description)
{
    const auto error = static_cast<QNetworkReply::NetworkError>(code);
    // A user abort never reaches here: cancel() disconnects the reply first.
    const bool lost = AgentClient::isConnectionLost(error, false);
    if (lost && !m_yielded && !m_retried) {
        m_retried = true;
        retryAfterPause(this);
        return;
    }
    if (lost && m_hasChatSession) {
        // The answer arrives later with the server's copy of the chat.
        close();
        return;
    }
    const bool timedOut = error == QNetworkReply::OperationCanceledError || error == QNetworkReply::TimeoutError;
    fail(QStringLiteral("transport"), timedOut ? LumenAPIError::timeout().userMessage() : description);
}
