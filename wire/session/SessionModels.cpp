#include "SessionModels.h"

namespace wire {

UserRelation UserRelation::fromJson(const ObjectReader& in)
{
    return { in.required<int>("id"), in.required<QString>("username"), in.required<QString>("display_name"),
        in.optional<QString>("avatar_url"), in.required<QString>("role"), in.required<QString>("direction") };
}

void UserRelation::writeJson(ObjectWriter& out) const
{
    out.set("id", id)
        .set("username", username)
        .set("display_name", display_name)
        .set("avatar_url", avatar_url)
        .set("role", role)
        .set("direction", direction);
}

UserProfile UserProfile::fromJson(const ObjectReader& in)
{
    return { in.required<int>("id"), in.required<QString>("username"), in.required<QString>("display_name"),
        in.optional<QString>("avatar_url"), in.optional<std::vector<Relation>>("relations") };
}

void UserProfile::writeJson(ObjectWriter& out) const
{
    out.set("id", id)
        .set("username", username)
        .set("display_name", display_name)
        .set("avatar_url", avatar_url)
        .set("relations", relations);
}

LoginRequest LoginRequest::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("username"), in.required<QString>("password") };
}

void LoginRequest::writeJson(ObjectWriter& out) const
{
    out.set("username", username).set("password", password);
}

LoginResponse LoginResponse::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("token"), in.required<int>("user_id"), in.required<QString>("username"),
        in.required<QString>("display_name") };
}

void LoginResponse::writeJson(ObjectWriter& out) const
{
    out.set("token", token).set("user_id", user_id).set("username", username).set("display_name", display_name);
}

AddRelationRequest AddRelationRequest::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("username"), in.valueOr<QString>("role", QStringLiteral("member")) };
}

void AddRelationRequest::writeJson(ObjectWriter& out) const
{
    out.set("username", username).set("role", role);
}

TransferOwnerRequest TransferOwnerRequest::fromJson(const ObjectReader& in)
{
    return { in.required<int>("member_id") };
}

void TransferOwnerRequest::writeJson(ObjectWriter& out) const
{
    out.set("member_id", member_id);
}

APIError APIError::fromJson(const ObjectReader& in)
{
    // FastAPI-style validation answers carry a list; keep its text rather than fail.
    const QJsonValue detail = in.raw("detail");
    if (detail.isString())
        return { detail.toString() };
    if (detail.isUndefined() || detail.isNull())
        throw DecodeError(QStringLiteral("detail"), QStringLiteral("is required"));
    return { QString::fromUtf8(serialize(detail)) };
}

void APIError::writeJson(ObjectWriter& out) const
{
    out.set("detail", detail);
}

GenericOK GenericOK::fromJson(const ObjectReader& in)
{
    return { in.required<bool>("ok") };
}

void GenericOK::writeJson(ObjectWriter& out) const
{
    out.set("ok", ok);
}

} // namespace wire
