#include "ServerHttp.h"
#include "TestServer.h"

#include "Backend.h"
#include "db/Database.h"
#include "db/Migrations.h"
#include "finance/FinanceCategory.h"
#include "finance/FinanceReports.h"
#include "finance/PendingImport.h"
#include "finance/Transaction.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <set>

using namespace Qt::StringLiterals;

namespace {

QJsonObject line(
    double amount, const QString& category, const QString& date = u"2026-11-10"_s, const QString& currency = u"AUD"_s)
{
    return { { u"date"_s, date }, { u"amount"_s, amount }, { u"category"_s, category }, { u"currency"_s, currency },
        { u"description"_s, u"测试"_s }, { u"description_cn"_s, u"测试"_s }, { u"spender"_s, u"Velmar"_s },
        { u"note"_s, u""_s }, { u"reviewed"_s, 1 } };
}

QJsonArray items(std::initializer_list<std::pair<const char16_t*, double>> list)
{
    QJsonArray out;
    for (const auto& [name, amount] : list)
        out.append(QJsonObject { { u"name"_s, QString::fromUtf16(name) }, { u"amount"_s, amount } });
    return out;
}

template<class T> T decoded(const Reply& reply)
{
    if (reply.status != 200)
        qWarning() << reply.status << QString::fromStdString(reply.body);
    return wire::fromBytes<T>(QByteArray::fromStdString(reply.body));
}

bool isChinese(const QString& text)
{
    static const QRegularExpression han(u"\\p{Han}"_s);
    return han.match(text).hasMatch();
}

} // namespace

class FinanceTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<TestServer>();
        m_owner = m_server->createUser(u"velmar"_s, u"pw"_s, u"Velmar"_s);
        m_member = m_server->createUser(u"sefa"_s, u"pw"_s, u"Sefa"_s);
        m_server->createUser(u"kit"_s, u"pw"_s, u"Kit"_s);
        m_server->bind(m_owner, m_member);
        m_http = std::make_unique<ServerHttp>(*m_server);
        m_token = m_server->issueToken(u"velmar"_s);
        m_memberToken = m_server->issueToken(u"sefa"_s);
        m_outsider = m_server->issueToken(u"kit"_s);
    }
    void cleanup()
    {
        m_http.reset();
        m_server.reset();
    }

    // Both members read and change one book; each line remembers who wrote it.
    void theLedgerIsTheHouseholds()
    {
        const int id = create(line(42.5, u"餐饮"_s));
        const auto seen = decoded<std::vector<wire::Transaction>>(m_http->get("/finance/transactions", m_memberToken));
        QCOMPARE(seen.size(), size_t(1));
        QCOMPARE(seen.front().id, id);
        QCOMPARE(seen.front().spender, std::optional(u"Velmar"_s));
        QCOMPARE(m_http->put(path(id), QJsonObject { { u"spender"_s, u"Sefa"_s } }, m_memberToken).status, 200);
        QCOMPARE(transaction(id).spender, std::optional(u"Sefa"_s));
        QCOMPARE(writers(id), (std::pair<int, int>(m_owner, m_member)));
        QVERIFY(decoded<std::vector<wire::Transaction>>(m_http->get("/finance/transactions", m_outsider)).empty());
    }

    // Every id of another household answers 404 and changes nothing.
    void foreignIdsAreNotFound_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QString>("route"); // {tx}, {item}, {category}, {pending} stand for the household's ids
        QTest::addColumn<QJsonObject>("body");
        QTest::newRow("read a line") << u"GET"_s << u"/finance/transactions/{tx}"_s << QJsonObject();
        QTest::newRow("change a line") << u"PUT"_s << u"/finance/transactions/{tx}"_s
                                       << QJsonObject { { u"amount"_s, 1 } };
        QTest::newRow("delete a line") << u"DELETE"_s << u"/finance/transactions/{tx}"_s << QJsonObject();
        QTest::newRow("read items") << u"GET"_s << u"/finance/transactions/{tx}/items"_s << QJsonObject();
        QTest::newRow("add an item") << u"POST"_s << u"/finance/transactions/{tx}/items"_s
                                     << QJsonObject { { u"name"_s, u"x"_s }, { u"amount"_s, 1 } };
        QTest::newRow("delete an item") << u"DELETE"_s << u"/finance/transactions/{tx}/items/{item}"_s << QJsonObject();
        QTest::newRow("rename a category")
            << u"PUT"_s << u"/finance/categories/{category}"_s << QJsonObject { { u"name"_s, u"偷改"_s } };
        QTest::newRow("delete a category") << u"DELETE"_s << u"/finance/categories/{category}"_s << QJsonObject();
        QTest::newRow("confirm a review line") << u"POST"_s << u"/finance/pending/{pending}/confirm"_s << QJsonObject();
        QTest::newRow("skip a review line") << u"POST"_s << u"/finance/pending/{pending}/skip"_s << QJsonObject();
        QTest::newRow("confirm a batch") << u"POST"_s << u"/finance/pending/confirm-batch"_s
                                         << QJsonObject { { u"ids"_s, QJsonArray { u"{pending}"_s } } };
        QTest::newRow("skip a batch") << u"POST"_s << u"/finance/pending/skip-batch"_s
                                      << QJsonObject { { u"ids"_s, QJsonArray { u"{pending}"_s } } };
    }
    void foreignIdsAreNotFound()
    {
        QFETCH(QString, method);
        QFETCH(QString, route);
        QFETCH(QJsonObject, body);
        QJsonObject withItems = line(10, u"买菜"_s);
        withItems.insert(u"items"_s, items({ { u"牛奶", 10 } }));
        const int tx = create(withItems);
        const int item
            = decoded<wire::TransactionItemsResponse>(m_http->get(path(tx) + "/items", m_token)).items.front().id;
        const int category = categoryId(u"餐饮"_s);
        const int pending = voice(u"昨天停车 12"_s);
        auto fill = [&](QString text) {
            return text.replace(u"{tx}"_s, QString::number(tx))
                .replace(u"{item}"_s, QString::number(item))
                .replace(u"{category}"_s, QString::number(category))
                .replace(u"{pending}"_s, QString::number(pending));
        };
        QByteArray json = QJsonDocument(body).toJson(QJsonDocument::Compact);
        json.replace("\"{pending}\"", QByteArray::number(pending));
        const QByteArray before = householdState();

        const Reply reply = m_http->send(
            method.toStdString(), fill(route).toStdString(), method == u"GET"_s ? "" : json.toStdString(), m_outsider);
        QCOMPARE(reply.status, 404);
        QVERIFY(isChinese(reply.detail()));
        QCOMPARE(householdState(), before);
    }

    // Refused input gets a 4xx with the reason in Chinese, and the ledger stays as it was.
    void badInputWritesNothing_data()
    {
        QTest::addColumn<QString>("route");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        const auto with = [](const QString& key, const QJsonValue& value) {
            QJsonObject body = line(20, u"餐饮"_s);
            body.insert(key, value);
            return QJsonDocument(body).toJson(QJsonDocument::Compact);
        };
        const QString create = u"/finance/transactions"_s;
        QTest::newRow("unknown category") << create << with(u"category"_s, u"炼金术"_s) << 422;
        QTest::newRow("negative amount") << create << with(u"amount"_s, -5) << 422;
        QTest::newRow("zero amount") << create << with(u"amount"_s, 0) << 422;
        QTest::newRow("a third decimal") << create << with(u"amount"_s, 12.345) << 422;
        QTest::newRow("NaN amount") << create << with(u"amount"_s, 123456).replace("123456", "NaN") << 422;
        QTest::newRow("amount as text") << create << with(u"amount"_s, u"50"_s) << 422;
        QTest::newRow("date that does not parse") << create << with(u"date"_s, u"2026-02-30"_s) << 422;
        QTest::newRow("unknown currency") << create << with(u"currency"_s, u"JPY"_s) << 422;
        QTest::newRow("items that do not add up")
            << create << with(u"items"_s, items({ { u"牛奶", 5 }, { u"面包", 5 } })) << 422;
        QTest::newRow("an item without a name") << create << with(u"items"_s, items({ { u"", 20 } })) << 422;
        QTest::newRow("ten megabytes") << create << QByteArray(10 * 1024 * 1024, 'x') << 413;
        QTest::newRow("update to a negative amount")
            << u"/finance/transactions/{tx}"_s << QByteArray(R"({"amount":-1})") << 422;
        QTest::newRow("update to an unknown category")
            << u"/finance/transactions/{tx}"_s << QByteArray(R"({"category":"炼金术"})") << 422;
        QTest::newRow("item beyond the line")
            << u"/finance/transactions/{tx}/items"_s << QByteArray(R"({"name":"蛋糕","amount":30})") << 422;
        QTest::newRow("category with a bad colour")
            << u"/finance/categories"_s << QByteArray(R"({"name":"咖啡","color":"red"})") << 422;
        QTest::newRow("category named like a reserved one")
            << u"/finance/categories"_s << QByteArray(R"({"name":"转账","color":""})") << 409;
        QTest::newRow("empty batch") << u"/finance/pending/skip-batch"_s << QByteArray(R"({"ids":[]})") << 422;
        QTest::newRow("sentence without an amount")
            << u"/finance/voice/text"_s << QByteArray(R"({"text":"今天天气不错"})") << 422;
    }
    void badInputWritesNothing()
    {
        QFETCH(QString, route);
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        const int tx = create(line(20, u"餐饮"_s));
        const QByteArray before = householdState();
        const std::string target = route.replace(u"{tx}"_s, QString::number(tx)).toStdString();
        const Reply reply
            = m_http->send(route.endsWith(QString::number(tx)) ? "PUT" : "POST", target, body.toStdString(), m_token);
        QCOMPARE(reply.status, status);
        QVERIFY2(isChinese(reply.detail()), qPrintable(reply.detail()));
        QCOMPARE(householdState(), before);
    }

    // Amounts are kept in cents: sums come out exact, and each currency gets its AUD figure once.
    void amountsAreExact_data()
    {
        QTest::addColumn<QString>("currency");
        QTest::addColumn<double>("amount");
        QTest::addColumn<double>("audEach");
        QTest::addColumn<QString>("monthTotal"); // as it is written in the summary, ten lines
        QTest::newRow("AUD cents") << u"AUD"_s << 0.1 << 0.1 << u"1"_s;
        QTest::newRow("CNY at 0.21") << u"CNY"_s << 18.9 << 3.97 << u"39.7"_s;
        QTest::newRow("USD at 1.5") << u"USD"_s << 19.99 << 29.99 << u"299.9"_s;
    }
    void amountsAreExact()
    {
        QFETCH(QString, currency);
        QFETCH(double, amount);
        QFETCH(double, audEach);
        QFETCH(QString, monthTotal);
        for (int i = 0; i < 10; ++i)
            create(line(amount, u"餐饮"_s, u"2026-11-10"_s, currency));
        const auto lines = decoded<std::vector<wire::Transaction>>(m_http->get("/finance/transactions", m_token));
        QCOMPARE(lines.front().amount, amount);
        QCOMPARE(lines.front().amount_aud, std::optional(audEach));
        QCOMPARE(lines.front().currency, std::optional(currency));
        const Reply summary = m_http->get("/finance/summary?month=2026-11", m_token);
        QVERIFY2(
            QString::fromStdString(summary.body).contains(u"\"expense\":%1,"_s.arg(monthTotal)), summary.body.c_str());
    }

    void itemsAddUp()
    {
        QJsonObject receipt = line(103, u"买菜"_s);
        receipt.insert(u"items"_s, items({ { u"牛肉", 60 }, { u"蔬菜", 40 } })); // 100 of 103: within 5 %
        const Reply created = m_http->post("/finance/transactions", receipt, m_token);
        QCOMPARE(created.status, 200);
        const auto answer = decoded<wire::CreateTransactionResponse>(created);
        QCOMPARE(answer.items_created, std::optional(2));
        const std::string itemsPath = path(answer.id) + "/items";
        auto listed = decoded<wire::TransactionItemsResponse>(m_http->get(itemsPath, m_memberToken)).items;
        QCOMPARE(listed.size(), size_t(2));
        QCOMPARE(listed[0].name, u"牛肉"_s);
        QCOMPARE(listed[0].amount_cents, qint64(6000));

        const auto added = decoded<wire::TransactionItem>(
            m_http->post(itemsPath, QJsonObject { { u"name"_s, u"葱"_s }, { u"amount"_s, 3 } }, m_memberToken));
        QCOMPARE(added.sort_order, 2);
        QCOMPARE(transaction(answer.id).items_count, std::optional(3));
        QCOMPARE(m_http->del(itemsPath + "/" + std::to_string(listed[0].id), m_token).status, 200);
        QCOMPARE(m_http->del(itemsPath + "/" + std::to_string(listed[0].id), m_token).status, 404);
        // A new amount the remaining items no longer fit is refused while they stand.
        QCOMPARE(m_http->put(path(answer.id), QJsonObject { { u"amount"_s, 200 } }, m_token).status, 422);
        QCOMPARE(transaction(answer.id).amount, 103.0);
    }

    // An absent field stays; a new category carries its direction along.
    void updatesChangeOnlyWhatIsSent()
    {
        const int id = create(line(80, u"餐饮"_s));
        const wire::Transaction before = transaction(id);
        QCOMPARE(m_http->put(path(id), QJsonObject { { u"category"_s, u"退款"_s } }, m_token).status, 200);
        wire::Transaction after = transaction(id);
        QCOMPARE(after.direction, std::optional(u"income"_s));
        after.category = before.category;
        after.direction = before.direction;
        QCOMPARE(after, before);

        QCOMPARE(m_http
                     ->put(path(id),
                         QJsonObject { { u"date"_s, u"03/11/2026"_s }, { u"amount"_s, 70.05 },
                             { u"confirmation_status"_s, u"reviewed"_s } },
                         m_token)
                     .status,
            200);
        after = transaction(id);
        QCOMPARE(after.date, u"2026-11-03"_s);
        QCOMPARE(after.amount, 70.05);
        QCOMPARE(after.amount_aud, std::optional(70.05));
        QCOMPARE(after.confirmation_status, std::optional(u"reviewed"_s));
        QCOMPARE(m_http->del(path(id), m_memberToken).status, 200);
        QCOMPARE(m_http->get(path(id), m_token).status, 404);
    }

    void categoriesAreTheHouseholds()
    {
        auto names = [&](const QString& token) {
            QStringList out;
            for (const auto& category :
                decoded<std::vector<wire::FinanceCategory>>(m_http->get("/finance/categories", token)))
                out.append(category.name);
            return out;
        };
        QStringList defaults = names(m_token);
        QCOMPARE(defaults.size(), 24);
        QVERIFY(defaults.contains(u"转账"_s) && defaults.contains(u"余额调整"_s) && defaults.contains(u"工资"_s));

        const int lunch = create(line(15, u"餐饮"_s));
        const Reply created = m_http->post(
            "/finance/categories", QJsonObject { { u"name"_s, u"咖啡"_s }, { u"color"_s, u"#6f4e37"_s } }, m_token);
        QCOMPARE(created.status, 200);
        QVERIFY(names(m_memberToken).contains(u"咖啡"_s));
        QVERIFY(!names(m_outsider).contains(u"咖啡"_s));
        QCOMPARE(
            m_http->post("/finance/categories", QJsonObject { { u"name"_s, u"咖啡"_s } }, m_memberToken).status, 409);

        // A rename takes the household's lines along; a delete leaves them their name.
        const std::string dining = "/finance/categories/" + std::to_string(categoryId(u"餐饮"_s));
        QCOMPARE(m_http->put(dining, QJsonObject { { u"name"_s, u"吃饭"_s } }, m_memberToken).status, 200);
        QCOMPARE(transaction(lunch).category, std::optional(u"吃饭"_s));
        QCOMPARE(m_http->del(dining, m_token).status, 200);
        QCOMPARE(transaction(lunch).category, std::optional(u"吃饭"_s));
        QCOMPARE(m_http->put(path(lunch), QJsonObject { { u"note"_s, u"还能改"_s } }, m_token).status, 200);

        for (const QString& reserved : { u"转账"_s, u"余额调整"_s }) {
            const std::string route = "/finance/categories/" + std::to_string(categoryId(reserved));
            QCOMPARE(m_http->put(route, QJsonObject { { u"name"_s, u"别的"_s } }, m_token).status, 409);
            QCOMPARE(m_http->del(route, m_token).status, 409);
        }
        QVERIFY(names(m_token).contains(u"转账"_s));
    }

    // Transfers and adjustments move no money in or out; everything else adds up by AUD cents.
    void monthFigures()
    {
        create(line(100, u"餐饮"_s, u"2026-11-02"_s));
        create(line(50, u"餐饮"_s, u"2026-11-02"_s));
        create(line(1000, u"交通"_s, u"2026-11-20"_s, u"CNY"_s)); // 210 AUD
        create(line(3000, u"工资"_s, u"2026-11-15"_s));
        create(line(500, u"转账"_s, u"2026-11-16"_s));
        create(line(9, u"余额调整"_s, u"2026-11-16"_s));
        create(line(40, u"餐饮"_s, u"2026-10-31"_s));
        create(line(7, u"餐饮"_s, u"2025-12-01"_s));

        const auto summary = decoded<wire::FinanceSummary>(m_http->get("/finance/summary?month=2026-11", m_token));
        QCOMPARE(summary.expense, 360.0);
        QCOMPARE(summary.income, 3000.0);
        QCOMPARE(summary.net, 2640.0);
        QCOMPARE(summary.count, 4);
        QCOMPARE(summary.previous_expense, 40.0);
        QCOMPARE(summary.daily.size(), size_t(30));
        QCOMPARE(summary.daily[1].expense, 150.0);
        QCOMPARE(summary.by_category.front().category, u"交通"_s);
        QCOMPARE(summary.by_category.front().share, 210.0 / 360.0);
        QCOMPARE(summary.by_category.back().kind, u"income"_s);

        const auto trend
            = decoded<wire::FinanceTrend>(m_http->get("/finance/trend?granularity=month&month=2026-11", m_token));
        QCOMPARE(trend.points.size(), size_t(12));
        QCOMPARE(trend.points.front().period, u"2025-12"_s);
        QCOMPARE(trend.points.front().expense, 7.0);
        QCOMPARE(trend.points[10].expense, 40.0);
        QCOMPARE(trend.points.back().net, 2640.0);
        const auto days
            = decoded<wire::FinanceTrend>(m_http->get("/finance/trend?granularity=day&month=2026-11", m_token));
        QCOMPARE(days.points.size(), size_t(30));

        const auto flow = decoded<wire::CashFlow>(m_http->get("/finance/cash-flow?month=2026-11", m_memberToken));
        QCOMPARE(flow, (wire::CashFlow { u"2026-11"_s, 3000, 360, 2640 }));
        QCOMPARE(decoded<QStringList>(m_http->get("/finance/months", m_memberToken)),
            (QStringList { u"2026-11"_s, u"2026-10"_s, u"2025-12"_s }));
        QCOMPARE(m_http->get("/finance/summary?month=2026-13", m_token).status, 422);
        QCOMPARE(m_http->get("/finance/trend?granularity=hour&month=2026-11", m_token).status, 422);
    }

    void linesAwaitingReview()
    {
        const int parking = voice(u"昨天停车 12"_s);
        const int coffee = voice(u"今天咖啡 5.5"_s);
        const int cake = voice(u"蛋糕 30"_s);
        const auto waiting = decoded<wire::PendingListResponse>(m_http->get("/finance/pending", m_memberToken));
        QCOMPARE(waiting.count, 3);
        QCOMPARE(waiting.items.front().id, parking);
        QCOMPARE(waiting.items.front().date, std::optional(u"2026-11-20"_s));
        QCOMPARE(waiting.items.front().origin, std::optional(u"voice"_s));

        QCOMPARE(m_http
                     ->post("/finance/pending/" + std::to_string(parking) + "/confirm",
                         QJsonObject { { u"category"_s, u"交通"_s }, { u"spender"_s, u"Sefa"_s } }, m_memberToken)
                     .status,
            200);
        const auto booked = decoded<std::vector<wire::Transaction>>(m_http->get("/finance/transactions", m_token));
        QCOMPARE(booked.size(), size_t(1));
        QCOMPARE(booked.front().amount, 12.0);
        QCOMPARE(booked.front().spender, std::optional(u"Sefa"_s));
        QCOMPARE(booked.front().source, std::optional(u"voice"_s));
        QCOMPARE(m_http->post("/finance/pending/" + std::to_string(parking) + "/skip", "", m_token).status, 409);

        // A batch with a decided line in it is refused whole.
        const QByteArray before = householdState();
        const Reply refused = m_http->post(
            "/finance/pending/confirm-batch", QJsonObject { { u"ids"_s, QJsonArray { coffee, parking } } }, m_token);
        QCOMPARE(refused.status, 409);
        QVERIFY(refused.detail().contains(QString::number(parking)));
        QCOMPARE(householdState(), before);
        QCOMPARE(
            m_http->post("/finance/pending/confirm-batch", QJsonObject { { u"ids"_s, QJsonArray { coffee } } }, m_token)
                .status,
            200);
        QCOMPARE(m_http->post("/finance/pending/skip-batch", QJsonObject { { u"ids"_s, QJsonArray { cake } } }, m_token)
                     .status,
            200);
        QCOMPARE(decoded<wire::PendingListResponse>(m_http->get("/finance/pending", m_token)).count, 0);
        QCOMPARE(
            decoded<std::vector<wire::Transaction>>(m_http->get("/finance/transactions", m_token)).size(), size_t(2));
    }

    // A confirmed chat card and a direct create of the same booking write the same line.
    void aChatCardBooksWhatADirectCreateBooks()
    {
        QJsonObject direct = line(8.5, u"买菜"_s, u"2026-11-21"_s);
        direct.insert(u"items"_s, items({ { u"牛奶", 5 }, { u"面包", 3.5 } }));
        direct.insert(u"note"_s, u"cc:牛奶 5 面包 3.5"_s);
        const int directId = create(direct);

        QJsonObject payload { { u"amount"_s, 8.5 }, { u"currency"_s, u"AUD"_s }, { u"category"_s, u"买菜"_s },
            { u"date"_s, u"2026-11-21"_s }, { u"description"_s, u"测试"_s }, { u"spender"_s, u"Velmar"_s },
            { u"items"_s, items({ { u"牛奶", 5 }, { u"面包", 3.5 } }) }, { u"_kind"_s, u"create"_s } };
        const Reply card = m_http->post("/pending",
            QJsonObject {
                { u"domain"_s, u"finance"_s }, { u"payload"_s, payload }, { u"source_text"_s, u"牛奶 5 面包 3.5"_s } },
            m_token);
        const QString cardId = card.object().value(u"id"_s).toString();
        QCOMPARE(m_http->post("/pending/" + cardId.toStdString() + "/commit", "", m_token).status, 200);

        const auto lines = decoded<std::vector<wire::Transaction>>(m_http->get("/finance/transactions", m_token));
        QCOMPARE(lines.size(), size_t(2));
        wire::Transaction fromCard = lines.front();
        wire::Transaction fromApp = lines.back();
        QCOMPARE(fromApp.id, directId);
        QCOMPARE(fromCard.source, std::optional(u"chat"_s));
        fromCard.id = fromApp.id;
        fromCard.source = fromApp.source;
        fromCard.desc_cn = fromApp.desc_cn;
        QCOMPARE(fromCard, fromApp);

        // A card under a category the household does not have waits, and books nothing.
        payload.insert(u"category"_s, u"炼金术"_s);
        const QString second
            = m_http->post(
                        "/pending", QJsonObject { { u"domain"_s, u"finance"_s }, { u"payload"_s, payload } }, m_token)
                  .object()
                  .value(u"id"_s)
                  .toString();
        const Reply refused = m_http->post("/pending/" + second.toStdString() + "/commit", "", m_token);
        QCOMPARE(refused.status, 422);
        QVERIFY(refused.detail().contains(u"炼金术"_s));
        QCOMPARE(
            decoded<std::vector<wire::Transaction>>(m_http->get("/finance/transactions", m_token)).size(), size_t(2));
    }

    // Lines booked before amounts were kept in cents arrive intact, with their AUD figure fixed.
    void olderLinesMoveToCents()
    {
        QTemporaryDir dir;
        lumen::db::Database db(dir.filePath(u"t.db"_s));
        std::vector<lumen::db::Migration> before;
        for (const auto& migration : lumen::db::migrations()) {
            if (migration.version < 4)
                before.push_back(migration);
        }
        db.migrate(before);
        db.connection().exec(
            "INSERT INTO users (id, username, display_name, password_hash, created_at) VALUES (1, 'a', 'A', 'x', 0);"
            "INSERT INTO households (id, owner_id, created_at) VALUES (1, 1, 0);"
            "INSERT INTO finance_transactions (household_id, created_by, date, amount, amount_aud, currency, category, "
            "direction, created_at) VALUES (1, 1, '2026-01-02', 18.9, NULL, 'CNY', '奶茶', 'expense', 5), "
            "(1, 1, '2026-01-03', 0.29, 0.29, 'AUD', '餐饮', 'expense', 6);"
            "INSERT INTO finance_transaction_items (transaction_id, name, amount, amount_cents, sort_order, "
            "created_at) VALUES (1, '珍珠', 18.9, 1890, 0, 5);");
        db.migrate(lumen::db::migrations());
        auto rows = db.connection().prepare(
            "SELECT amount_minor, amount_aud_minor, fx_rate, updated_by FROM finance_transactions ORDER BY id");
        QVERIFY(rows.step());
        QCOMPARE(rows.integer(0), qint64(1890));
        QCOMPARE(rows.integer(1), qint64(397));
        QCOMPARE(rows.real(2), 0.21);
        QCOMPARE(rows.integer(3), qint64(1));
        QVERIFY(rows.step());
        QCOMPARE(rows.integer(0), qint64(29));
        QCOMPARE(rows.integer(1), qint64(29));
        // A name the household booked under stays a category of its own.
        auto category = db.connection().prepare("SELECT COUNT(*) FROM finance_categories WHERE name = '奶茶'");
        QVERIFY(category.step());
        QCOMPARE(category.integer(0), qint64(1));
    }

    void theDemoYear()
    {
        TestServer server;
        server.seedDemo(u"demo"_s);
        ServerHttp http(server);
        const QString token = server.issueToken(u"sefa"_s);
        const auto lines = decoded<std::vector<wire::Transaction>>(http.get("/finance/transactions", token));
        QVERIFY(lines.size() > 500);
        std::set<QString> spenders, currencies, categories, months;
        int itemized = 0;
        for (const auto& line : lines) {
            spenders.insert(line.spender.value_or(QString()));
            currencies.insert(line.currency.value_or(QString()));
            categories.insert(line.category.value_or(QString()));
            months.insert(line.date.left(7));
            itemized += line.items_count.value_or(0) > 0;
            QVERIFY(line.date <= u"2026-11-21"_s);
        }
        QCOMPARE(spenders, (std::set<QString> { u"Velmar"_s, u"Sefa"_s, u"shared"_s }));
        QCOMPARE(currencies, (std::set<QString> { u"AUD"_s, u"CNY"_s, u"USD"_s }));
        QVERIFY(months.size() >= 12);
        QVERIFY(itemized >= 10);
        for (const auto& category : decoded<std::vector<wire::FinanceCategory>>(http.get("/finance/categories", token)))
            QVERIFY2(categories.count(category.name), qPrintable(category.name));
        QCOMPARE(decoded<wire::PendingListResponse>(http.get("/finance/pending", token)).count, 4);
        const auto summary = decoded<wire::FinanceSummary>(http.get("/finance/summary?month=2026-10", token));
        QVERIFY(summary.expense > 2000 && summary.income > summary.expense);
    }

private:
    int create(const QJsonObject& body)
    {
        const Reply reply = m_http->post("/finance/transactions", body, m_token);
        if (reply.status != 200)
            qWarning() << reply.detail();
        return reply.object().value(u"id"_s).toInt();
    }
    int voice(const QString& sentence)
    {
        const Reply reply = m_http->post("/finance/voice/text", QJsonObject { { u"text"_s, sentence } }, m_token);
        return reply.object().value(u"pending_id"_s).toInt();
    }
    static std::string path(int id) { return "/finance/transactions/" + std::to_string(id); }
    wire::Transaction transaction(int id) { return decoded<wire::Transaction>(m_http->get(path(id), m_token)); }
    int categoryId(const QString& name)
    {
        for (const auto& category :
            decoded<std::vector<wire::FinanceCategory>>(m_http->get("/finance/categories", m_token))) {
            if (category.name == name)
                return category.id;
        }
        return 0;
    }
    std::pair<int, int> writers(int id)
    {
        auto query = m_server->server().backend().database().connection().prepare(
            "SELECT created_by, updated_by FROM finance_transactions WHERE id = :id");
        query.bind(":id", id);
        query.step();
        return { int(query.integer(0)), int(query.integer(1)) };
    }
    // Everything the household's finance holds, as its members read it.
    QByteArray householdState()
    {
        QByteArray state;
        for (const char* route : { "/finance/transactions", "/finance/categories", "/finance/pending" })
            state += QByteArray::fromStdString(m_http->get(route, m_token).body);
        for (const auto& line : decoded<std::vector<wire::Transaction>>(m_http->get("/finance/transactions", m_token)))
            state += QByteArray::fromStdString(m_http->get(path(line.id) + "/items", m_token).body);
        return state;
    }

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerHttp> m_http;
    int m_owner = 0;
    int m_member = 0;
    QString m_token;
    QString m_memberToken;
    QString m_outsider;
};

QTEST_GUILESS_MAIN(FinanceTest)
#include "FinanceTest.moc"
