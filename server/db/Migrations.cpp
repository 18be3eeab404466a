#include "Migrations.h"

namespace lumen::db {

namespace {

// Times are Unix seconds (UTC). Usernames are stored lower-cased.
constexpr const char* kAccounts = R"sql(
CREATE TABLE users (
    id            INTEGER PRIMARY KEY,
    username      TEXT    NOT NULL UNIQUE,
    display_name  TEXT    NOT NULL,
    password_hash TEXT    NOT NULL,
    avatar_url    TEXT,
    created_at    INTEGER NOT NULL
);

CREATE TABLE households (
    id         INTEGER PRIMARY KEY,
    owner_id   INTEGER NOT NULL REFERENCES users(id),
    timezone   TEXT    NOT NULL DEFAULT 'Australia/Melbourne',
    currency   TEXT    NOT NULL DEFAULT 'AUD',
    created_at INTEGER NOT NULL
);
CREATE INDEX households_owner ON households(owner_id);

-- Every user belongs to exactly one household at a time.
CREATE TABLE memberships (
    user_id      INTEGER PRIMARY KEY REFERENCES users(id),
    household_id INTEGER NOT NULL REFERENCES households(id),
    role         TEXT    NOT NULL CHECK (role IN ('owner', 'member', 'admin')),
    joined_at    INTEGER NOT NULL
);
CREATE INDEX memberships_household ON memberships(household_id);

-- Only a hash of each bearer token is kept.
CREATE TABLE tokens (
    id           INTEGER PRIMARY KEY,
    token_hash   BLOB    NOT NULL UNIQUE,
    user_id      INTEGER NOT NULL REFERENCES users(id),
    created_at   INTEGER NOT NULL,
    last_used_at INTEGER NOT NULL,
    revoked_at   INTEGER
);
CREATE INDEX tokens_user ON tokens(user_id);

CREATE TABLE meta (
    key   TEXT PRIMARY KEY,
    value TEXT NOT NULL
);
)sql";

} // namespace

const std::vector<Migration>& migrations()
{
    static const std::vector<Migration> all = {
        { 1, "accounts, households, tokens", kAccounts },
    };
    return all;
}

} // namespace lumen::db
