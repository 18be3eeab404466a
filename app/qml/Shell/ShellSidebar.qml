import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The left column: home, conversation and the organs at the root; inside an organ, the way
// back and the organ's sub-screens. The current user sits at the foot.
Rectangle {
    id: sidebar
    required property VelmarOSRootViewModel model
    required property AppState appState
    signal accountRequested()

    objectName: "sidebar"
    color: Theme.sidebar

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.space3
        spacing: 2

        RowLayout {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.space2
            Layout.topMargin: Theme.space1
            Layout.bottomMargin: Theme.space3
            spacing: Theme.space2
            Rectangle {
                width: 22
                height: 22
                radius: 6
                color: Theme.accent
                Text {
                    anchors.centerIn: parent
                    text: "V"
                    font.family: Theme.fontFamily
                    font.pixelSize: 13
                    font.weight: Font.Bold
                    color: "white"
                }
            }
            Text {
                text: "Velmar OS"
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBodyLarge
                font.weight: Font.DemiBold
                color: Theme.textPrimary
            }
        }

        Repeater {
            model: sidebar.model.sidebarRows
            delegate: SidebarRow {
                required property var modelData
                Layout.fillWidth: true
                row: modelData
                onActivated: Qt.callLater(sidebar.model.activateRow, modelData.kind, modelData.id)
            }
        }

        Item { Layout.fillHeight: true }

        AbstractButton {
            id: userChip
            objectName: "sidebarAccountButton"
            Layout.fillWidth: true
            implicitHeight: 44
            hoverEnabled: true
            focusPolicy: Qt.StrongFocus
            Accessible.name: "切换账号 / 关系管理"
            ToolTip.visible: hovered
            ToolTip.delay: 450
            ToolTip.text: "切换账号 / 关系管理"
            onClicked: sidebar.accountRequested()
            background: Rectangle {
                radius: Theme.radiusSmall
                color: userChip.down ? Theme.pressed : userChip.hovered ? Theme.sidebarHover : "transparent"
                border.width: userChip.visualFocus ? 2 : 0
                border.color: Theme.focusRing
            }
            contentItem: RowLayout {
                spacing: Theme.space2
                Avatar {
                    name: sidebar.appState.hasProfile ? sidebar.appState.currentDisplayName : "?"
                    size: 28
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 0
                    Text {
                        Layout.fillWidth: true
                        text: sidebar.appState.hasProfile ? sidebar.appState.currentDisplayName : "…"
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                        font.weight: Font.Medium
                        color: Theme.textPrimary
                        elide: Text.ElideRight
                    }
                    Text {
                        Layout.fillWidth: true
                        visible: sidebar.appState.hasProfile
                        text: "@" + sidebar.appState.currentUsername
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        color: Theme.textSecondary
                        elide: Text.ElideRight
                    }
                }
            }
            leftPadding: Theme.space2
            rightPadding: Theme.space2
        }
    }
}
