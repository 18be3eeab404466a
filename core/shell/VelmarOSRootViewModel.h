#pragma once

#include "VelmarOSRoute.h"

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

class AppState;
class MintbridgeTokenSetup;

// The rules of the signed-in shell: the route, the sidebar in its two states, the title, the
// answer to navigation requests, the right pane's mode, the sheets, and the refreshes run
// when the user comes back to the window. The QML root view draws it.
class VelmarOSRootViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged)
    Q_PROPERTY(QString routeKind READ routeKind NOTIFY routeChanged)
    Q_PROPERTY(QString organRaw READ organRaw NOTIFY routeChanged)
    Q_PROPERTY(QString sub READ sub NOTIFY routeChanged)
    Q_PROPERTY(QString routeTitle READ routeTitle NOTIFY routeChanged)
    Q_PROPERTY(bool sidebarInOrgan READ sidebarInOrgan NOTIFY routeChanged)
    Q_PROPERTY(QVariantList sidebarRows READ sidebarRows NOTIFY routeChanged)
    Q_PROPERTY(QVariantMap placeholder READ placeholder NOTIFY routeChanged)
    Q_PROPERTY(bool leftCollapsed READ leftCollapsed WRITE setLeftCollapsed NOTIFY leftCollapsedChanged)
    Q_PROPERTY(bool rightCollapsed READ rightCollapsed WRITE setRightCollapsed NOTIFY rightCollapsedChanged)
    Q_PROPERTY(QString rightPaneMode READ rightPaneMode WRITE setRightPaneMode NOTIFY rightPaneModeChanged)
    Q_PROPERTY(bool showAccountSwitcher READ showAccountSwitcher WRITE setShowAccountSwitcher NOTIFY
            showAccountSwitcherChanged)
    Q_PROPERTY(int financeRefreshSignal READ financeRefreshSignal NOTIFY financeRefreshSignalChanged)
    Q_PROPERTY(int timeRefreshSignal READ timeRefreshSignal NOTIFY timeRefreshSignalChanged)
    Q_PROPERTY(bool isRefreshingOnReturn READ isRefreshingOnReturn NOTIFY isRefreshingOnReturnChanged)
    Q_MOC_INCLUDE("relay/MintbridgeTokenSetup.h")
    Q_PROPERTY(MintbridgeTokenSetup* tokenSetup READ tokenSetup NOTIFY appStateChanged)

public:
    enum class RightPaneMode { dashboard, conversation };

    explicit VelmarOSRootViewModel(QObject* parent = nullptr);
    ~VelmarOSRootViewModel() override;

    AppState* appState() const { return m_appState; }
    void setAppState(AppState* appState);

    const VelmarOSRoute& route() const { return m_route; }
    void setRoute(VelmarOSRoute route);
    QString routeKind() const { return m_route.kindName(); }
    QString organRaw() const;
    QString sub() const { return m_route.kind == VelmarOSRoute::Kind::organ ? m_route.sub : QString(); }
    QString routeTitle() const { return m_route.title(); }
    bool sidebarInOrgan() const;
    QVariantList sidebarRows() const;
    QVariantMap placeholder() const;

    bool leftCollapsed() const { return m_leftCollapsed; }
    void setLeftCollapsed(bool value);
    bool rightCollapsed() const { return m_rightCollapsed; }
    void setRightCollapsed(bool value);
    QString rightPaneMode() const;
    void setRightPaneMode(const QString& mode);
    bool showAccountSwitcher() const { return m_showAccountSwitcher; }
    void setShowAccountSwitcher(bool value);
    int financeRefreshSignal() const { return m_financeRefreshSignal; }
    int timeRefreshSignal() const { return m_timeRefreshSignal; }
    bool isRefreshingOnReturn() const { return m_isRefreshingOnReturn; }
    MintbridgeTokenSetup* tokenSetup() const { return m_tokenSetup; }

    Q_INVOKABLE void goHome() { setRoute(VelmarOSRoute::home()); }
    Q_INVOKABLE void openConversation() { setRoute(VelmarOSRoute::conversation()); }
    // An organ row: the organ at its overview.
    Q_INVOKABLE void openOrgan(const QString& organRaw);
    // A sub-screen row of the organ on screen.
    Q_INVOKABLE void selectSub(const QString& sub);
    // A sidebar row by its kind and id, as `sidebarRows` lists them.
    Q_INVOKABLE void activateRow(const QString& kind, const QString& id);

    // The window became the active one again: one refresh sequence, never two at once.
    Q_INVOKABLE void sceneBecameActive();
    QCoro::Task<void> refreshOnReturn();
    // The global pending prompt changed the ledgers: screens reload, time refreshes.
    Q_INVOKABLE void pendingPromptChanged();

signals:
    void appStateChanged();
    void routeChanged();
    void leftCollapsedChanged();
    void rightCollapsedChanged();
    void rightPaneModeChanged();
    void showAccountSwitcherChanged();
    void financeRefreshSignalChanged();
    void timeRefreshSignalChanged();
    void isRefreshingOnReturnChanged();
    void refreshOnReturnFinished();

private:
    void answerNavIntent();
    void setRefreshingOnReturn(bool value);

    QPointer<AppState> m_appState;
    QMetaObject::Connection m_navConnection;
    VelmarOSRoute m_route;
    bool m_leftCollapsed = false;
    bool m_rightCollapsed = false;
    RightPaneMode m_rightPaneMode = RightPaneMode::dashboard;
    bool m_showAccountSwitcher = false;
    int m_financeRefreshSignal = 0;
    int m_timeRefreshSignal = 0;
    bool m_isRefreshingOnReturn = false;
    MintbridgeTokenSetup* m_tokenSetup = nullptr;
};
