#include "AwaitTask.h"
#include "ClientHarness.h"
#include "TestServer.h"

#include "shell/AccountSwitcherViewModel.h"
#include "shell/RelationManagementViewModel.h"

#include <QTest>

namespace {

const QString password = QStringLiteral("demo-pass-1");

QStringList captions(const RelationManagementViewModel& model)
{
    QStringList out;
    for (const QVariant& row : model.relationRows())
        out << row.toMap().value("username").toString() + ": " + row.toMap().value("caption").toString();
    return out;
}

} // namespace

// The account sheet and the relations screen against the real lumen-api.
class AccountViewModelsTest : public QObject {
    Q_OBJECT

private slots:
    void addedAccountBecomesCurrentOnlyWithTheRightPassword()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        AccountSwitcherViewModel accounts;
        accounts.setAppState(&app);
        QCOMPARE(accounts.headerText(), QStringLiteral("当前 · Velmar (@velmar)"));

        accounts.setShowAddUser(true);
        accounts.setAddUsername("Sefa ");
        accounts.setAddPassword("wrong");
        awaitTask(accounts.addAccountAsync());
        QCOMPARE(accounts.addError(), QStringLiteral("用户名或密码错误，请重新输入"));
        QVERIFY(accounts.showAddUser());
        QCOMPARE(app.currentUsername(), QStringLiteral("velmar"));

        accounts.setAddPassword(password);
        awaitTask(accounts.addAccountAsync());
        QVERIFY(accounts.addError().isEmpty());
        QVERIFY(!accounts.showAddUser());
        QCOMPARE(app.currentUsername(), QStringLiteral("sefa"));
        QCOMPARE(accounts.headerText(), QStringLiteral("当前 · Sefa (@sefa)"));
        QCOMPARE(accounts.accountRows().size(), 2);
    }

    void bindTransferAndRemove()
    {
        TestServer server;
        server.seedDemo(password);
        server.createUser("mira", password, "Mira");
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        RelationManagementViewModel relations;
        relations.setAppState(&app);
        awaitTask(relations.loadProfileAsync());

        relations.setBindUsername("nobody");
        awaitTask(relations.bindMemberAsync());
        QVERIFY2(relations.addError().startsWith("绑定失败："), qPrintable(relations.addError()));
        QCOMPARE(relations.bindUsername(), QStringLiteral("nobody"));

        relations.setBindUsername("  mira ");
        awaitTask(relations.bindMemberAsync());
        QVERIFY2(relations.addError().isEmpty(), qPrintable(relations.addError()));
        QVERIFY(relations.bindUsername().isEmpty());
        QCOMPARE(captions(relations), QStringList({ "sefa: 你绑定的 · 成员", "mira: 你绑定的 · 成员" }));

        const int miraId = relations.relationRows().at(1).toMap().value("id").toInt();
        awaitTask(relations.removeMemberAsync(miraId));
        QCOMPARE(captions(relations), QStringList { "sefa: 你绑定的 · 成员" });

        const int sefaId = relations.relationRows().at(0).toMap().value("id").toInt();
        awaitTask(relations.transferOwnerToAsync(sefaId));
        QVERIFY2(relations.addError().isEmpty(), qPrintable(relations.addError()));
        QCOMPARE(captions(relations), QStringList { "sefa: TA 绑定你 · 你是 成员" });

        // No longer the admin: the server refuses and the screen says so, signed in still.
        awaitTask(relations.removeMemberAsync(sefaId));
        QVERIFY2(relations.addError().startsWith("移除失败："), qPrintable(relations.addError()));
        awaitTask(relations.transferOwnerToAsync(sefaId));
        QVERIFY2(relations.addError().startsWith("移交失败："), qPrintable(relations.addError()));
        QVERIFY(app.hasToken());
    }
};

QTEST_GUILESS_MAIN(AccountViewModelsTest)
#include "AccountViewModelsTest.moc"
