import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Activity
import VelmarOS.Chat
import VelmarOS.Dashboard
import VelmarOS.Login
import VelmarOS.Core

// The signed-in shell: the activity strip on top, then the sidebar, the centre (home,
// conversation or an organ) and the right pane (widgets or the conversation). The account
// sheet, the token sheet and the toast slot lie over it.
Rectangle {
    id: root
    required property AppState appState
    readonly property alias model: shell
    readonly property alias activityModel: barModel

    objectName: "rootView"
    color: Theme.window

    VelmarOSRootViewModel {
        id: shell
        objectName: "rootViewModel"
        appState: root.appState
    }

    GlobalActivityBarModel {
        id: barModel
        objectName: "activityModel"
        appState: root.appState
    }

    // Coming back to the window refreshes what may have changed meanwhile.
    Connections {
        target: Qt.application
        function onStateChanged() {
            if (Qt.application.state === Qt.ApplicationActive)
                shell.sceneBecameActive()
        }
    }

    // In the conversation route the centre is the chat; the right pane steps aside.
    readonly property bool rightPaneShown: !shell.rightCollapsed && shell.routeKind !== "conversation"

    function openChatPane() {
        shell.rightPaneMode = "conversation"
        shell.rightCollapsed = false
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        GlobalActivityBar {
            Layout.fillWidth: true
            model: barModel
            onChatRequested: root.openChatPane()
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 0

            ShellSidebar {
                visible: !shell.leftCollapsed
                Layout.preferredWidth: Theme.sidebarWidth
                Layout.fillHeight: true
                model: shell
                appState: root.appState
                onAccountRequested: shell.showAccountSwitcher = true
            }
            Rectangle {
                visible: !shell.leftCollapsed
                Layout.preferredWidth: 1
                Layout.fillHeight: true
                color: Theme.border
            }

            ColumnLayout {
                Layout.fillWidth: true
                Layout.fillHeight: true
                spacing: 0

                RootHeader {
                    Layout.fillWidth: true
                    model: shell
                    canClearChat: true
                    onClearChatRequested: clearSheet.open()
                    displayName: root.appState.hasProfile ? root.appState.currentDisplayName : ""
                    onAccountRequested: shell.showAccountSwitcher = true
                    onTokenSheetRequested: tokenSheet.open()
                }

                Loader {
                    id: centre
                    objectName: "centre"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    sourceComponent: shell.routeKind === "home" ? homeComponent
                                   : shell.routeKind === "conversation" ? conversationComponent
                                   : organComponent
                }
            }

            Rectangle {
                visible: root.rightPaneShown
                Layout.preferredWidth: 1
                Layout.fillHeight: true
                color: Theme.border
            }
            Rectangle {
                objectName: "rightPane"
                visible: root.rightPaneShown
                Layout.preferredWidth: Theme.rightPaneWidth
                Layout.fillHeight: true
                color: Theme.window

                Loader {
                    anchors.fill: parent
                    sourceComponent: shell.rightPaneMode === "dashboard" ? rightDashboardComponent
                                                                         : rightConversationComponent
                }
            }
        }
    }

    // The home screen's chat bar speaks into the open session.
    ConversationViewModel {
        id: homeChat
        appState: root.appState
    }

    Component {
        id: homeComponent
        HomeView {
            appState: root.appState
            onOpenTarget: function(target, organ) {
                if (target === "conversation")
                    shell.openConversation()
                else
                    shell.openOrgan(organ)
            }
            footer: Item {
                // With the conversation open beside it, its own composer is the one to use.
                readonly property bool chatBeside: root.rightPaneShown && shell.rightPaneMode === "conversation"
                visible: !chatBeside
                width: parent ? parent.width : 0
                height: chatBeside ? 0 : chatBar.implicitHeight + Theme.space5
                Composer {
                    id: chatBar
                    objectName: "homeChatBar"
                    anchors.horizontalCenter: parent.horizontalCenter
                    anchors.bottom: parent.bottom
                    anchors.bottomMargin: Theme.space4
                    width: Math.min(parent.width - 2 * Theme.space6, 656)
                    chat: homeChat
                    onSent: root.openChatPane()
                }
            }
        }
    }

    Component {
        id: conversationComponent
        ConversationView {
            appState: root.appState
        }
    }

    Component {
        id: organComponent
        OrganContent {
            model: shell
            activity: barModel
        }
    }

    Component {
        id: rightDashboardComponent
        RightDashboard {
            appState: root.appState
            activity: barModel
            onOpenOrgan: function(organ) { shell.openOrgan(organ) }
        }
    }

    Component {
        id: rightConversationComponent
        ChatPanel {
            appState: root.appState
            compact: true
            onOpenSessionsRequested: shell.openConversation()
        }
    }

    // The deadline undo toast sits here once the deadlines organ is in.
    Item {
        id: toastSlot
        objectName: "toastSlot"
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.space5
        width: childrenRect.width
        height: childrenRect.height
    }

    AccountSwitcherView {
        id: accountSheet
        appState: root.appState
        onClosed: shell.showAccountSwitcher = false
    }

    Connections {
        target: shell
        function onShowAccountSwitcherChanged() {
            if (shell.showAccountSwitcher) accountSheet.open(); else accountSheet.close()
        }
    }

    ConfirmSheet {
        id: clearSheet
        objectName: "clearChatSheet"
        title: "清空这段对话？"
        message: "清空对话 → 空白新会话（删本地 + 服务端消息，跨端不复活）"
        confirmText: "清空"
        onConfirmed: root.appState.chatSessions.activeStore.clearHistory()
    }

    MintbridgeTokenSheet {
        id: tokenSheet
        setup: shell.tokenSetup
    }
}
