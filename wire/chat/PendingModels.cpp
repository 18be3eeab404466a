#include "PendingModels.h"

namespace wire {

PendingItem PendingItem::fromJson(const ObjectReader& in)
{
    PendingItem item;
    item.id = in.required<QString>("id");
    item.domain = in.required<QString>("domain");
    item.payload = in.required<AnyDict>("payload");
    item.source_session = in.optional<QString>("source_session");
    item.source_text = in.optional<QString>("source_text");
    item.status = in.required<QString>("status");
    item.committed_ref = in.optional<QString>("committed_ref");
    item.created_at = in.required<QString>("created_at");
    item.committed_at = in.optional<QString>("committed_at");
    item.rejected_at = in.optional<QString>("rejected_at");
    return item;
}

void PendingItem::writeJson(ObjectWriter& out) const
{
    out.set("id", id)
        .set("domain", domain)
        .set("payload", payload)
        .set("source_session", source_session)
        .set("source_text", source_text)
        .set("status", status)
        .set("committed_ref", committed_ref)
        .set("created_at", created_at)
        .set("committed_at", committed_at)
        .set("rejected_at", rejected_at);
}

PendingCreate PendingCreate::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("domain"), in.required<AnyDict>("payload"), in.optional<QString>("source_session"),
        in.optional<QString>("source_text") };
}

void PendingCreate::writeJson(ObjectWriter& out) const
{
    out.set("domain", domain)
        .set("payload", payload)
        .set("source_session", source_session)
        .set("source_text", source_text);
}

PendingUpdate PendingUpdate::fromJson(const ObjectReader& in)
{
    return { in.required<AnyDict>("payload") };
}

void PendingUpdate::writeJson(ObjectWriter& out) const
{
    out.set("payload", payload);
}

} // namespace wire
