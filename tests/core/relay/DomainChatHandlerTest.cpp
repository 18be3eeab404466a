// The input bars of the organs that do not take sentences yet, and the handler frame.

#include "AwaitTask.h"
#include "RelayClientHarness.h"
#include "TestRelay.h"

#include "relay/AssetsChatHandler.h"
#include "relay/ServersChatHandler.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class DomainChatHandlerTest : public QObject {
    Q_OBJECT

private slots:
    void pagesNotReadyYetSaySo_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<QString>("placeholder");
        QTest::addColumn<QString>("message");
        QTest::newRow("assets") << u"assets"_s << u"问问资产 — 例：我有几张卡（开发中）"_s
                                << u"资产 领域的对话功能开发中，敬请期待"_s;
        QTest::newRow("servers") << u"servers"_s << u"问问服务器 — 例：Rook1 还好吗（开发中）"_s
                                 << u"服务器 领域的对话功能开发中，敬请期待"_s;
    }
    void pagesNotReadyYetSaySo()
    {
        QFETCH(QString, page);
        QFETCH(QString, placeholder);
        QFETCH(QString, message);
        TestRelay relay;
        RelayClientHarness device(relay.baseUrl());
        std::unique_ptr<DomainChatHandler> handler;
        if (page == u"assets")
            handler = std::make_unique<AssetsChatHandler>(&device.client());
        else
            handler = std::make_unique<ServersChatHandler>(&device.client());
        QCOMPARE(handler->chatPlaceholder(), placeholder);

        QVERIFY(awaitTask(handler->checkRelay()));
        QVERIFY(handler->relayHealthy());
        QVERIFY(!handler->isReady());

        QSignalSpy failed(handler.get(), &DomainChatHandler::failed);
        QVERIFY(!awaitTask(handler->submitText(u"我有几张卡"_s)));
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.at(0).at(0).toString(), message);
        QCOMPARE(handler->lastError(), message);
        QVERIFY(!handler->isSubmitting());
    }
};

QTEST_GUILESS_MAIN(DomainChatHandlerTest)
#include "DomainChatHandlerTest.moc"
