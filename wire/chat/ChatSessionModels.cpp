#include "ChatSessionModels.h"

namespace wire {

ChatSessionDTO ChatSessionDTO::fromJson(const ObjectReader& in)
{
    ChatSessionDTO session;
    session.id = in.required<QString>("id");
    session.title = in.optional<QString>("title");
    session.model = in.optional<QString>("model");
    session.cli_session_id = in.optional<QString>("cli_session_id");
    session.is_pinned = in.required<bool>("is_pinned");
    session.is_archived = in.required<bool>("is_archived");
    session.created_at = in.optional<QString>("created_at");
    session.last_active_at = in.optional<QString>("last_active_at");
    return session;
}

void ChatSessionDTO::writeJson(ObjectWriter& out) const
{
    out.set("id", id)
        .set("title", title)
        .set("model", model)
        .set("cli_session_id", cli_session_id)
        .set("is_pinned", is_pinned)
        .set("is_archived", is_archived)
        .set("created_at", created_at)
        .set("last_active_at", last_active_at);
}

ChatSessionCreate ChatSessionCreate::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("id"), in.optional<QString>("title"), in.optional<QString>("model") };
}

void ChatSessionCreate::writeJson(ObjectWriter& out) const
{
    out.set("id", id).set("title", title).set("model", model);
}

ChatSessionPatch ChatSessionPatch::fromJson(const ObjectReader& in)
{
    ChatSessionPatch patch;
    patch.title = in.optional<QString>("title");
    patch.model = in.optional<QString>("model");
    patch.cli_session_id = in.optional<QString>("cli_session_id");
    patch.is_pinned = in.optional<bool>("is_pinned");
    patch.is_archived = in.optional<bool>("is_archived");
    patch.last_active_at = in.optional<QString>("last_active_at");
    return patch;
}

void ChatSessionPatch::writeJson(ObjectWriter& out) const
{
    out.set("title", title)
        .set("model", model)
        .set("cli_session_id", cli_session_id)
        .set("is_pinned", is_pinned)
        .set("is_archived", is_archived)
        .set("last_active_at", last_active_at);
}

ChatMessageDTO ChatMessageDTO::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("id"), in.required<int>("seq"), in.required<QString>("role"),
        in.required<QString>("kind"), in.required<QString>("content"), in.required<QString>("ts") };
}

void ChatMessageDTO::writeJson(ObjectWriter& out) const
{
    out.set("id", id).set("seq", seq).set("role", role).set("kind", kind).set("content", content).set("ts", ts);
}

ChatMessageCreate ChatMessageCreate::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("id"), in.required<QString>("role"), in.required<QString>("kind"),
        in.required<QString>("content"), in.required<QString>("ts") };
}

void ChatMessageCreate::writeJson(ObjectWriter& out) const
{
    out.set("id", id).set("role", role).set("kind", kind).set("content", content).set("ts", ts);
}

ChatMessagePostResult ChatMessagePostResult::fromJson(const ObjectReader& in)
{
    return { in.required<bool>("ok"), in.optional<int>("seq") };
}

void ChatMessagePostResult::writeJson(ObjectWriter& out) const
{
    out.set("ok", ok).set("seq", seq);
}

} // namespace wire
