#include "AgentRoutes.h"

#include "Backend.h"
#include "agent/TurnOutput.h"
#include "agent/TurnRunner.h"
#include "services/ApiError.h"

#include "chat/AgentModels.h"

#include <atomic>
#include <memory>

namespace lumen::routes {

namespace {

constexpr int kMaxMessageLength = 4000;

const QStringList kImageTypes { QStringLiteral("image/png"), QStringLiteral("image/jpeg"), QStringLiteral("image/gif"),
    QStringLiteral("image/webp"), QStringLiteral("image/heic") };

// The open event stream as a turn's output.
class SinkOutput final : public agent::TurnOutput {
public:
    explicit SinkOutput(httplib::DataSink& sink)
        : m_sink(sink)
    {
    }
    bool write(const QByteArray& frame) override { return m_sink.write(frame.constData(), size_t(frame.size())); }

private:
    httplib::DataSink& m_sink;
};

// One accepted turn. It runs when the stream opens; if the client is gone before that, it
// runs when the response is let go, so a sentence that reached the server is always answered.
class TurnJob {
public:
    TurnJob(agent::TurnRunner& runner, agent::TurnRequest request)
        : m_runner(runner)
        , m_request(std::move(request))
    {
    }

    void run(agent::TurnOutput& output)
    {
        if (!m_ran.exchange(true))
            m_runner.run(m_request, output);
    }

private:
    agent::TurnRunner& m_runner;
    agent::TurnRequest m_request;
    std::atomic<bool> m_ran { false };
};

void checkImages(const wire::AgentChatRequest& request)
{
    if (!request.images)
        return;
    for (const wire::AgentImage& image : *request.images) {
        const auto decoded
            = QByteArray::fromBase64Encoding(image.base64.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
        if (!kImageTypes.contains(image.media_type.trimmed().toLower()) || !decoded || decoded.decoded.isEmpty())
            throw ApiError::unprocessable(QStringLiteral("图片处理失败，请重试或换一张"));
    }
}

} // namespace

void registerAgentRoutes(httplib::Server& server, RouteContext& context)
{
    Backend& backend = context.backend;

    server.Post("/agent/chat",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            agent::TurnRequest turn;
            turn.chat = decodeBody<wire::AgentChatRequest>(req);
            const bool withImages = turn.chat.images && !turn.chat.images->empty();
            if (turn.chat.message.trimmed().isEmpty() && !withImages)
                throw ApiError::unprocessable(QStringLiteral("消息不能为空"));
            if (turn.chat.message.size() > kMaxMessageLength)
                throw ApiError::unprocessable(QStringLiteral("消息过长（最多 %1 字）").arg(kMaxMessageLength));
            checkImages(turn.chat);
            turn.user = user;
            turn.household = backend.households().householdOf(user.userId);
            turn.receivedAt = backend.clock().now();

            auto job = std::make_shared<TurnJob>(backend.turns(), std::move(turn));
            res.set_header("Cache-Control", "no-cache");
            res.set_header("X-Accel-Buffering", "no");
            res.set_chunked_content_provider(
                "text/event-stream",
                [job](size_t, httplib::DataSink& sink) {
                    SinkOutput output(sink);
                    job->run(output);
                    sink.done();
                    return true;
                },
                [job](bool) {
                    agent::NoOutput nobody;
                    job->run(nobody);
                });
        }));
}

} // namespace lumen::routes
