#include "Migrations.h"

#include "CaptureKeysSchema.h"
#include "FinanceLedgerSchema.h"

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

// Time categories belong to a household and are numbered inside it, so the ids the client has
// wired in (1 工作, 6 睡眠, 29 杂务 ...) mean the same in every household. The defaults live in
// a table of their own: a new household copies them, and so do households older than this step.
constexpr const char* kLedgers = R"sql(
CREATE TABLE time_category_defaults (
    id         INTEGER PRIMARY KEY,
    name       TEXT    NOT NULL,
    color      TEXT    NOT NULL,
    sort_order INTEGER NOT NULL,
    value_dim  TEXT    NOT NULL
);
INSERT INTO time_category_defaults (id, name, color, sort_order, value_dim) VALUES
    (1,  '工作', '#0A84FF', 10,  '推进'),
    (2,  '学习', '#5E5CE6', 20,  '推进'),
    (3,  '吃饭', '#FF9F0A', 30,  '维持'),
    (12, '做饭', '#FFD60A', 40,  '维持'),
    (4,  '家务', '#8E8E93', 50,  '维持'),
    (13, '洗漱', '#64D2FF', 60,  '维持'),
    (8,  '运动', '#30D158', 70,  '维持'),
    (9,  '通勤', '#AC8E68', 80,  '应付'),
    (29, '杂务', '#A2845E', 90,  '应付'),
    (7,  '娱乐', '#FF375F', 100, '消遣'),
    (6,  '睡眠', '#5856D6', 110, '睡眠');

CREATE TABLE time_categories (
    household_id INTEGER NOT NULL REFERENCES households(id),
    id           INTEGER NOT NULL,
    name         TEXT    NOT NULL,
    color        TEXT,
    sort_order   INTEGER NOT NULL DEFAULT 100,
    value_dim    TEXT,
    keywords     TEXT    NOT NULL DEFAULT '',
    deleted_at   INTEGER,
    PRIMARY KEY (household_id, id)
);
CREATE UNIQUE INDEX time_categories_live_name ON time_categories(household_id, name) WHERE deleted_at IS NULL;
INSERT INTO time_categories (household_id, id, name, color, sort_order, value_dim)
    SELECT h.id, d.id, d.name, d.color, d.sort_order, d.value_dim FROM households h, time_category_defaults d;

-- Dates are yyyy-MM-dd and clocks HH:mm in the household's zone; a block belongs to the day
-- it began and may end after midnight.
CREATE TABLE time_entries (
    id           INTEGER PRIMARY KEY,
    user_id      INTEGER NOT NULL REFERENCES users(id),
    date         TEXT    NOT NULL,
    start_time   TEXT    NOT NULL,
    end_time     TEXT,
    duration_min REAL,
    activity     TEXT    NOT NULL,
    category_id  INTEGER,
    source       TEXT    NOT NULL,
    confirmed    INTEGER NOT NULL DEFAULT 1 CHECK (confirmed IN (0, 1)),
    raw_note     TEXT,
    rest_quality TEXT,
    place        TEXT,
    created_at   INTEGER NOT NULL,
    updated_at   INTEGER NOT NULL
);
CREATE INDEX time_entries_user_date ON time_entries(user_id, date, start_time);
CREATE INDEX time_entries_user_confirmed ON time_entries(user_id, confirmed, date);

-- The one running activity of a user.
CREATE TABLE time_current (
    user_id     INTEGER PRIMARY KEY REFERENCES users(id),
    activity    TEXT    NOT NULL,
    category_id INTEGER,
    started_at  INTEGER NOT NULL,
    source      TEXT    NOT NULL,
    updated_at  INTEGER NOT NULL
);

-- How often a captured application was confirmed into a category, and what was learnt from it.
CREATE TABLE time_habit_counts (
    user_id     INTEGER NOT NULL REFERENCES users(id),
    app         TEXT    NOT NULL,
    category_id INTEGER NOT NULL,
    count       INTEGER NOT NULL,
    PRIMARY KEY (user_id, app, category_id)
);
CREATE TABLE time_habits (
    user_id     INTEGER NOT NULL REFERENCES users(id),
    app         TEXT    NOT NULL,
    category_id INTEGER NOT NULL,
    learned_at  INTEGER NOT NULL,
    PRIMARY KEY (user_id, app)
);

CREATE TABLE pending_items (
    id             INTEGER PRIMARY KEY,
    user_id        INTEGER NOT NULL REFERENCES users(id),
    domain         TEXT    NOT NULL,
    payload        TEXT    NOT NULL,
    source_session TEXT,
    source_text    TEXT,
    status         TEXT    NOT NULL DEFAULT 'pending' CHECK (status IN ('pending', 'committed', 'rejected')),
    committed_ref  TEXT,
    created_at     INTEGER NOT NULL,
    committed_at   INTEGER,
    rejected_at    INTEGER
);
CREATE INDEX pending_items_user_status ON pending_items(user_id, status, id);

-- The household's money ledger, shared by its members.
CREATE TABLE finance_transactions (
    id                  INTEGER PRIMARY KEY,
    household_id        INTEGER NOT NULL REFERENCES households(id),
    created_by          INTEGER NOT NULL REFERENCES users(id),
    date                TEXT    NOT NULL,
    amount              REAL    NOT NULL,
    amount_aud          REAL,
    currency            TEXT    NOT NULL,
    fx_rate             REAL,
    category            TEXT,
    spender             TEXT,
    description         TEXT,
    description_cn      TEXT,
    note                TEXT,
    source              TEXT,
    confirmation_status TEXT,
    reconciled_with     TEXT,
    account_id          INTEGER,
    account_name        TEXT,
    direction           TEXT    NOT NULL DEFAULT 'expense' CHECK (direction IN ('income', 'expense')),
    owner               TEXT,
    split_ratio         REAL,
    amount_cny          REAL,
    created_at          INTEGER NOT NULL
);
CREATE INDEX finance_transactions_household_date ON finance_transactions(household_id, date);
CREATE INDEX finance_transactions_creator ON finance_transactions(created_by, id);

CREATE TABLE finance_transaction_items (
    id             INTEGER PRIMARY KEY,
    transaction_id INTEGER NOT NULL REFERENCES finance_transactions(id) ON DELETE CASCADE,
    name           TEXT    NOT NULL,
    amount         REAL    NOT NULL,
    amount_cents   INTEGER NOT NULL,
    sort_order     INTEGER NOT NULL,
    created_at     INTEGER NOT NULL
);
CREATE INDEX finance_transaction_items_transaction ON finance_transaction_items(transaction_id, sort_order);

-- The household's own words for finance categories, on top of the compiled-in ones.
CREATE TABLE finance_keywords (
    id           INTEGER PRIMARY KEY,
    household_id INTEGER NOT NULL REFERENCES households(id),
    keyword      TEXT    NOT NULL,
    category     TEXT    NOT NULL,
    kind         TEXT    NOT NULL DEFAULT 'expense' CHECK (kind IN ('expense', 'income', 'reserved')),
    created_by   INTEGER NOT NULL REFERENCES users(id),
    created_at   INTEGER NOT NULL,
    UNIQUE (household_id, keyword)
);
)sql";

// Each user's chat sessions, keyed by the id the client chose, and the server's copy of each
// conversation. Times are the client's text form (UTC, milliseconds, "Z") because clients sort
// them as text. `next_seq` only rises, so a seq is never handed out twice, not even after a clear.
constexpr const char* kChatSessions = R"sql(
CREATE TABLE chat_sessions (
    id             INTEGER PRIMARY KEY,
    user_id        INTEGER NOT NULL REFERENCES users(id),
    client_id      TEXT    NOT NULL,
    title          TEXT,
    model          TEXT,
    cli_session_id TEXT,
    is_pinned      INTEGER NOT NULL DEFAULT 0 CHECK (is_pinned IN (0, 1)),
    is_archived    INTEGER NOT NULL DEFAULT 0 CHECK (is_archived IN (0, 1)),
    created_at     TEXT    NOT NULL,
    last_active_at TEXT    NOT NULL,
    next_seq       INTEGER NOT NULL DEFAULT 1,
    UNIQUE (user_id, client_id)
);

CREATE TABLE chat_messages (
    id         INTEGER PRIMARY KEY,
    session_id INTEGER NOT NULL REFERENCES chat_sessions(id) ON DELETE CASCADE,
    client_id  TEXT    NOT NULL,
    seq        INTEGER NOT NULL,
    role       TEXT    NOT NULL CHECK (role IN ('user', 'assistant')),
    kind       TEXT    NOT NULL,
    content    TEXT    NOT NULL,
    ts         TEXT    NOT NULL,
    created_at INTEGER NOT NULL,
    UNIQUE (session_id, client_id),
    UNIQUE (session_id, seq)
);

-- What a conversation proposed last, for follow-ups after the server restarted.
CREATE INDEX pending_items_user_session ON pending_items(user_id, source_session, id);
)sql";

} // namespace

const std::vector<Migration>& migrations()
{
    static const std::vector<Migration> all = {
        { 1, "accounts, households, tokens", kAccounts },
        { 2, "time ledger, pending items, finance ledger, lexicon", kLedgers },
        { 3, "chat sessions and their messages", kChatSessions },
        { 4, "finance ledger in exact amounts, categories, lines awaiting review", kFinanceLedgerSchema },
        { 7, "capture segment keys", kCaptureKeysSchema },
    };
    return all;
}

} // namespace lumen::db
