#include "FinanceLedgerSchema.h"

namespace lumen::db {

// Amounts become integer cents (every currency the ledger books in has two decimals), so a sum
// is exact. Each line gets its AUD figure fixed now: lines booked before without one take the
// fallback rate of their currency, as every reader did until now. Items keep `amount_cents`.
const char* const kFinanceLedgerSchema = R"sql(
ALTER TABLE finance_transactions ADD COLUMN amount_minor INTEGER NOT NULL DEFAULT 0;
ALTER TABLE finance_transactions ADD COLUMN amount_aud_minor INTEGER NOT NULL DEFAULT 0;
ALTER TABLE finance_transactions ADD COLUMN amount_cny_minor INTEGER;
ALTER TABLE finance_transactions ADD COLUMN updated_by INTEGER REFERENCES users(id);
ALTER TABLE finance_transactions ADD COLUMN updated_at INTEGER;
UPDATE finance_transactions SET
    fx_rate = COALESCE(fx_rate, CASE currency WHEN 'CNY' THEN 0.21 WHEN 'USD' THEN 1.5 ELSE 1.0 END);
UPDATE finance_transactions SET
    amount_minor = CAST(ROUND(amount * 100) AS INTEGER),
    amount_aud_minor = CAST(ROUND(COALESCE(amount_aud, amount * fx_rate) * 100) AS INTEGER),
    amount_cny_minor = CASE WHEN amount_cny IS NOT NULL THEN CAST(ROUND(amount_cny * 100) AS INTEGER) END,
    updated_by = created_by,
    updated_at = created_at;
ALTER TABLE finance_transactions DROP COLUMN amount;
ALTER TABLE finance_transactions DROP COLUMN amount_aud;
ALTER TABLE finance_transactions DROP COLUMN amount_cny;
ALTER TABLE finance_transaction_items DROP COLUMN amount;

-- A month's figures read only this index: day range first, then what they group and add.
DROP INDEX finance_transactions_household_date;
CREATE INDEX finance_transactions_month
    ON finance_transactions(household_id, date, direction, category, spender, amount_aud_minor);
CREATE INDEX finance_transactions_household_id ON finance_transactions(household_id, id);

-- Each household's categories; lines name theirs. The defaults are copied into every household.
CREATE TABLE finance_category_defaults (
    name       TEXT    NOT NULL PRIMARY KEY,
    color      TEXT    NOT NULL,
    sort_order INTEGER NOT NULL,
    group_name TEXT,
    nature     TEXT,
    kind       TEXT    NOT NULL
);
INSERT INTO finance_category_defaults (name, color, sort_order, group_name, nature, kind) VALUES
    ('餐饮',     '#FF9F0A', 10,  '吃',   '必要', 'expense'),
    ('买菜',     '#34C759', 20,  '吃',   '必要', 'expense'),
    ('交通',     '#0A84FF', 30,  '出行', '必要', 'expense'),
    ('购物',     '#FF375F', 40,  '生活', '享受', 'expense'),
    ('日用',     '#A2845E', 50,  '生活', '必要', 'expense'),
    ('住房',     '#5E5CE6', 60,  '居住', '必要', 'expense'),
    ('水电网',   '#64D2FF', 70,  '居住', '必要', 'expense'),
    ('通讯',     '#30B0C7', 80,  '居住', '必要', 'expense'),
    ('医疗',     '#FF453A', 90,  '健康', '必要', 'expense'),
    ('教育',     '#BF5AF2', 100, '成长', '投资', 'expense'),
    ('娱乐',     '#FFD60A', 110, '玩',   '享受', 'expense'),
    ('旅行',     '#00C7BE', 120, '玩',   '享受', 'expense'),
    ('人情',     '#FF6482', 130, '生活', '必要', 'expense'),
    ('订阅',     '#8E8E93', 140, '生活', '享受', 'expense'),
    ('运动',     '#32D74B', 150, '健康', '投资', 'expense'),
    ('宠物',     '#AC8E68', 160, '生活', '享受', 'expense'),
    ('其他',     '#98989D', 170, '其他', NULL,   'expense'),
    ('工资',     '#1F8F3D', 200, '收入', NULL,   'income'),
    ('奖学金',   '#248A3D', 210, '收入', NULL,   'income'),
    ('报销',     '#30A14E', 220, '收入', NULL,   'income'),
    ('退款',     '#40C463', 230, '收入', NULL,   'income'),
    ('其他收入', '#7EE787', 240, '收入', NULL,   'income'),
    ('转账',     '#636366', 300, '记账', NULL,   'expense'),
    ('余额调整', '#48484A', 310, '记账', NULL,   'expense');

CREATE TABLE finance_categories (
    id           INTEGER PRIMARY KEY,
    household_id INTEGER NOT NULL REFERENCES households(id),
    name         TEXT    NOT NULL,
    color        TEXT,
    sort_order   INTEGER NOT NULL DEFAULT 1000,
    group_name   TEXT,
    nature       TEXT    CHECK (nature IN ('必要', '投资', '享受')),
    kind         TEXT    NOT NULL DEFAULT 'expense' CHECK (kind IN ('expense', 'income')),
    UNIQUE (household_id, name)
);
INSERT INTO finance_categories (household_id, name, color, sort_order, group_name, nature, kind)
    SELECT h.id, d.name, d.color, d.sort_order, d.group_name, d.nature, d.kind
    FROM households h, finance_category_defaults d ORDER BY h.id, d.sort_order;
-- Names the household already booked under stay valid.
INSERT OR IGNORE INTO finance_categories (household_id, name, kind)
    SELECT household_id, category, MAX(direction) FROM finance_transactions
    WHERE category IS NOT NULL AND category <> '' GROUP BY household_id, category;

-- Lines awaiting review: imported, spoken, or parked by a reconciliation. A decided line keeps
-- who decided and, when confirmed, the ledger line it became.
CREATE TABLE finance_pending_imports (
    id               INTEGER PRIMARY KEY,
    household_id     INTEGER NOT NULL REFERENCES households(id),
    created_by       INTEGER NOT NULL REFERENCES users(id),
    date             TEXT,
    amount_minor     INTEGER,
    amount_aud_minor INTEGER,
    currency         TEXT,
    fx_rate          REAL,
    description      TEXT,
    description_cn   TEXT,
    category         TEXT,
    spender          TEXT,
    note             TEXT,
    raw_text         TEXT,
    account_id       INTEGER,
    direction        TEXT    NOT NULL DEFAULT 'expense' CHECK (direction IN ('income', 'expense')),
    origin           TEXT,
    origin_meta      TEXT,
    status           TEXT    NOT NULL DEFAULT 'pending' CHECK (status IN ('pending', 'confirmed', 'skipped')),
    transaction_id   INTEGER REFERENCES finance_transactions(id) ON DELETE SET NULL,
    decided_by       INTEGER REFERENCES users(id),
    decided_at       INTEGER,
    created_at       INTEGER NOT NULL
);
CREATE INDEX finance_pending_imports_household ON finance_pending_imports(household_id, status, id);
)sql";

} // namespace lumen::db
