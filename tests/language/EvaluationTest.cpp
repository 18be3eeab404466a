// Field accuracy over the household's evaluation sentences (eval/sentences.json, and
// eval/fresh.json written after the rules to see how they carry). Each case is
// read the way its consumer reads it: the relay's finance and time sections through the
// parsers, the agent through the classifier. Prints per-field accuracy and every miss; fails
// when any field is under 90 %.

#include "IntentClassifier.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QTest>
#include <QTimeZone>

#include <cmath>

using namespace language;

namespace {

struct Tally {
    int right = 0;
    int total = 0;
    double ratio() const { return total == 0 ? 1.0 : double(right) / total; }
};

class Scorer {
public:
    void check(const QString& field, const QString& text, const QString& expected, const QString& actual)
    {
        Tally& tally = m_tallies[field];
        ++tally.total;
        if (expected == actual)
            ++tally.right;
        else
            m_misses.append(QStringLiteral("%1 | %2 | expected \"%3\" got \"%4\"").arg(field, text, expected, actual));
    }
    const QMap<QString, Tally>& tallies() const { return m_tallies; }
    const QStringList& misses() const { return m_misses; }

private:
    QMap<QString, Tally> m_tallies;
    QStringList m_misses;
};

QString number(const std::optional<double>& value)
{
    return value ? QString::number(std::round(*value * 100) / 100, 'g', 10) : QStringLiteral("-");
}

QString number(const QJsonValue& value)
{
    return value.isDouble() ? QString::number(std::round(value.toDouble() * 100) / 100, 'g', 10) : QStringLiteral("-");
}

QString items(const QList<FinanceItem>& list)
{
    QStringList parts;
    for (const FinanceItem& item : list)
        parts.append(item.name + u' ' + number(std::optional<double>(item.amount)));
    return parts.join(QStringLiteral(", "));
}

QString items(const QJsonArray& list)
{
    QStringList parts;
    for (const QJsonValue& item : list)
        parts.append(item.toArray().at(0).toString() + u' ' + number(item.toArray().at(1)));
    return parts.join(QStringLiteral(", "));
}

QString day(const QDate& date)
{
    return date.isValid() ? date.toString(QStringLiteral("yyyy-MM-dd")) : QStringLiteral("-");
}

QString clock(const std::optional<QTime>& time)
{
    return time ? time->toString(QStringLiteral("HH:mm")) : QStringLiteral("-");
}

QString domainName(QueryDomain domain)
{
    return domain == QueryDomain::finance ? QStringLiteral("finance") : QStringLiteral("time");
}

} // namespace

class EvaluationTest : public QObject {
    Q_OBJECT

private slots:
    void everyFieldIsRightNineTimesInTen_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("household set") << QStringLiteral(LANGUAGE_EVAL_DIR "/sentences.json");
        QTest::newRow("fresh set") << QStringLiteral(LANGUAGE_EVAL_DIR "/fresh.json");
    }
    void everyFieldIsRightNineTimesInTen()
    {
        QFETCH(QString, path);
        QFile file(path);
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        const QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
        const QTimeZone zone(root.value(QStringLiteral("zone")).toString().toUtf8());
        QVERIFY(zone.isValid());
        const QJsonArray cases = root.value(QStringLiteral("cases")).toArray();
        QVERIFY(cases.size() >= 100);

        Scorer scorer;
        for (const QJsonValue& value : cases) {
            const QJsonObject c = value.toObject();
            const QString text = c.value(QStringLiteral("text")).toString();
            const QString nowText
                = c.value(QStringLiteral("now")).toString(root.value(QStringLiteral("now")).toString());
            const QDateTime local = QDateTime::fromString(nowText, Qt::ISODate);
            Context context;
            context.zone = zone;
            context.now = QDateTime(local.date(), local.time(), zone);
            const QString today = day(local.date());
            const QString expectedIntent = c.value(QStringLiteral("intent")).toString();

            const Intent intent = understand(text, context);
            scorer.check(QStringLiteral("intent"), text, expectedIntent, intentKindName(intent.kind));

            const FinanceParse finance = parseFinance(text, context);
            if (c.contains(QStringLiteral("finance"))) {
                const QJsonObject e = c.value(QStringLiteral("finance")).toObject();
                scorer.check(QStringLiteral("finance.amount"), text, number(e.value(QStringLiteral("amount"))),
                    number(finance.amount));
                scorer.check(QStringLiteral("finance.currency"), text,
                    e.value(QStringLiteral("currency")).toString(QStringLiteral("AUD")), finance.currency);
                scorer.check(QStringLiteral("finance.category"), text, e.value(QStringLiteral("category")).toString(),
                    finance.category);
                scorer.check(QStringLiteral("finance.income"), text,
                    e.value(QStringLiteral("income")).toBool() ? QStringLiteral("income") : QStringLiteral("not"),
                    finance.isIncome() ? QStringLiteral("income") : QStringLiteral("not"));
                scorer.check(QStringLiteral("finance.spender"), text, e.value(QStringLiteral("spender")).toString(),
                    finance.spender);
                scorer.check(QStringLiteral("finance.date"), text, e.value(QStringLiteral("date")).toString(today),
                    day(finance.date));
                scorer.check(QStringLiteral("finance.description"), text,
                    e.value(QStringLiteral("description")).toString(), finance.description);
                scorer.check(QStringLiteral("finance.items"), text, items(e.value(QStringLiteral("items")).toArray()),
                    items(finance.items));
            } else if (expectedIntent != QStringLiteral("editLast")) {
                // The relay's finance section must not make a booking of what is not one.
                scorer.check(QStringLiteral("finance.rejects"), text, QStringLiteral("rejected"),
                    finance.isBooking() ? QStringLiteral("booked ") + number(finance.amount)
                                        : QStringLiteral("rejected"));
            }

            const TimeParse time = parseTime(text, context);
            const QJsonObject t = c.value(QStringLiteral("time")).toObject();
            const QString expectedAction = t.value(QStringLiteral("action")).toString(QStringLiteral("unknown"));
            scorer.check(QStringLiteral("time.action"), text, expectedAction, actionName(time.action));
            if (t.contains(QStringLiteral("activity")))
                scorer.check(QStringLiteral("time.activity"), text, t.value(QStringLiteral("activity")).toString(),
                    time.activity);
            if (t.contains(QStringLiteral("category")))
                scorer.check(QStringLiteral("time.category"), text, t.value(QStringLiteral("category")).toString(),
                    time.category);
            if (expectedAction == QStringLiteral("manual")) {
                scorer.check(
                    QStringLiteral("time.date"), text, t.value(QStringLiteral("date")).toString(today), day(time.date));
                scorer.check(QStringLiteral("time.start_time"), text, t.value(QStringLiteral("start_time")).toString(),
                    clock(time.startTime));
                scorer.check(QStringLiteral("time.end_time"), text, t.value(QStringLiteral("end_time")).toString(),
                    clock(time.endTime));
                scorer.check(QStringLiteral("time.duration_min"), text, number(t.value(QStringLiteral("duration_min"))),
                    number(time.durationMin));
            }

            if (c.contains(QStringLiteral("query"))) {
                const QJsonObject e = c.value(QStringLiteral("query")).toObject();
                const std::optional<Query> q = intent.query;
                scorer.check(QStringLiteral("query.domain"), text, e.value(QStringLiteral("domain")).toString(),
                    q ? domainName(q->domain) : QStringLiteral("-"));
                scorer.check(QStringLiteral("query.range"), text,
                    e.value(QStringLiteral("from")).toString() + u'/' + e.value(QStringLiteral("to")).toString(),
                    q ? day(q->range.from) + u'/' + day(q->range.to) : QStringLiteral("-"));
                scorer.check(QStringLiteral("query.category"), text, e.value(QStringLiteral("category")).toString(),
                    q ? q->category : QStringLiteral("-"));
            }

            if (c.contains(QStringLiteral("edit"))) {
                const QJsonObject e = c.value(QStringLiteral("edit")).toObject();
                const Edit edit = intent.edit.value_or(Edit {});
                QStringList expected;
                QStringList actual;
                for (auto it = e.begin(); it != e.end(); ++it) {
                    expected.append(
                        it.key() + u'=' + (it.value().isDouble() ? number(it.value()) : it.value().toString()));
                    QString got;
                    if (it.key() == u"amount")
                        got = number(edit.amount);
                    else if (it.key() == u"currency")
                        got = edit.currency;
                    else if (it.key() == u"category")
                        got = edit.category;
                    else if (it.key() == u"date")
                        got = edit.date ? day(*edit.date) : QStringLiteral("-");
                    else if (it.key() == u"spender")
                        got = edit.spender;
                    actual.append(it.key() + u'=' + got);
                }
                scorer.check(QStringLiteral("edit"), text, expected.join(u' '), actual.join(u' '));
            }
        }

        for (const QString& miss : scorer.misses())
            qInfo().noquote() << "miss:" << miss;
        bool allAbove = true;
        for (auto it = scorer.tallies().cbegin(); it != scorer.tallies().cend(); ++it) {
            qInfo().noquote() << QStringLiteral("%1 %2/%3 = %4%")
                                     .arg(it.key(), -22)
                                     .arg(it->right)
                                     .arg(it->total)
                                     .arg(it->ratio() * 100, 0, 'f', 1);
            allAbove = allAbove && it->ratio() >= 0.9;
        }
        QVERIFY2(allAbove, "a field is right less than nine times in ten");
    }
};

QTEST_GUILESS_MAIN(EvaluationTest)
#include "EvaluationTest.moc"
