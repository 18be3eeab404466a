#include "AwaitTask.h"
#include "ClientHarness.h"
#include "TestServer.h"

#include "shell/LoginViewModel.h"

#include <QSignalSpy>
#include <QTest>

namespace {
const QString password = QStringLiteral("demo-pass-1");
}

class LoginViewModelTest : public QObject {
    Q_OBJECT

private slots:
    void whatMaySubmit_data()
    {
        QTest::addColumn<QString>("username");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("canSubmit");
        QTest::newRow("both filled") << "velmar"
                                     << "x" << true;
        QTest::newRow("blank name") << "   "
                                    << "x" << false;
        QTest::newRow("empty password") << "velmar"
                                        << "" << false;
        QTest::newRow("password of spaces counts") << "velmar"
                                                   << "  " << true;
    }
    void whatMaySubmit()
    {
        QFETCH(QString, username);
        QFETCH(QString, password);
        QFETCH(bool, canSubmit);
        LoginViewModel model;
        model.setUsername(username);
        model.setPassword(password);
        QCOMPARE(model.canSubmit(), canSubmit);
    }

    // Capitals and a tab fold to the stored name, and the password is not kept.
    void typedNameIsNormalised()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        LoginViewModel model;
        model.setAppState(&app);
        model.setUsername("\tVELMAR");
        model.setPassword(password);
        awaitTask(model.loginAsync());
        QVERIFY2(model.loginError().isEmpty(), qPrintable(model.loginError()));
        QCOMPARE(app.currentUsername(), QStringLiteral("velmar"));
        QVERIFY(model.password().isEmpty());
        QCOMPARE(model.knownUsernames(), QStringList { "velmar" });
    }

    // An unknown user reads like a wrong password, and the busy flag rises and falls once.
    void unknownUserReadsAsAWrongPassword()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        LoginViewModel model;
        model.setAppState(&app);
        model.setUsername("nobody");
        model.setPassword("nope");
        QSignalSpy busy(&model, &LoginViewModel::isLoggingInChanged);
        awaitTask(model.loginAsync());
        QCOMPARE(model.loginError(), QStringLiteral("用户名或密码错误，请重新输入"));
        QCOMPARE(busy.count(), 2);
        QVERIFY(!model.isLoggingIn());
        QVERIFY(!app.hasToken());
    }

    void otherFailuresKeepTheirOwnWords()
    {
        QCOMPARE(LoginViewModel::loginErrorText(std::make_exception_ptr(LumenAPIError::serverError(502))),
            QStringLiteral("服务端错误（502）— 稍后重试"));
        QCOMPARE(
            LoginViewModel::loginErrorText(std::make_exception_ptr(LumenAPIError::transport("Connection refused"))),
            QStringLiteral("网络错误：Connection refused"));
        QCOMPARE(LoginViewModel::loginErrorText(std::make_exception_ptr(std::runtime_error("disk full"))),
            QStringLiteral("登录失败：disk full"));
    }

    void unreachableBackendSaysSo()
    {
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        AppState app(client.deps());
        LoginViewModel model;
        model.setAppState(&app);
        model.setUsername("velmar");
        model.setPassword("x");
        awaitTask(model.loginAsync());
        QVERIFY(model.loginError().startsWith("网络错误："));
    }
};

QTEST_GUILESS_MAIN(LoginViewModelTest)
#include "LoginViewModelTest.moc"
