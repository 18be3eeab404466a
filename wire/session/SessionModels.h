#pragma once

// Records of /auth, /health and the answers shared by most writes.

#include "json/AnyCodableValue.h"
#include "json/JsonCoding.h"

#include <optional>
#include <vector>

namespace wire {

struct UserRelation {
    int id = 0;
    QString username;
    QString display_name;
    std::optional<QString> avatar_url;
    QString role; // "admin" or "member"
    QString direction; // "outgoing" when this user bound the other one

    bool operator==(const UserRelation&) const = default;
    static UserRelation fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct UserProfile {
    using Relation = UserRelation;

    int id = 0;
    QString username;
    QString display_name;
    std::optional<QString> avatar_url;
    std::optional<std::vector<Relation>> relations;

    bool operator==(const UserProfile&) const = default;
    static UserProfile fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct LoginRequest {
    QString username;
    QString password;

    bool operator==(const LoginRequest&) const = default;
    static LoginRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct LoginResponse {
    QString token;
    int user_id = 0;
    QString username;
    QString display_name;

    bool operator==(const LoginResponse&) const = default;
    static LoginResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct AddRelationRequest {
    QString username;
    QString role;

    bool operator==(const AddRelationRequest&) const = default;
    static AddRelationRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TransferOwnerRequest {
    int member_id = 0;

    bool operator==(const TransferOwnerRequest&) const = default;
    static TransferOwnerRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

// The backend's error body.
struct APIError {
    QString detail;

    bool operator==(const APIError&) const = default;
    static APIError fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct GenericOK {
    bool ok = false;

    bool operator==(const GenericOK&) const = default;
    static GenericOK fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

// Encodes as {} for POSTs that send nothing.
struct EmptyBody {
    bool operator==(const EmptyBody&) const = default;
    static EmptyBody fromJson(const ObjectReader&) { return {}; }
    void writeJson(ObjectWriter&) const { }
};

using HealthResponse = std::map<QString, QString>;

} // namespace wire
