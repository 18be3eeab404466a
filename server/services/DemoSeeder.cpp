#include "DemoSeeder.h"

#include "AccountService.h"
#include "HouseholdService.h"
#include "LocalClock.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <sodium.h>

namespace lumen {

namespace {

const char* const kSeededKey = "demo_seeded";

struct DemoNote {
    const char* slug;
    const char* text;
};

const DemoNote kNotes[] = {
    { "bank-cards", R"md(---
title: 银行卡
category: 金融
owner: Velmar
updated: 2026-11-01
---
# 银行卡

| 卡 | 银行 | 类型 | 尾号 | 币种 | 用途 | 到期 |
|---|---|---|---|---|---|---|
| Everyday | CommBank | 借记卡 | 4821 | AUD | 日常开销、房租 | 2028-03 |
| Low Rate | CommBank | 信用卡 | 0937 | AUD | 订阅、网购 | 2027-09 |
| Saver | ING | 储蓄账户 | 5520 | AUD | 应急金（目标 6 个月开支） | — |
| 招行一卡通 | 招商银行 | 借记卡 | 7316 | CNY | 国内消费、还款 | 2029-06 |

挂失电话：CommBank 13 22 21；招商银行 95555。
)md" },
    { "car", R"md(---
title: 车
model: Toyota Corolla Hatch
year: 2019
plate: 1XY-4KD
odometer_km: 48210
purchase_price_aud: 21500
estimate_aud: 17800
insured: true
rego_due: 2027-02-14
---
# 2019 Toyota Corolla Hatch

- 登记（rego）到期：2027-02-14，提前两周在 VicRoads 续费。
- 保险：全险，年费约 1,180 AUD，3 月续保。
- 上次保养：2026-09-20，46,900 km；下次约 56,900 km 或 2027-03。
- 轮胎 2025 年换过前轮，后轮还能用一年左右。
)md" },
    { "devices", R"md(---
title: 电子设备
category: 实物
---
# 电子设备

| 物品 | 位置 | 买入 | 买入价 | 估值 | 状态 |
|---|---|---|---|---|---|
| 笔记本电脑 14 寸 | 墨尔本 | 2024-02 | 3,299 AUD | 2,100 AUD | 在用 |
| 手机 | 墨尔本 | 2025-10 | 1,599 AUD | 1,250 AUD | 在用 |
| 平板 | 青岛 | 2021-08 | 3,599 CNY | 1,200 CNY | 闲置 |

估值每季度手动更新一次。
)md" },
};

bool nameTaken(db::Connection& connection, const QString& name)
{
    auto query = connection.prepare("SELECT 1 FROM users WHERE username = :name");
    query.bind(":name", name);
    return query.step();
}

} // namespace

DemoSeeder::DemoSeeder(db::Database& database, AccountService& accounts, HouseholdService& households,
    TimeLedgerService& time, FinanceLedgerService& finance, FinancePendingService& financePending,
    std::shared_ptr<Clock> clock, QString assetsDir)
    : m_database(database)
    , m_accounts(accounts)
    , m_households(households)
    , m_time(time)
    , m_finance(finance)
    , m_financePending(financePending)
    , m_clock(std::move(clock))
    , m_assetsDir(std::move(assetsDir))
{
}

bool DemoSeeder::isSeeded()
{
    auto query = m_database.connection().prepare("SELECT 1 FROM meta WHERE key = :key");
    query.bind(":key", QString::fromLatin1(kSeededKey));
    return query.step();
}

QString DemoSeeder::generatePassword()
{
    // No look-alike characters: the password is read off a terminal and typed by hand.
    static const char alphabet[] = "abcdefghjkmnpqrstuvwxyzABCDEFGHJKLMNPQRSTUVWXYZ23456789";
    constexpr uint32_t size = sizeof(alphabet) - 1;
    QString out;
    for (int group = 0; group < 3; ++group) {
        if (group > 0)
            out.append(QLatin1Char('-'));
        for (int i = 0; i < 5; ++i)
            out.append(QLatin1Char(alphabet[randombytes_uniform(size)]));
    }
    return out;
}

SeedResult DemoSeeder::seed(const std::optional<QString>& password)
{
    SeedResult result;
    result.accounts = {
        { QStringLiteral("velmar"), QStringLiteral("Velmar"), QStringLiteral("owner"),
            password.value_or(generatePassword()) },
        { QStringLiteral("sefa"), QStringLiteral("Sefa"), QStringLiteral("member"),
            password.value_or(generatePassword()) },
    };
    if (isSeeded()) {
        result.alreadySeeded = true;
        result.accounts.clear();
        return result;
    }
    // Hash outside the write lock; argon2id takes its time on purpose.
    const QString ownerHash = m_accounts.hasher().hash(result.accounts[0].password);
    const QString memberHash = m_accounts.hasher().hash(result.accounts[1].password);

    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    // Asked again under the write lock: another process may have seeded meanwhile.
    const bool taken =
        [&] {
            auto seeded = connection.prepare("SELECT 1 FROM meta WHERE key = :key");
            seeded.bind(":key", QString::fromLatin1(kSeededKey));
            return seeded.step();
        }()
        || nameTaken(connection, result.accounts[0].username) || nameTaken(connection, result.accounts[1].username);
    if (taken) {
        result.alreadySeeded = true;
        result.accounts.clear();
        return result;
    }
    const UserRecord owner
        = m_accounts.insertUser(connection, result.accounts[0].username, ownerHash, result.accounts[0].displayName);
    const UserRecord member
        = m_accounts.insertUser(connection, result.accounts[1].username, memberHash, result.accounts[1].displayName);
    const BindResult bound = m_households.bindUserIn(connection, owner.id, member.id, QStringLiteral("member"));
    const LocalClock local(*m_clock, m_households.householdOf(owner.id).timezone);
    result.ledgers = DemoLedgers(m_time).write(connection, local, owner.id, member.id);
    result.finance = DemoFinanceYear(m_finance, m_financePending)
                         .write(connection,
                             { bound.householdId, owner.id, member.id, result.accounts[0].displayName,
                                 result.accounts[1].displayName },
                             local.today());
    connection.prepare("INSERT INTO meta (key, value) VALUES (:key, :value)")
        .bind(":key", QString::fromLatin1(kSeededKey))
        .bind(":value", m_clock->now().toUTC().toString(Qt::ISODate))
        .run();
    transaction.commit();
    writeNotes(result);
    return result;
}

void DemoSeeder::writeNotes(SeedResult& result) const
{
    QDir().mkpath(m_assetsDir);
    for (const DemoNote& note : kNotes) {
        const QString path = QDir(m_assetsDir).filePath(QString::fromLatin1(note.slug) + QStringLiteral(".md"));
        // The owner's own notes win over the demo's.
        if (QFile::exists(path))
            continue;
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            continue;
        file.write(note.text);
        if (file.commit())
            result.notesWritten.append(QString::fromLatin1(note.slug));
    }
}

} // namespace lumen
