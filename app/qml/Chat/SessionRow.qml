import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// One session in the list: its title, model and last time; a click opens it.
AbstractButton {
    id: row
    required property var modelData
    required property ConversationViewModel chat
    signal renameRequested(string id, string title)
    signal deleteRequested(string id, string title)

    readonly property bool active: chat.sessions && chat.sessions.activeSessionId === modelData.id

    objectName: "sessionRow-" + chat.sessionTitle(modelData)
    implicitHeight: 48
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: titleText.text
    onClicked: Qt.callLater(row.chat.sessions.open, row.modelData.id)

    background: Rectangle {
        radius: Theme.radiusSmall
        color: row.active ? Theme.surface : row.down ? Theme.pressed : row.hovered ? Theme.hover : "transparent"
        border.width: row.visualFocus ? 2 : row.active ? 1 : 0
        border.color: row.visualFocus ? Theme.focusRing : Theme.border
    }

    contentItem: RowLayout {
        spacing: Theme.space2
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 1
            RowLayout {
                spacing: Theme.space1
                Text {
                    visible: row.modelData.isPinned
                    text: "★"
                    font.pixelSize: Theme.fontCaption
                    color: "#E0A100"
                }
                Text {
                    id: titleText
                    Layout.fillWidth: true
                    text: row.chat.sessionTitle(row.modelData)
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    font.weight: row.active ? Font.DemiBold : Font.Normal
                    color: Theme.textPrimary
                    elide: Text.ElideRight
                }
            }
            Text {
                Layout.fillWidth: true
                text: row.modelData.modelName + " · " + row.chat.sessionTime(row.modelData)
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontMicro + 1
                color: Theme.textTertiary
                elide: Text.ElideRight
            }
        }
        IconButton {
            id: more
            objectName: "sessionMenuButton"
            visible: row.hovered || row.active || menu.visible
            implicitWidth: 24
            implicitHeight: 24
            symbol: "ellipsis"
            helpText: "更多操作"
            onClicked: menu.popup(more, 0, more.height)
            AppMenu {
                id: menu
                MenuItem {
                    objectName: "renameSessionItem"
                    text: "重命名"
                    onTriggered: row.renameRequested(row.modelData.id, row.modelData.title)
                }
                MenuItem {
                    objectName: "pinSessionItem"
                    text: row.modelData.isPinned ? "取消置顶" : "置顶"
                    onTriggered: Qt.callLater(row.chat.sessions.pin, row.modelData.id)
                }
                MenuItem {
                    objectName: "archiveSessionItem"
                    text: row.modelData.isArchived ? "取消归档" : "归档"
                    onTriggered: Qt.callLater(row.chat.sessions.setArchived, row.modelData.id, !row.modelData.isArchived)
                }
                MenuItem {
                    objectName: "deleteSessionItem"
                    text: "删除"
                    onTriggered: row.deleteRequested(row.modelData.id, row.chat.sessionTitle(row.modelData))
                }
            }
        }
    }
    leftPadding: Theme.space2
    rightPadding: Theme.space1
}
