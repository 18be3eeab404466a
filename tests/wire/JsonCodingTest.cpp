#include "session/SessionModels.h"
#include "time/TimeDomainModels.h"
#include "json/AnyCodableValue.h"
#include "json/JSONScalar.h"
#include "json/SafeText.h"

#include <QTest>

using namespace wire;
using namespace Qt::StringLiterals;

class JsonCodingTest : public QObject {
    Q_OBJECT

private slots:
    void decodeFailureNamesTheField_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("field");
        QTest::newRow("missing username") << QByteArray(R"({"password":"x"})") << "username";
        QTest::newRow("number for a string") << QByteArray(R"({"username":5,"password":"x"})") << "username";
        QTest::newRow("null for a required string") << QByteArray(R"({"username":null,"password":"x"})") << "username";
        QTest::newRow("array instead of object") << QByteArray(R"([1,2])") << "";
        QTest::newRow("not json") << QByteArray("user=velmar") << "";
        QTest::newRow("empty body") << QByteArray("") << "";
    }
    void decodeFailureNamesTheField()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, field);
        try {
            fromBytes<LoginRequest>(body);
            QFAIL("decoded a body that is not a login request");
        } catch (const DecodeError& error) {
            QCOMPARE(error.field(), field);
        }
    }

    // Raw JSON bytes, so escapes reach the parser exactly as a client sends them.
    void unsafeTextIsRefusedWhereverItHides_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<int>("reason"); // -1: decodes
        QTest::addColumn<QString>("field");
        const int control = int(UnsafeTextError::Reason::ControlCharacter);
        const int surrogate = int(UnsafeTextError::Reason::UnpairedSurrogate);
        const int direction = int(UnsafeTextError::Reason::DirectionControl);
        QTest::newRow("tab and newline pass") << QByteArray(R"({"note":"a\tb\nc"})") << -1 << "";
        QTest::newRow("paired surrogate passes") << QByteArray(R"({"title":"\ud83d\ude00 笑"})") << -1 << "";
        QTest::newRow("direction mark in free text passes") << QByteArray(R"({"note":"\u202eabc"})") << -1 << "";
        QTest::newRow("NUL") << QByteArray(R"({"activity":"cod\u0000ing"})") << control << "activity";
        QTest::newRow("carriage return") << QByteArray(R"({"note":"a\r\nb"})") << control << "note";
        QTest::newRow("escape sequence") << QByteArray(R"({"note":"\u001bc"})") << control << "note";
        QTest::newRow("DEL") << QByteArray(R"({"note":"\u007f"})") << control << "note";
        QTest::newRow("C1 control") << QByteArray(R"({"note":"\u0085"})") << control << "note";
        QTest::newRow("lone high surrogate at the end") << QByteArray(R"({"note":"ab\ud83d"})") << surrogate << "note";
        QTest::newRow("lone low surrogate") << QByteArray(R"({"note":"\ude00ab"})") << surrogate << "note";
        QTest::newRow("high surrogate then letter") << QByteArray(R"({"note":"\ud83dx"})") << surrogate << "note";
        QTest::newRow("right-to-left override in a name")
            << QByteArray(R"({"display_name":"abc\u202etxt.exe"})") << direction << "display_name";
        QTest::newRow("isolate in an id") << QByteArray(R"({"session_id":"s\u2066"})") << direction << "session_id";
        QTest::newRow("mark in a title") << QByteArray(R"({"title":"\u200f"})") << direction << "title";
        QTest::newRow("keyword in a list row")
            << QByteArray(R"({"rows":[{"keyword":"ok"},{"keyword":"\u061c"}]})") << direction << "rows[1].keyword";
        QTest::newRow("deep inside an array")
            << QByteArray(R"({"payload":{"items":["ok","\u0000"]}})") << control << "payload.items[1]";
        QTest::newRow("object key") << QByteArray(R"({"payload":{"a\u0000":1}})") << control << "payload";
        QTest::newRow("bare string body") << QByteArray(R"("\u0007")") << control << "";
    }
    void unsafeTextIsRefusedWhereverItHides()
    {
        QFETCH(QByteArray, json);
        QFETCH(int, reason);
        QFETCH(QString, field);
        try {
            fromBytes<AnyCodableValue>(json);
            QCOMPARE(-1, reason);
        } catch (const UnsafeTextError& error) {
            QCOMPARE(int(error.reason()), reason);
            QCOMPARE(error.path(), field);
            // The servers put this after "请求格式错误：", so it must read as Chinese and name the field.
            QVERIFY2(error.description().startsWith(field.isEmpty() ? u"文本"_s : u"字段 "_s + field + u' '),
                qPrintable(error.description()));
        }
    }

    void nestedPathsPointIntoArrays()
    {
        const QByteArray body = R"({"id":1,"username":"v","display_name":"V","relations":[{"id":2,"username":"s",
            "display_name":"S","role":"member"}]})";
        try {
            fromBytes<UserProfile>(body);
            QFAIL("relation without direction decoded");
        } catch (const DecodeError& error) {
            QCOMPARE(error.field(), QStringLiteral("relations[0].direction"));
        }
    }

    void integersAreStrict_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("decodes");
        QTest::newRow("integral") << QByteArray(R"({"member_id":12})") << true;
        QTest::newRow("integral written as float") << QByteArray(R"({"member_id":12.0})") << true;
        QTest::newRow("fraction") << QByteArray(R"({"member_id":12.9})") << false;
        QTest::newRow("string digits") << QByteArray(R"({"member_id":"12"})") << false;
        QTest::newRow("beyond int") << QByteArray(R"({"member_id":4294967296})") << false;
        QTest::newRow("bool") << QByteArray(R"({"member_id":true})") << false;
    }
    void integersAreStrict()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, decodes);
        bool decoded = true;
        try {
            fromBytes<TransferOwnerRequest>(body);
        } catch (const DecodeError&) {
            decoded = false;
        }
        QCOMPARE(decoded, decodes);
    }

    void absentOptionalsAreLeftOutAndKeysSorted()
    {
        TimeEntry entry;
        entry.id = 3;
        entry.date = "2026-11-20";
        entry.start_time = "09:00";
        entry.activity = "coding";
        entry.source = "app";
        const QByteArray bytes = toBytes(entry);
        QVERIFY(!bytes.contains("end_time"));
        QVERIFY(!bytes.contains("null"));
        QVERIFY(bytes.indexOf("\"activity\"") < bytes.indexOf("\"date\""));
        QCOMPARE(fromBytes<TimeEntry>(bytes), entry);
    }

    void unknownKeysAreIgnored()
    {
        const auto profile = fromBytes<UserProfile>(R"({"id":1,"username":"v","display_name":"V","extra":[1]})");
        QCOMPARE(profile.username, QStringLiteral("v"));
        QVERIFY(!profile.relations);
    }

    void anyValueKeepsItsKind_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<int>("kind");
        QTest::newRow("integer") << QByteArray("1") << int(AnyCodableValue::Kind::Int);
        QTest::newRow("float") << QByteArray("1.5") << int(AnyCodableValue::Kind::Double);
        QTest::newRow("true is no number") << QByteArray("true") << int(AnyCodableValue::Kind::Bool);
        QTest::newRow("null") << QByteArray("null") << int(AnyCodableValue::Kind::Null);
        QTest::newRow("string") << QByteArray(R"("1")") << int(AnyCodableValue::Kind::String);
        QTest::newRow("array") << QByteArray("[1,\"a\"]") << int(AnyCodableValue::Kind::Array);
        QTest::newRow("object") << QByteArray(R"({"a":{"b":2}})") << int(AnyCodableValue::Kind::Dict);
    }
    void anyValueKeepsItsKind()
    {
        QFETCH(QByteArray, json);
        QFETCH(int, kind);
        const auto value = fromBytes<AnyCodableValue>(json);
        QCOMPARE(int(value.kind()), kind);
        QCOMPARE(fromBytes<AnyCodableValue>(toBytes(value)), value);
    }

    void anyValueEqualityAndHashFollowContent()
    {
        const auto a = fromBytes<AnyCodableValue>(R"({"x":[1,2.5,"s",null,false]})");
        const auto b = fromBytes<AnyCodableValue>(R"({"x":[1,2.5,"s",null,false]})");
        const auto c = fromBytes<AnyCodableValue>(R"({"x":[1,2.5,"s",null,true]})");
        QCOMPARE(a, b);
        QCOMPARE(qHash(a), qHash(b));
        QVERIFY(a != c);
        QVERIFY(AnyCodableValue(qint64(1)) != AnyCodableValue(1.0));
    }

    void scalarIntAccessorTruncatesFloats()
    {
        QCOMPARE(JSONScalar(12.9).intValue(), std::optional<qint64>(12));
        QCOMPARE(JSONScalar(-12.9).intValue(), std::optional<qint64>(-12));
        QCOMPARE(JSONScalar(QStringLiteral("12")).intValue(), std::nullopt);
        const auto fromJson = JSONScalar::fromJson(QJsonValue(true));
        QCOMPARE(fromJson.boolValue(), std::optional<bool>(true));
        QCOMPARE(JSONScalar::fromAny(fromJson.rawAny()), fromJson);
    }

    void errorBodyKeepsStructuredDetailsAsText()
    {
        QCOMPARE(fromBytes<APIError>(R"({"detail":"x"})").detail, QStringLiteral("x"));
        QCOMPARE(fromBytes<APIError>(R"({"detail":[{"loc":"a"}]})").detail, QStringLiteral(R"([{"loc":"a"}])"));
        QVERIFY_THROWS_EXCEPTION(DecodeError, fromBytes<APIError>(R"({"message":"x"})"));
    }
};

QTEST_GUILESS_MAIN(JsonCodingTest)
#include "JsonCodingTest.moc"
