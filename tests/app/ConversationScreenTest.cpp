#include "AwaitTask.h"
#include "ChatScreenHarness.h"

#include "chat/SessionsStore.h"
#include "chat/VelmarOSChatStore.h"

#include <QImage>
#include <QTest>

#include "ImportQmlModules.h"

namespace {

const QString password = QStringLiteral("demo-pass-1");

bool shown(const ScreenHarness& screen, const QString& objectName)
{
    QQuickItem* item = screen.find(objectName);
    return item && item->isVisible();
}

QString warningsText()
{
    return ScreenHarness::warnings().join(QLatin1Char('\n'));
}

bool anyTextStartsWith(const ScreenHarness& screen, const QString& prefix)
{
    for (const QString& text : screen.visibleTexts()) {
        if (text.startsWith(prefix))
            return true;
    }
    return false;
}

// Says a sentence through the composer of the conversation screen.
void say(const ScreenHarness& screen, const QString& sentence)
{
    QQuickItem* input = screen.find("composerInput");
    QVERIFY(input);
    input->forceActiveFocus();
    screen.typeText(sentence);
    QTest::keyClick(screen.window(), Qt::Key_Return);
}

QList<QQuickItem*> all(QQuickItem* root, const QString& objectName)
{
    QList<QQuickItem*> out;
    if (!root)
        return out;
    if (root->objectName() == objectName && root->isVisible())
        out << root;
    for (QQuickItem* child : root->childItems())
        out << all(child, objectName);
    return out;
}

// The button of that name inside the last card shown.
QQuickItem* inLastCard(const ScreenHarness& screen, const QString& cardName, const QString& buttonName)
{
    const QList<QQuickItem*> cards = all(screen.window()->contentItem(), cardName);
    if (cards.isEmpty())
        return nullptr;
    const QList<QQuickItem*> buttons = all(cards.last(), buttonName);
    return buttons.isEmpty() ? nullptr : buttons.first();
}

} // namespace

// The conversation screens against the real lumen-api and its built-in agent.
class ConversationScreenTest : public QObject {
    Q_OBJECT

private slots:
    void sentenceBecomesACardAndLandsOnConfirm()
    {
        TestServer server;
        server.seedDemo(password);
        ChatDevice device(server);
        device.show("velmar", password);
        const ScreenHarness& screen = *device.screen;
        QTRY_VERIFY(shown(screen, "sidebarRow-conversation-conversation"));
        QVERIFY(screen.clickVisible("sidebarRow-conversation-conversation"));
        QTRY_VERIFY(shown(screen, "composerInput"));

        say(screen, "今天午餐 50");
        QTRY_VERIFY(screen.visibleTexts().contains("今天午餐 50"));
        QTRY_VERIFY(shown(screen, "pendingCard"));
        QTRY_VERIFY(shown(screen, "toolTrailEntry"));
        QTRY_VERIFY(!all(screen.window()->contentItem(), "toolDuration").isEmpty()
            && !all(screen.window()->contentItem(), "toolDuration").first()->property("text").toString().isEmpty());
        QVERIFY(screen.visibleTexts().contains("待确认"));
        QTRY_VERIFY(shown(screen, "jumpToPendingButton"));

        screen.click(inLastCard(screen, "pendingCard", "confirmPendingButton"));
        QTRY_VERIFY2(anyTextStartsWith(screen, "✓ 已记 "), qPrintable(screen.visibleTexts().join(" | ")));
        QTRY_VERIFY(screen.visibleTexts().contains("✓ 已确认"));
        QTRY_VERIFY(!shown(screen, "jumpToPendingButton"));
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }

    void editRejectAndProposedDelete()
    {
        TestServer server;
        server.seedDemo(password);
        ChatDevice device(server);
        device.show("velmar", password);
        const ScreenHarness& screen = *device.screen;
        QTRY_VERIFY(shown(screen, "sidebarRow-conversation-conversation"));
        QVERIFY(screen.clickVisible("sidebarRow-conversation-conversation"));
        QTRY_VERIFY(shown(screen, "composerInput"));

        // Edit the amount before confirming: the card shows the saved value.
        say(screen, "今天午餐 50");
        QTRY_VERIFY(inLastCard(screen, "pendingCard", "editPendingButton"));
        screen.click(inLastCard(screen, "pendingCard", "editPendingButton"));
        QTRY_VERIFY(shown(screen, "editField-amount"));
        QQuickItem* amount = screen.find("editField-amount")->property("input").value<QQuickItem*>();
        amount->setProperty("text", "abc");
        QVERIFY(screen.clickVisible("editSaveButton"));
        QTRY_VERIFY(shown(screen, "editError"));
        QCOMPARE(screen.find("editError")->property("text").toString(), QStringLiteral("「金额」需要一个数字"));
        amount->setProperty("text", "62.5");
        QVERIFY(screen.clickVisible("editSaveButton"));
        QTRY_VERIFY(!shown(screen, "editSaveButton"));
        QTRY_VERIFY2(anyTextStartsWith(screen, "A$62.50"), qPrintable(screen.visibleTexts().join(" | ")));
        screen.click(inLastCard(screen, "pendingCard", "confirmPendingButton"));
        QTRY_VERIFY(screen.visibleTexts().contains("✓ 已记 餐饮 A$62.50"));

        // The booked line, proposed for deletion: cancel keeps it, confirm deletes it.
        say(screen, "删掉刚才那笔");
        QTRY_VERIFY(inLastCard(screen, "proposedDeleteCard", "cancelDeleteButton"));
        screen.click(inLastCard(screen, "proposedDeleteCard", "cancelDeleteButton"));
        QTRY_VERIFY(screen.visibleTexts().contains("已取消"));
        say(screen, "删掉刚才那笔");
        QTRY_VERIFY(inLastCard(screen, "proposedDeleteCard", "confirmDeleteButton"));
        screen.click(inLastCard(screen, "proposedDeleteCard", "confirmDeleteButton"));
        QTRY_VERIFY(screen.visibleTexts().contains("✓ 已删除"));

        // A second proposal, rejected.
        say(screen, "晚饭 30");
        QTRY_VERIFY(inLastCard(screen, "pendingCard", "rejectPendingButton"));
        screen.click(inLastCard(screen, "pendingCard", "rejectPendingButton"));
        QTRY_VERIFY(screen.visibleTexts().contains("已撤销"));

        // A question answers with a table.
        say(screen, "这个月花了多少");
        QTRY_VERIFY(shown(screen, "queryResult"));
        QVERIFY(!all(screen.window()->contentItem(), "queryCell").isEmpty());
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }

    void composerKeysAndImages()
    {
        TestServer server;
        server.seedDemo(password);
        ChatDevice device(server);
        device.show("velmar", password);
        const ScreenHarness& screen = *device.screen;
        QTRY_VERIFY(shown(screen, "homeChatBar"));
        QQuickItem* input = screen.find("composerInput");
        input->forceActiveFocus();
        screen.typeText("第一行");
        QTest::keyClick(screen.window(), Qt::Key_Return, Qt::ShiftModifier);
        screen.typeText("第二行");
        QCOMPARE(input->property("text").toString(), QStringLiteral("第一行\n第二行"));
        QCOMPARE(device.app->chatSessions()->activeStore()->events().size(), size_t(0));
        input->setProperty("text", QString());

        // An image from a file: a thumbnail in the composer, then beside the sent line.
        QTemporaryDir dir;
        QImage receipt(400, 600, QImage::Format_RGB32);
        receipt.fill(QColor("#f5efe0"));
        QVERIFY(receipt.save(dir.filePath("receipt.png")));
        QObject* attachments = screen.find("homeChatBar")->property("attachments").value<QObject*>();
        QVERIFY(attachments);
        QMetaObject::invokeMethod(attachments, "addFiles",
            Q_ARG(QList<QUrl>,
                QList<QUrl>({ QUrl::fromLocalFile(dir.filePath("receipt.png")),
                    QUrl::fromLocalFile(dir.filePath("missing.png")) })));
        QTRY_VERIFY(shown(screen, "attachmentThumbnail"));
        QVERIFY(screen.visibleTexts().contains("无法读取图片：missing.png"));
        input->forceActiveFocus();
        screen.typeText("小票");
        QTest::keyClick(screen.window(), Qt::Key_Return);

        // Sending from home opens the conversation beside it.
        QTRY_VERIFY(shown(screen, "chatPanelCompact"));
        QTRY_VERIFY(screen.visibleTexts().contains("小票 📎×1"));
        QTRY_VERIFY(shown(screen, "messageThumbnail"));
        QVERIFY(!shown(screen, "attachmentThumbnail"));
        VelmarOSChatStore* chat = device.app->chatSessions()->activeStore();
        QTRY_VERIFY(!chat->agentLoopActive() && chat->events().size() >= 2);
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }

    void sessionsAndModels()
    {
        TestServer server;
        server.seedDemo(password);
        ChatDevice device(server);
        device.show("velmar", password);
        const ScreenHarness& screen = *device.screen;
        SessionsStore* sessions = device.app->chatSessions();
        QTRY_VERIFY(shown(screen, "sidebarRow-conversation-conversation"));
        QVERIFY(screen.clickVisible("sidebarRow-conversation-conversation"));
        QTRY_VERIFY(shown(screen, "newSessionButton"));

        say(screen, "今天午餐 50");
        QTRY_VERIFY(shown(screen, "sessionRow-今天午餐 50"));
        const QString first = sessions->activeSessionId();

        QVERIFY(screen.clickVisible("newSessionButton"));
        QTRY_VERIFY(sessions->activeSessionId() != first);
        QTRY_VERIFY(shown(screen, "sessionRow-新会话"));

        // The model picker sets the open session's tier.
        QVERIFY(screen.clickVisible("modelPicker"));
        QTRY_VERIFY(shown(screen, "modelOption-haiku"));
        QVERIFY(screen.visibleTexts().contains("极速 · 单事记一笔"));
        QVERIFY(screen.visibleTexts().contains("深聊 · 最强"));
        QVERIFY(screen.clickVisible("modelOption-haiku"));
        QTRY_COMPARE(sessions->activeSession().model.id(), QStringLiteral("haiku"));

        // Back to the first: pin it, archive the new one, rename the first.
        QVERIFY(screen.clickVisible("sessionRow-今天午餐 50"));
        QTRY_COMPARE(sessions->activeSessionId(), first);
        sessions->togglePin(first);
        QTRY_VERIFY(sessions->visibleSessions().front().id == first);
        QVERIFY(screen.visibleTexts().contains("★"));
        const QString second = sessions->visibleSessions().back().id;
        sessions->archive(second, true);
        QTRY_VERIFY(shown(screen, "archivedToggle"));
        QVERIFY(!shown(screen, "sessionRow-新会话"));
        QVERIFY(screen.clickVisible("archivedToggle"));
        QTRY_VERIFY(shown(screen, "sessionRow-新会话"));

        QQuickItem* menuButton = nullptr;
        for (QQuickItem* button : all(screen.find("sessionRow-今天午餐 50"), "sessionMenuButton"))
            menuButton = button;
        QVERIFY(menuButton);
        screen.click(menuButton);
        QTRY_VERIFY(shown(screen, "renameSessionItem"));
        QVERIFY(screen.clickVisible("renameSessionItem"));
        QTRY_VERIFY(shown(screen, "renameSaveButton"));
        screen.find("renameField")->property("input").value<QQuickItem*>()->setProperty("text", "午饭");
        QVERIFY(screen.clickVisible("renameSaveButton"));
        QTRY_VERIFY(shown(screen, "sessionRow-午饭"));
        QCOMPARE(screen.find("chatTitle")->property("text").toString(), QStringLiteral("午饭"));

        // Clearing asks first, then empties the conversation.
        QVERIFY(!sessions->activeStore()->events().empty());
        QTRY_VERIFY(!shown(screen, "renameSaveButton"));
        QVERIFY(screen.clickVisible("clearChatButton"));
        QTRY_VERIFY(shown(screen, "confirmSheetButton"));
        QVERIFY(screen.visibleTexts().contains("清空对话 → 空白新会话（删本地 + 服务端消息，跨端不复活）"));
        QVERIFY(screen.clickVisible("confirmSheetButton"));
        QTRY_VERIFY(sessions->activeStore()->events().empty());
        QTRY_VERIFY(!shown(screen, "confirmSheetButton"));

        // Deleting the archived session asks first, then it is gone. Its menu shows on hover.
        QQuickItem* archived = screen.find("sessionRow-新会话");
        QTest::mouseMove(screen.window(), archived->mapToScene(QPointF(20, archived->height() / 2)).toPoint());
        QTRY_VERIFY(!all(archived, "sessionMenuButton").isEmpty());
        screen.click(all(archived, "sessionMenuButton").first());
        QTRY_VERIFY(shown(screen, "deleteSessionItem"));
        QVERIFY(screen.clickVisible("deleteSessionItem"));
        QTRY_VERIFY(shown(screen, "confirmSheetButton"));
        QVERIFY(screen.visibleTexts().contains("删除会话「新会话」？"));
        QVERIFY(screen.clickVisible("confirmSheetButton"));
        QTRY_COMPARE(sessions->sessions().size(), size_t(1));
        QTRY_VERIFY(!shown(screen, "sessionRow-新会话"));
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }
};

QTEST_MAIN(ConversationScreenTest)
#include "ConversationScreenTest.moc"
