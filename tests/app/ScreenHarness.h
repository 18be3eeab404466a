#pragma once

#include "ClientHarness.h"

#include <QDir>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest/quicktest.h>

#include <memory>

// Loads the real window over an AppState of a test client and collects every QML warning:
// a screen that warns is a failing screen.
class ScreenHarness {
public:
    explicit ScreenHarness(AppState* appState)
    {
        s_warnings.clear();
        m_previousHandler = qInstallMessageHandler(&ScreenHarness::collect);
        m_engine = std::make_unique<QQmlApplicationEngine>();
        m_engine->addImportPath(QStringLiteral("qrc:/"));
        m_engine->setInitialProperties({ { QStringLiteral("appState"), QVariant::fromValue(appState) } });
        m_engine->load(QUrl(QStringLiteral("qrc:/VelmarOS/Shell/Main.qml")));
    }

    ~ScreenHarness()
    {
        m_engine.reset();
        qInstallMessageHandler(m_previousHandler);
    }

    QQuickWindow* window() const
    {
        const auto roots = m_engine->rootObjects();
        return roots.isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(roots.first());
    }

    // The item of that name (items made by loaders and repeaters included); a visible one
    // wins over one that is hidden or on its way out.
    QQuickItem* find(const QString& objectName) const
    {
        if (!window())
            return nullptr;
        QQuickItem* hidden = nullptr;
        QQuickItem* visible = findItem(window()->contentItem(), objectName, hidden);
        return visible ? visible : hidden;
    }

    // Every visible text on screen, in tree order.
    QStringList visibleTexts() const
    {
        QStringList out;
        collectTexts(window()->contentItem(), out);
        return out;
    }

    void click(QQuickItem* item) const
    {
        settle();
        const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
        QTest::mouseClick(window(), Qt::LeftButton, Qt::NoModifier, centre.toPoint());
    }

    // Clicks only once the item is on screen; a hidden one fails the test at the call.
    bool clickVisible(const QString& objectName) const
    {
        QQuickItem* item = find(objectName);
        if (!item || !item->isVisible())
            return false;
        click(item);
        return true;
    }

    // Types any text (Chinese included) into whatever has the keyboard focus.
    void typeText(const QString& text) const
    {
        for (const QChar c : text)
            QTest::sendKeyEvent(QTest::Click, window(), Qt::Key_unknown, QString(c), Qt::NoModifier);
    }

    // Types ASCII text into whatever has the keyboard focus.
    void type(const QString& text) const
    {
        for (const QChar c : text)
            QTest::keyClick(window(), c.toLatin1());
    }

    // Writes the window as it is drawn, once it is on screen and laid out.
    void saveScreenshot(const QString& name) const
    {
        settle();
        const QString folder = QStringLiteral(QT_TESTCASE_BUILDDIR) + QStringLiteral("/screenshots");
        QDir().mkpath(folder);
        window()->grabWindow().save(folder + QLatin1Char('/') + name + QStringLiteral(".png"));
    }

    static const QStringList& warnings() { return s_warnings; }

    // On screen, every pending layout done and every sheet through its opening animation:
    // what is drawn now is what the user sees.
    void settle() const
    {
        if (!QTest::qWaitForWindowExposed(window()) || !QQuickTest::qWaitForPolish(window()))
            qWarning("the window never settled");
        if (!QTest::qWaitFor([this] { return !popupOpening(window()->contentItem()); }))
            qWarning("a sheet never finished opening");
    }

private:
    static void collect(QtMsgType type, const QMessageLogContext&, const QString& message)
    {
        if (type != QtDebugMsg && type != QtInfoMsg)
            s_warnings << message;
    }

    static QQuickItem* findItem(QQuickItem* item, const QString& objectName, QQuickItem*& hidden)
    {
        if (!item)
            return nullptr;
        if (item->objectName() == objectName) {
            if (item->isVisible())
                return item;
            if (!hidden)
                hidden = item;
        }
        for (QQuickItem* child : item->childItems()) {
            if (QQuickItem* found = findItem(child, objectName, hidden))
                return found;
        }
        return nullptr;
    }

    static bool popupOpening(QQuickItem* item)
    {
        if (!item || !item->isVisible())
            return false;
        // A sheet fades and grows in, and fades out: either way it is not what the user sees.
        if (item->inherits("QQuickPopupItem") && (item->opacity() < 1.0 || item->scale() < 1.0))
            return true;
        for (QQuickItem* child : item->childItems()) {
            if (popupOpening(child))
                return true;
        }
        return false;
    }

    static void collectTexts(QQuickItem* item, QStringList& out)
    {
        if (!item || !item->isVisible())
            return;
        const QVariant text = item->property("text");
        if ((item->inherits("QQuickText") || item->inherits("QQuickTextEdit")) && text.isValid()
            && !text.toString().isEmpty())
            out << text.toString();
        for (QQuickItem* child : item->childItems())
            collectTexts(child, out);
    }

    static inline QStringList s_warnings;
    QtMessageHandler m_previousHandler = nullptr;
    std::unique_ptr<QQmlApplicationEngine> m_engine;
};
