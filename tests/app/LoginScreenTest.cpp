#include "AwaitTask.h"
#include "ClientHarness.h"
#include "ScreenHarness.h"
#include "TestServer.h"

#include "finance/AssetsStore.h"

#include <QFile>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>

#include "ImportQmlModules.h"

namespace {
const QString password = QStringLiteral("demo-pass-1");
}

class LoginScreenTest : public QObject {
    Q_OBJECT

private slots:
    // Every file of the module compiles on its own, so a broken screen is named, not just missing.
    void everyScreenFileCompiles()
    {
        QQmlEngine engine;
        engine.addImportPath(QStringLiteral("qrc:/"));
        int files = 0;
        QStringList errors;
        for (const char* module : { "Theme", "Login", "Activity", "Dashboard", "Chat", "Shell" }) {
            const QString root = QStringLiteral(":/VelmarOS/%1/").arg(QLatin1String(module));
            QFile qmldir(root + "qmldir");
            QVERIFY2(qmldir.open(QIODevice::ReadOnly), module);
            for (const QByteArray& line : qmldir.readAll().split('\n')) {
                const QList<QByteArray> parts = line.simplified().split(' ');
                if (parts.size() < 3 || !parts.last().endsWith(".qml") || parts[0] == "singleton")
                    continue;
                QQmlComponent component(&engine, QUrl("qrc" + root + QString::fromUtf8(parts.last())));
                if (component.isError())
                    errors << component.errorString();
                ++files;
            }
        }
        QVERIFY2(errors.isEmpty(), qPrintable(errors.join('\n')));
        QVERIFY(files > 5);
    }

    void signInThroughTheScreen()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        ScreenHarness screen(&app);
        QVERIFY2(screen.window(), qPrintable(ScreenHarness::warnings().join(QLatin1Char(10))));
        QTRY_VERIFY(screen.find("loginView"));
        const QStringList texts = screen.visibleTexts();
        for (const char* expected : { "Velmar OS", "个人 AI 整合 · v1.3", "用户名", "密码", "登录" })
            QVERIFY2(texts.contains(QString::fromUtf8(expected)), expected);
        QVERIFY(!texts.contains("session 失效，请重新登录"));
        QVERIFY(!screen.find("loginButton")->isEnabled());
        screen.saveScreenshot("login");

        screen.type("Velmar ");
        QTest::keyClick(screen.window(), Qt::Key_Return);
        screen.type(password);
        QVERIFY(screen.find("loginButton")->isEnabled());
        QTest::keyClick(screen.window(), Qt::Key_Return);

        QTRY_VERIFY(app.hasToken());
        QCOMPARE(app.currentUsername(), QStringLiteral("velmar"));
        QTRY_VERIFY(screen.find("rootView"));
        QTRY_VERIFY(screen.visibleTexts().contains("Velmar"));

        screen.click(screen.find("accountButton"));
        QTRY_VERIFY(screen.find("signOutRow") && screen.find("signOutRow")->isVisible());
        screen.click(screen.find("signOutRow"));
        QTRY_VERIFY(screen.find("loginView"));
        QVERIFY(!app.hasToken());
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(ScreenHarness::warnings().join('\n')));
    }

    void wrongPasswordShowsTheReason()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        ScreenHarness screen(&app);
        QTRY_VERIFY(screen.find("loginView"));
        screen.type("velmar");
        QTest::keyClick(screen.window(), Qt::Key_Return);
        screen.type("not-the-password");
        QTest::keyClick(screen.window(), Qt::Key_Return);
        QTRY_VERIFY(screen.find("loginError")->isVisible());
        QCOMPARE(
            screen.find("loginError")->property("text").toString(), QStringLiteral("用户名或密码错误，请重新输入"));
        QVERIFY(!app.hasToken());
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(ScreenHarness::warnings().join('\n')));
    }

    void expiredSessionReturnsWithTheReasonAndNoAccounts()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        ScreenHarness screen(&app);
        QTRY_VERIFY(screen.find("rootView"));
        awaitTask(client.api().request<wire::AnyCodableValue>("/auth/logout", "POST", wire::EmptyBody {}));
        awaitTask(app.assets()->refresh());
        QTRY_VERIFY(screen.find("loginView"));
        QTRY_VERIFY(screen.visibleTexts().contains("session 失效，请重新登录"));
        QTRY_VERIFY(!screen.visibleTexts().contains("已登过的账号"));
        screen.saveScreenshot("login-expired");
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(ScreenHarness::warnings().join('\n')));
    }
};

QTEST_MAIN(LoginScreenTest)
#include "LoginScreenTest.moc"
