#include "AgentModels.h"

namespace wire {

AgentImage AgentImage::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("media_type"), in.required<QString>("base64") };
}

void AgentImage::writeJson(ObjectWriter& out) const
{
    out.set("media_type", media_type).set("base64", base64);
}

AgentChatRequest AgentChatRequest::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("message"), in.optional<QString>("session_id"),
        in.optional<QString>("chat_session_id"), in.optional<QString>("model"),
        in.optional<std::vector<AgentImage>>("images") };
}

void AgentChatRequest::writeJson(ObjectWriter& out) const
{
    out.set("message", message)
        .set("session_id", session_id)
        .set("chat_session_id", chat_session_id)
        .set("model", model);
    if (images && !images->empty())
        out.set("images", *images);
}

} // namespace wire
