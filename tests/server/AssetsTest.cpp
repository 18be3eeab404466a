#include "ServerHttp.h"
#include "TestServer.h"

#include "assets/AssetModels.h"
#include "services/AssetNoteParser.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using wire::AnyCodableValue;

Q_DECLARE_METATYPE(wire::AnyCodableValue)
Q_DECLARE_METATYPE(std::optional<wire::AssetTable>)

class AssetsTest : public QObject {
    Q_OBJECT

private slots:
    void frontMatterValues_data()
    {
        QTest::addColumn<QString>("raw");
        QTest::addColumn<AnyCodableValue>("expected");
        QTest::newRow("integer") << u" 48210"_s << AnyCodableValue(qint64(48210));
        QTest::newRow("decimal") << u"0.21"_s << AnyCodableValue(0.21);
        QTest::newRow("exponent") << u"1e3"_s << AnyCodableValue(1000.0);
        QTest::newRow("true") << u"true"_s << AnyCodableValue(true);
        QTest::newRow("capitalised word stays text") << u"True"_s << AnyCodableValue(u"True"_s);
        QTest::newRow("date stays text") << u"2027-02-14"_s << AnyCodableValue(u"2027-02-14"_s);
        QTest::newRow("grouped digits stay text") << u"1,180"_s << AnyCodableValue(u"1,180"_s);
        QTest::newRow("quoted number stays text") << u"\"4821\""_s << AnyCodableValue(u"4821"_s);
        QTest::newRow("single quotes") << u"'a: b'"_s << AnyCodableValue(u"a: b"_s);
        QTest::newRow("empty") << u""_s << AnyCodableValue(u""_s);
    }
    void frontMatterValues()
    {
        QFETCH(QString, raw);
        QFETCH(AnyCodableValue, expected);
        QCOMPARE(lumen::AssetNoteParser::scalar(raw), expected);
    }

    void modeTableAndBody_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<bool>("hasFrontmatter");
        QTest::addColumn<QStringList>("headers");
        QTest::addColumn<int>("rows");
        QTest::addColumn<QString>("body");

        QTest::newRow("plain markdown") << u"# Car\n\nnotes"_s << u"markdown"_s << false << QStringList {} << 0
                                        << u"# Car\n\nnotes"_s;
        QTest::newRow("front matter then markdown") << u"---\ntitle: 车\nyear: 2019\n---\n\n# Car\n"_s << u"markdown"_s
                                                    << true << QStringList {} << 0 << u"# Car\n"_s;
        QTest::newRow("table found") << u"intro\n\n| a | b |\n|---|:-:|\n| 1 | 2 |\n| 3 | 4 |\n\nafter"_s << u"table"_s
                                     << false << QStringList { u"a"_s, u"b"_s } << 2
                                     << u"intro\n\n| a | b |\n|---|:-:|\n| 1 | 2 |\n| 3 | 4 |\n\nafter"_s;
        QTest::newRow("declared mode wins") << u"---\nmode: cards\n---\n| a |\n|---|\n| 1 |\n"_s << u"cards"_s << true
                                            << QStringList { u"a"_s } << 1 << u"| a |\n|---|\n| 1 |\n"_s;
        QTest::newRow("pipes without delimiter row are no table")
            << u"| a | b |\n| 1 | 2 |\n"_s << u"markdown"_s << false << QStringList {} << 0
            << u"| a | b |\n| 1 | 2 |\n"_s;
        QTest::newRow("table inside a code block is not one") << u"```\n| a |\n|---|\n```\n"_s << u"markdown"_s << false
                                                              << QStringList {} << 0 << u"```\n| a |\n|---|\n```\n"_s;
        QTest::newRow("unclosed front matter is body") << u"---\ntitle: x\n# body"_s << u"markdown"_s << false
                                                       << QStringList {} << 0 << u"---\ntitle: x\n# body"_s;
        QTest::newRow("windows line ends and BOM")
            << u"\uFEFF---\r\nk: 1\r\n---\r\nbody\r\n"_s << u"markdown"_s << true << QStringList {} << 0 << u"body\n"_s;
    }
    void modeTableAndBody()
    {
        QFETCH(QString, text);
        QFETCH(QString, mode);
        QFETCH(bool, hasFrontmatter);
        QFETCH(QStringList, headers);
        QFETCH(int, rows);
        QFETCH(QString, body);
        const wire::AssetItem item = lumen::AssetNoteParser::parse(u"note"_s, text);
        QCOMPARE(item.slug, u"note"_s);
        QCOMPARE(item.mode, mode);
        QCOMPARE(item.frontmatter.has_value(), hasFrontmatter);
        QCOMPARE(item.table.has_value(), !headers.isEmpty());
        if (item.table) {
            QCOMPARE(item.table->headers, headers);
            QCOMPARE(int(item.table->rows.size()), rows);
        }
        QCOMPARE(item.body_md.value_or(u"<none>"_s), body);
    }

    void tableCells()
    {
        const auto item = lumen::AssetNoteParser::parse(u"t"_s,
            u"| 卡 | 尾号 | 备注 |\n| --- | ---: | --- |\n| Everyday | 4821 | a \\| b |\n| short |\n| x | y | z | extra |\n"_s);
        QVERIFY(item.table);
        QCOMPARE(item.table->headers, (QStringList { u"卡"_s, u"尾号"_s, u"备注"_s }));
        QCOMPARE(item.table->rows.size(), size_t(3));
        QCOMPARE(item.table->rows[0], (QStringList { u"Everyday"_s, u"4821"_s, u"a | b"_s }));
        QCOMPARE(item.table->rows[1], (QStringList { u"short"_s, QString(), QString() }));
        QCOMPARE(item.table->rows[2], (QStringList { u"x"_s, u"y"_s, u"z"_s }));
    }

    void householdReadsTheNotes()
    {
        TestServer server;
        server.seedDemo(u"demo"_s);
        writeNote(server, u"zeta.md"_s, u"# last\n"_s);
        writeNote(server, u"Bad Name.md"_s, u"skipped: a space is no slug"_s);
        writeNote(server, u"readme.txt"_s, u"not a note"_s);
        ServerHttp http(server);

        for (const QString& reader : { u"velmar"_s, u"sefa"_s }) {
            const Reply reply = http.get("/assets/list", server.issueToken(reader));
            QCOMPARE(reply.status, 200);
            const auto list = wire::fromBytes<wire::AssetsListResponse>(QByteArray::fromStdString(reply.body));
            QStringList slugs;
            for (const auto& item : list.items)
                slugs.append(item.slug);
            QCOMPARE(slugs, (QStringList { u"bank-cards"_s, u"car"_s, u"devices"_s, u"zeta"_s }));
            QCOMPARE(list.count, 4);
        }

        const Reply car = http.get("/assets/car", server.issueToken(u"sefa"_s));
        QCOMPARE(car.status, 200);
        const auto item = wire::fromBytes<wire::AssetItem>(QByteArray::fromStdString(car.body));
        QCOMPARE(item.mode, u"markdown"_s);
        QVERIFY(item.frontmatter);
        QCOMPARE(item.frontmatter->at(u"year"_s), AnyCodableValue(qint64(2019)));
        QCOMPARE(item.frontmatter->at(u"insured"_s), AnyCodableValue(true));

        const Reply cards = http.get("/assets/bank-cards", server.issueToken(u"velmar"_s));
        const auto table = wire::fromBytes<wire::AssetItem>(QByteArray::fromStdString(cards.body));
        QCOMPARE(table.mode, u"table"_s);
        QVERIFY(table.table && !table.table->rows.empty());
    }

    void slugsThatAreNotNotesAreNotFound_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("missing") << "/assets/boat"_ba;
        QTest::newRow("dot dot") << "/assets/.."_ba;
        QTest::newRow("encoded traversal") << "/assets/..%2F..%2Flumen"_ba;
        QTest::newRow("extension given") << "/assets/car.md"_ba;
        QTest::newRow("not markdown") << "/assets/readme"_ba;
        QTest::newRow("link out of the folder") << "/assets/outside"_ba;
    }
    void slugsThatAreNotNotesAreNotFound()
    {
        QFETCH(QByteArray, path);
        TestServer server;
        server.seedDemo(u"demo"_s);
        writeNote(server, u"readme.txt"_s, u"not a note"_s);
        QFile secret(server.dataDir() + u"/secret.md"_s);
        QVERIFY(secret.open(QIODevice::WriteOnly));
        secret.write("outside the notes folder");
        secret.close();
        QVERIFY(QFile::link(secret.fileName(), server.assetsDir() + u"/outside.md"_s));

        ServerHttp http(server);
        const Reply reply = http.get(path.toStdString(), server.issueToken(u"velmar"_s));
        QCOMPARE(reply.status, 404);
        QVERIFY(!reply.detail().isEmpty());
        QVERIFY(!QByteArray::fromStdString(reply.body).contains("outside the notes"));
    }

    void outsidersSeeNoNotes()
    {
        TestServer server;
        server.seedDemo(u"demo"_s);
        server.createUser(u"kit"_s, u"pw"_s);
        ServerHttp http(server);
        const QString kit = server.issueToken(u"kit"_s);
        const Reply list = http.get("/assets/list", kit);
        QCOMPARE(list.status, 200);
        QCOMPARE(list.object().value(u"count"_s).toInt(), 0);
        QCOMPARE(http.get("/assets/car", kit).status, 404);
        QCOMPARE(http.get("/assets/list").status, 401);
    }

private:
    static void writeNote(TestServer& server, const QString& name, const QString& text)
    {
        QDir().mkpath(server.assetsDir());
        QFile file(server.assetsDir() + u'/' + name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
    }
};

QTEST_GUILESS_MAIN(AssetsTest)
#include "AssetsTest.moc"
