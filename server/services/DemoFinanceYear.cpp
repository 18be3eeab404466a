#include "DemoFinanceYear.h"

#include "FinanceLedgerService.h"
#include "FinancePendingService.h"

#include <QStringList>

#include <functional>
#include <vector>

namespace lumen {

namespace {

// A small fixed generator: the demo must come out the same on every machine.
class Dice {
public:
    explicit Dice(quint64 seed)
        : m_state(seed)
    {
    }
    quint32 next()
    {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        return quint32(m_state >> 33);
    }
    int between(int low, int high) { return low + int(next() % quint32(high - low + 1)); }
    bool chance(int percent) { return between(1, 100) <= percent; }
    // Cents between two whole amounts.
    wire::Money cents(int low, int high) { return wire::Money::fromMinor(qint64(between(low * 100, high * 100))); }
    template<class T> const T& pick(const std::vector<T>& values) { return values[next() % values.size()]; }

private:
    quint64 m_state;
};

struct Shop {
    const char16_t* name;
    std::vector<const char16_t*> goods;
};

const std::vector<Shop> kGroceries = {
    { u"Coles", { u"牛奶", u"鸡蛋", u"面包", u"鸡胸肉", u"西兰花", u"香蕉", u"酸奶", u"大米" } },
    { u"Woolworths", { u"牛肉", u"土豆", u"番茄", u"苹果", u"洗洁精", u"燕麦", u"奶酪" } },
    { u"Aldi", { u"三文鱼", u"菠菜", u"意面", u"橙子", u"黄油", u"咖啡豆" } },
    { u"亚洲超市", { u"豆腐", u"酱油", u"饺子", u"青菜", u"挂面", u"老干妈" } },
};
const std::vector<const char16_t*> kLunches
    = { u"午餐 拉面", u"午餐 越南粉", u"午餐 寿司", u"午餐 麻辣烫", u"午餐 三明治", u"午餐 炒饭", u"午餐 饺子" };
const std::vector<const char16_t*> kDinners
    = { u"聚餐 火锅", u"晚饭 烧烤", u"晚饭 泰国菜", u"晚饭 韩餐", u"晚饭 披萨", u"外卖 Uber Eats" };
const std::vector<const char16_t*> kShopping
    = { u"优衣库 外套", u"Kmart 收纳盒", u"JB Hi-Fi 耳机", u"宜家 台灯", u"运动鞋", u"Myer 衬衫" };
const std::vector<const char16_t*> kDaily = { u"纸巾 洗衣液", u"Chemist 洗发水", u"Bunnings 灯泡", u"理发" };
const std::vector<const char16_t*> kFun
    = { u"电影票", u"演唱会门票", u"桌游", u"博物馆展览", u"Steam 游戏", u"密室逃脱" };

} // namespace

DemoFinanceYear::DemoFinanceYear(FinanceLedgerService& ledger, FinancePendingService& pending)
    : m_ledger(ledger)
    , m_pending(pending)
{
}

DemoFinanceCounts DemoFinanceYear::write(db::Connection& connection, const Household& household, QDate today)
{
    DemoFinanceCounts counts;
    Dice dice(20261121);
    const QString owner = household.ownerName;
    const QString member = household.memberName;
    const QString shared = QStringLiteral("shared");

    auto book
        = [&](QDate day, wire::Money amount, const char* currency, const char16_t* category, const QString& description,
              const QString& spender, bool byMember, std::vector<NewTransactionItem> items = {}) {
              if (day > today || amount.minor() <= 0)
                  return;
              NewTransaction line;
              line.date = day;
              line.amount = amount;
              line.currency = QString::fromLatin1(currency);
              line.category = QString::fromUtf16(category);
              line.description = description;
              line.spender = spender;
              line.source = QStringLiteral("demo");
              line.items = std::move(items);
              counts.itemizedLines += line.items.empty() ? 0 : 1;
              m_ledger.insertIn(connection, household.id, byMember ? household.memberId : household.ownerId, line);
              ++counts.lines;
          };
    auto text = [](const char16_t* value) { return QString::fromUtf16(value); };

    const QDate first = today.addDays(-364);
    // A trip home for the new year, eight weeks before today's date last winter.
    const QDate tripStart = today.addDays(-290);
    const QDate tripEnd = tripStart.addDays(12);
    // The first Monday of the year decides the fortnights of rent and salary.
    QDate fortnight = first;
    while (fortnight.dayOfWeek() != 1)
        fortnight = fortnight.addDays(1);

    for (QDate day = first; day <= today; day = day.addDays(1)) {
        const int weekday = day.dayOfWeek();
        const bool away = day >= tripStart && day <= tripEnd;
        const bool payWeek = fortnight.daysTo(day) % 14 == 0;

        if (payWeek) {
            book(day, wire::Money::fromMinor(124000), "AUD", u"住房", text(u"房租（两周）"), shared, false);
            book(day.addDays(3), wire::Money::fromMinor(245000), "AUD", u"工资", text(u"工资"), member, true);
        }
        if (day.day() == 1) {
            book(day, wire::Money::fromMinor(200000), "AUD", u"奖学金", text(u"奖学金"), owner, false);
            book(day, wire::Money::fromMinor(7500), "AUD", u"水电网", text(u"NBN 宽带"), shared, false);
            book(day, wire::Money::fromMinor(3000), "AUD", u"通讯", text(u"Optus 话费"), owner, false);
            book(day, wire::Money::fromMinor(3000), "AUD", u"通讯", text(u"Telstra 话费"), member, true);
            book(day, dice.cents(1100, 1900), "AUD", u"转账", text(u"还信用卡"), owner, false);
        }
        if (day.day() == 3) {
            book(day, wire::Money::fromMinor(1899), "AUD", u"订阅", text(u"Netflix"), shared, true);
            book(day, wire::Money::fromMinor(2000), "USD", u"订阅", text(u"ChatGPT Plus"), owner, false);
            book(day, wire::Money::fromMinor(449), "AUD", u"订阅", text(u"iCloud"), member, true);
        }
        if (day.day() == 8) {
            book(day, wire::Money::fromMinor(6500), "AUD", u"运动", text(u"瑜伽月卡"), member, true);
            book(day, dice.cents(38, 52), "AUD", u"宠物", text(u"猫粮 猫砂"), shared, true);
        }
        if (day.day() == 28) {
            book(day, dice.cents(8, 16), "AUD", u"其他收入", text(u"储蓄账户利息"), shared, false);
        }
        if (day.day() == 15 && day.month() % 3 == 0) {
            book(day, dice.cents(260, 380), "AUD", u"水电网", text(u"电费（季度）"), shared, true);
            book(day.addDays(4), dice.cents(140, 210), "AUD", u"水电网", text(u"燃气费（季度）"), shared, false);
        }

        if (away) {
            // At home in China: everything in CNY.
            book(day, dice.cents(60, 220), "CNY", u"餐饮",
                dice.pick(std::vector<QString> { text(u"早茶"), text(u"火锅"), text(u"烤鸭"), text(u"奶茶") }), owner,
                false);
            if (dice.chance(60))
                book(day, dice.cents(18, 65), "CNY", u"交通", text(u"滴滴打车"), owner, false);
            if (dice.chance(25))
                book(day, dice.cents(150, 900), "CNY", u"购物", text(u"商场 衣服"), owner, false);
            continue;
        }

        // Groceries twice a week, every third receipt with its items.
        if (weekday == 3 || weekday == 7) {
            const Shop& shop = dice.pick(kGroceries);
            if (dice.chance(35)) {
                std::vector<NewTransactionItem> items;
                wire::Money sum;
                const int count = dice.between(3, 5);
                for (int i = 0; i < count; ++i) {
                    const wire::Money price = dice.cents(2, 18);
                    items.push_back({ QString::fromUtf16(shop.goods[size_t(i) % shop.goods.size()]), price });
                    sum += price;
                }
                book(day, sum, "AUD", u"买菜", text(shop.name), shared, weekday == 7, std::move(items));
            } else {
                book(day, dice.cents(35, 140), "AUD", u"买菜", text(shop.name), shared, weekday == 7);
            }
        }
        if (weekday <= 5) {
            if (dice.chance(55))
                book(day, dice.cents(12, 24), "AUD", u"餐饮", text(dice.pick(kLunches)), owner, false);
            if (dice.chance(40))
                book(day, dice.cents(14, 26), "AUD", u"餐饮", text(dice.pick(kLunches)), member, true);
            if (dice.chance(45))
                book(day, wire::Money::fromMinor(550), "AUD", u"餐饮", text(u"咖啡"), owner, false);
        }
        if (weekday == 5 || weekday == 6) {
            if (dice.chance(55))
                book(day, dice.cents(45, 130), "AUD", u"餐饮", text(dice.pick(kDinners)), shared, dice.chance(50));
        }
        if (weekday == 1)
            book(day, wire::Money::fromMinor(2000), "AUD", u"交通", text(u"myki 充值"), owner, false);
        if (day.day() % 9 == 0)
            book(day, dice.cents(55, 85), "AUD", u"交通", text(u"加油"), member, true);
        if (dice.chance(5))
            book(day, dice.cents(30, 260), "AUD", u"购物", text(dice.pick(kShopping)), dice.chance(50) ? owner : member,
                dice.chance(50));
        if (dice.chance(6))
            book(day, dice.cents(12, 55), "AUD", u"日用", text(dice.pick(kDaily)), shared, dice.chance(50));
        if (dice.chance(5))
            book(day, dice.cents(18, 120), "AUD", u"娱乐", text(dice.pick(kFun)), dice.chance(50) ? owner : shared,
                false);
        if (weekday == 6 && dice.chance(50))
            book(day, wire::Money::fromMinor(800), "AUD", u"运动", text(u"游泳"), owner, false);
    }

    // The year's single events, relative to today.
    book(tripStart.addDays(-20), wire::Money::fromMinor(142800), "AUD", u"旅行", text(u"机票 墨尔本—上海"), owner,
        false);
    book(tripStart.addDays(2), wire::Money::fromMinor(200000), "CNY", u"人情", text(u"过年红包"), owner, false);
    book(tripStart.addDays(5), wire::Money::fromMinor(88000), "CNY", u"医疗", text(u"体检"), owner, false);
    book(today.addDays(-200), wire::Money::fromMinor(68000), "AUD", u"教育", text(u"课程教材"), owner, false);
    book(today.addDays(-150), wire::Money::fromMinor(12000), "AUD", u"医疗", text(u"洗牙"), member, true);
    book(today.addDays(-120), wire::Money::fromMinor(41600), "AUD", u"旅行", text(u"悉尼周末 酒店"), shared, true);
    book(today.addDays(-119), wire::Money::fromMinor(23800), "AUD", u"旅行", text(u"悉尼周末 机票"), shared, false);
    book(today.addDays(-95), wire::Money::fromMinor(7999), "USD", u"购物", text(u"Amazon US 键盘"), owner, false);
    book(today.addDays(-90), wire::Money::fromMinor(18500), "AUD", u"宠物", text(u"猫咪疫苗"), shared, true);
    book(today.addDays(-80), wire::Money::fromMinor(32050), "AUD", u"报销", text(u"出差报销"), member, true);
    book(today.addDays(-60), wire::Money::fromMinor(6000), "AUD", u"人情", text(u"同事生日礼物"), member, true);
    book(today.addDays(-45), wire::Money::fromMinor(5990), "AUD", u"退款", text(u"退货 运动鞋"), owner, false);
    book(today.addDays(-30), wire::Money::fromMinor(35000), "AUD", u"其他收入", text(u"二手卖显示器"), owner, false);
    book(today.addDays(-20), wire::Money::fromMinor(1235), "AUD", u"余额调整", text(u"钱包对账"), owner, false);
    book(today.addDays(-10), wire::Money::fromMinor(2500), "AUD", u"其他", text(u"图书馆罚款"), owner, false);
    book(today.addDays(-2), wire::Money::fromMinor(1800), "CNY", u"餐饮", text(u"代购奶茶"), owner, false);

    // Lines from the bank file and one spoken sentence, still waiting.
    struct Waiting {
        int daysAgo;
        qint64 cents;
        const char* currency;
        const char16_t* description;
        const char16_t* category;
        const char16_t* raw; // null: the bank file's line
        const char* origin;
    };
    const Waiting waiting[] = {
        { 1, 5230, "AUD", u"WOOLWORTHS 3341 CARLTON", u"买菜", nullptr, "import" },
        { 1, 1840, "AUD", u"UBER *TRIP", u"交通", nullptr, "import" },
        { 2, 14900, "AUD", u"JB HI-FI MELBOURNE", u"", nullptr, "import" },
        { 3, 1200, "AUD", u"停车", u"交通", u"前天停车 12", "voice" },
    };
    for (const Waiting& line : waiting) {
        NewPendingImport pending;
        pending.date = today.addDays(-line.daysAgo);
        pending.amount = wire::Money::fromMinor(line.cents);
        pending.currency = QString::fromLatin1(line.currency);
        pending.description = QString::fromUtf16(line.description);
        pending.category = QString::fromUtf16(line.category);
        // A bank file's own line: its day, its text, the amount leaving the account.
        pending.rawText = line.raw
            ? QString::fromUtf16(line.raw)
            : QStringLiteral("%1 %2 -%3")
                  .arg(pending.date->toString(QStringLiteral("dd/MM")), pending.description, pending.amount->text());
        pending.origin = QString::fromLatin1(line.origin);
        m_pending.insertIn(connection, household.id, household.ownerId, pending);
        ++counts.pending;
    }
    return counts;
}

} // namespace lumen
