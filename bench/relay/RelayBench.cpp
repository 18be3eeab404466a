// Field accuracy and /intent latency of mintbridge's built-in understanding, measured the way
// a client meets it: the relay in-process on a loopback port, every sentence of the
// evaluation sets sent over HTTP with its `ts`, the `parsed` answer compared field by field.
// Then latency over a keep-alive connection (median, p90, p99), for the built-in path and for
// a model command that answers at once (the cost of starting a process).
//   bench-relay [requests]      (default 2000)

#include "RelayServer.h"

#include <httplib.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

struct Case {
    QString text;
    QString now; // ISO 8601 without offset: the household's clock
    QJsonObject expected;
};

struct Tally {
    int right = 0;
    int total = 0;
};

QList<Case> loadCases(const char* name)
{
    QList<Case> cases;
    QFile file(QStringLiteral(RELAY_EVAL_DIR) + QLatin1Char('/') + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        return cases;
    const QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
    const QString now = root.value(QStringLiteral("now")).toString();
    for (const QJsonValue& value : root.value(QStringLiteral("cases")).toArray()) {
        const QJsonObject c = value.toObject();
        cases.append({ c.value(QStringLiteral("text")).toString(), c.value(QStringLiteral("now")).toString(now), c });
    }
    return cases;
}

QString number(const QJsonValue& value)
{
    return value.isDouble() ? QString::number(std::round(value.toDouble() * 100) / 100, 'g', 10) : QStringLiteral("-");
}

QString items(const QJsonArray& list, bool pairs)
{
    QStringList parts;
    for (const QJsonValue& item : list) {
        if (pairs)
            parts.append(item.toArray().at(0).toString() + u' ' + number(item.toArray().at(1)));
        else
            parts.append(item.toObject().value(QStringLiteral("name")).toString() + u' '
                + number(item.toObject().value(QStringLiteral("amount"))));
    }
    return parts.join(QStringLiteral(", "));
}

class Relay {
public:
    explicit Relay(const QString& modelCommand = {})
    {
        mintbridge::RelayConfig config;
        config.port = 0;
        config.token = QStringLiteral("bench-token");
        config.modelCommand = modelCommand;
        config.dailyLimit = 1000000;
        config.killSwitchPath = m_home.path() + QStringLiteral("/.mintbridge-disable");
        m_server = std::make_unique<mintbridge::RelayServer>(config);
        m_server->start();
        m_client = std::make_unique<httplib::Client>("127.0.0.1", m_server->port());
        m_client->set_keep_alive(true);
        m_client->set_tcp_nodelay(true);
        m_client->set_read_timeout(60);
    }

    QJsonObject intent(const QString& text, const QString& section, const QString& ts)
    {
        QJsonObject body { { QStringLiteral("text"), text }, { QStringLiteral("section"), section } };
        if (!ts.isEmpty())
            body.insert(QStringLiteral("ts"), ts);
        const httplib::Headers headers { { "Authorization", "Bearer bench-token" } };
        const auto result = m_client->Post(
            "/intent", headers, QJsonDocument(body).toJson(QJsonDocument::Compact).toStdString(), "application/json");
        if (!result || result->status != 200)
            return {};
        return QJsonDocument::fromJson(QByteArray::fromStdString(result->body))
            .object()
            .value(QStringLiteral("parsed"))
            .toObject();
    }

    QString home() const { return m_home.path(); }

private:
    QTemporaryDir m_home;
    std::unique_ptr<mintbridge::RelayServer> m_server;
    std::unique_ptr<httplib::Client> m_client;
};

void scoreSet(Relay& relay, const char* name)
{
    const QList<Case> cases = loadCases(name);
    QMap<QString, Tally> tallies;
    const auto check = [&tallies](const QString& field, const QString& expected, const QString& actual) {
        Tally& tally = tallies[field];
        ++tally.total;
        tally.right += expected == actual ? 1 : 0;
    };
    for (const Case& c : cases) {
        const QString today = c.now.left(10);
        const QJsonObject finance = relay.intent(c.text, QStringLiteral("finance"), c.now);
        const QString intent = c.expected.value(QStringLiteral("intent")).toString();
        if (c.expected.contains(QStringLiteral("finance"))) {
            const QJsonObject e = c.expected.value(QStringLiteral("finance")).toObject();
            check(QStringLiteral("finance.amount"), number(e.value(QStringLiteral("amount"))),
                number(finance.value(QStringLiteral("amount"))));
            check(QStringLiteral("finance.currency"),
                e.value(QStringLiteral("currency")).toString(QStringLiteral("AUD")),
                finance.value(QStringLiteral("currency")).toString());
            check(QStringLiteral("finance.category"), e.value(QStringLiteral("category")).toString(),
                finance.value(QStringLiteral("category")).toString());
            check(QStringLiteral("finance.spender"), e.value(QStringLiteral("spender")).toString(),
                finance.value(QStringLiteral("spender")).toString());
            check(QStringLiteral("finance.date"), e.value(QStringLiteral("date")).toString(today),
                finance.value(QStringLiteral("date")).toString());
            check(QStringLiteral("finance.description"), e.value(QStringLiteral("description")).toString(),
                finance.value(QStringLiteral("description")).toString());
            check(QStringLiteral("finance.items"), items(e.value(QStringLiteral("items")).toArray(), true),
                items(finance.value(QStringLiteral("items")).toArray(), false));
        } else if (intent != QStringLiteral("editLast")) {
            // What is not a booking must not come back as one.
            const bool booked
                = finance.contains(QStringLiteral("amount")) && !finance.contains(QStringLiteral("error"));
            check(QStringLiteral("finance.rejects"), QStringLiteral("rejected"),
                booked ? QStringLiteral("booked") : QStringLiteral("rejected"));
        }

        const QJsonObject time = relay.intent(c.text, QStringLiteral("time"), c.now);
        const QJsonObject t = c.expected.value(QStringLiteral("time")).toObject();
        const QString action = t.value(QStringLiteral("action")).toString(QStringLiteral("unknown"));
        check(QStringLiteral("time.action"), action, time.value(QStringLiteral("action")).toString());
        if (t.contains(QStringLiteral("activity")))
            check(QStringLiteral("time.activity"), t.value(QStringLiteral("activity")).toString(),
                time.value(QStringLiteral("activity")).toString());
        if (t.contains(QStringLiteral("category")))
            check(QStringLiteral("time.category"), t.value(QStringLiteral("category")).toString(),
                time.value(QStringLiteral("category")).toString());
        if (action == QStringLiteral("manual")) {
            const auto field = [&time](const char* key) {
                const QString value = time.value(QLatin1String(key)).toString();
                return value.isEmpty() ? QStringLiteral("-") : value;
            };
            check(QStringLiteral("time.date"), t.value(QStringLiteral("date")).toString(today), field("date"));
            check(QStringLiteral("time.start_time"),
                t.value(QStringLiteral("start_time")).toString(QStringLiteral("-")), field("start_time"));
            check(QStringLiteral("time.end_time"), t.value(QStringLiteral("end_time")).toString(QStringLiteral("-")),
                field("end_time"));
            check(QStringLiteral("time.duration_min"), number(t.value(QStringLiteral("duration_min"))),
                number(time.value(QStringLiteral("duration_min"))));
        }
    }

    std::printf("\n%s: %lld sentences, each sent to both sections\n", name, static_cast<long long>(cases.size()));
    int right = 0;
    int total = 0;
    for (auto it = tallies.cbegin(); it != tallies.cend(); ++it) {
        std::printf("  %-20s %4d/%-4d %6.1f%%\n", qPrintable(it.key()), it->right, it->total,
            100.0 * it->right / std::max(1, it->total));
        right += it->right;
        total += it->total;
    }
    std::printf("  %-20s %4d/%-4d %6.1f%%\n", "all fields", right, total, 100.0 * right / std::max(1, total));
}

void latency(Relay& relay, const char* label, int requests, const QStringList& sentences)
{
    std::vector<double> millis;
    millis.reserve(size_t(requests));
    relay.intent(sentences.first(), QStringLiteral("time"), {}); // warm-up: connection and lexicon
    QElapsedTimer total;
    total.start();
    for (int i = 0; i < requests; ++i) {
        const QString section = i % 2 == 0 ? QStringLiteral("finance") : QStringLiteral("time");
        QElapsedTimer one;
        one.start();
        relay.intent(sentences.at(i % sentences.size()), section, QStringLiteral("2026-05-14T20:15:00"));
        millis.push_back(one.nsecsElapsed() / 1e6);
    }
    const double seconds = total.nsecsElapsed() / 1e9;
    std::sort(millis.begin(), millis.end());
    const auto at = [&millis](double q) { return millis[std::min(millis.size() - 1, size_t(q * millis.size()))]; };
    std::printf("%-34s n=%-5d median %7.3f ms  p90 %7.3f ms  p99 %7.3f ms  max %7.3f ms  (%.0f req/s)\n", label,
        requests, at(0.5), at(0.9), at(0.99), millis.back(), requests / seconds);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    // The relay's line per model call would bury the figures.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& message) {
        if (type != QtInfoMsg)
            std::fprintf(stderr, "%s\n", qPrintable(message));
    });
    const int requests = argc > 1 ? std::max(10, QString::fromLocal8Bit(argv[1]).toInt()) : 2000;

    Relay relay;
    std::printf("Field accuracy through POST /intent (built-in understanding)\n");
    scoreSet(relay, "sentences.json");
    scoreSet(relay, "fresh.json");

    QStringList sentences;
    for (const char* name : { "sentences.json", "fresh.json" }) {
        for (const Case& c : loadCases(name))
            sentences.append(c.text);
    }
    std::printf("\nLatency of POST /intent over loopback, one keep-alive connection, sentences alternating sections\n");
    latency(relay, "built-in understanding", requests, sentences);

    Relay commanded;
    QFile script(commanded.home() + QStringLiteral("/model.sh"));
    if (script.open(QIODevice::WriteOnly)) {
        script.write("#!/bin/sh\ncat >/dev/null\necho '{\"action\":\"stop\",\"amount\":1}'\n");
        script.close();
        script.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        Relay viaCommand(script.fileName());
        latency(viaCommand, "model command answering at once", std::min(requests, 300), sentences);
    }
    return 0;
}
