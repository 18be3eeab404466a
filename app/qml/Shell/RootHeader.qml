import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The bar over the centre: the route's title and the shell's controls, each with its help words.
Rectangle {
    id: header
    required property VelmarOSRootViewModel model
    // Whether a chat is there to be cleared.
    property bool canClearChat: false
    property string displayName: ""
    signal accountRequested()
    signal tokenSheetRequested()
    signal clearChatRequested()

    objectName: "rootHeader"
    implicitHeight: Theme.headerHeight
    color: Theme.window

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.space3
        anchors.rightMargin: Theme.space3
        spacing: Theme.space1

        IconButton {
            objectName: "toggleSidebarButton"
            symbol: "sidebar.left"
            helpText: header.model.leftCollapsed ? "显示侧栏" : "隐藏侧栏"
            onClicked: header.model.leftCollapsed = !header.model.leftCollapsed
        }

        Text {
            objectName: "routeTitle"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.space2
            text: header.model.routeTitle
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontHeadline
            font.weight: Font.DemiBold
            color: Theme.textPrimary
            elide: Text.ElideRight
        }

        IconButton {
            objectName: "clearChatButton"
            visible: header.canClearChat
            symbol: "eraser"
            helpText: "清空对话 → 空白新会话（删本地 + 服务端消息，跨端不复活）"
            onClicked: header.clearChatRequested()
        }

        // The right pane's two modes; the conversation route has no right pane.
        Rectangle {
            enabled: header.model.routeKind !== "conversation"
            opacity: enabled ? 1 : 0.45
            implicitWidth: modes.implicitWidth + 4
            implicitHeight: 32
            radius: Theme.radiusSmall + 2
            color: Theme.surfaceMuted
            border.color: Theme.border
            RowLayout {
                id: modes
                anchors.centerIn: parent
                spacing: 2
                IconButton {
                    objectName: "dashboardModeButton"
                    implicitWidth: 28
                    implicitHeight: 26
                    symbol: "square.grid.2x2"
                    selected: header.model.rightPaneMode === "dashboard" && !header.model.rightCollapsed
                    helpText: "切回 Dashboard"
                    onClicked: {
                        header.model.rightPaneMode = "dashboard"
                        header.model.rightCollapsed = false
                    }
                }
                IconButton {
                    objectName: "conversationModeButton"
                    implicitWidth: 28
                    implicitHeight: 26
                    symbol: "bubble.left.and.bubble.right"
                    selected: header.model.rightPaneMode === "conversation" && !header.model.rightCollapsed
                    helpText: "切到对话模式"
                    onClicked: {
                        header.model.rightPaneMode = "conversation"
                        header.model.rightCollapsed = false
                    }
                }
            }
        }

        AbstractButton {
            id: accountButton
            objectName: "accountButton"
            readonly property string helpText: "切换账号 / 关系管理"
            implicitWidth: 32
            implicitHeight: 32
            hoverEnabled: true
            focusPolicy: Qt.StrongFocus
            Accessible.name: helpText
            ToolTip.visible: hovered
            ToolTip.delay: 450
            ToolTip.text: helpText
            onClicked: header.accountRequested()
            background: Rectangle {
                radius: width / 2
                color: accountButton.hovered ? Theme.hover : "transparent"
                border.width: accountButton.visualFocus ? 2 : 0
                border.color: Theme.focusRing
            }
            contentItem: Item {
                Avatar {
                    anchors.centerIn: parent
                    size: 24
                    name: header.displayName
                }
            }
        }

        IconButton {
            id: moreButton
            objectName: "moreButton"
            symbol: "ellipsis"
            helpText: "更多"
            onClicked: moreMenu.popup(moreButton, 0, moreButton.height + 4)
            AppMenu {
                id: moreMenu
                implicitWidth: 240
                MenuItem {
                    objectName: "tokenMenuItem"
                    text: "配置 Mintbridge 中继 Token"
                    onTriggered: header.tokenSheetRequested()
                }
                MenuItem {
                    text: header.model.rightCollapsed ? "显示右栏" : "隐藏右栏"
                    onTriggered: header.model.rightCollapsed = !header.model.rightCollapsed
                }
            }
        }
    }

    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 1
        color: Theme.border
    }
}
