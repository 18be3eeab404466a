import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The chat sessions: a new one, the pinned ones first, the rest newest first, and the
// archived ones apart. Each row's menu renames, pins, archives or deletes it.
Rectangle {
    id: panel
    required property ConversationViewModel chat
    readonly property SessionsStore sessions: chat.sessions
    property bool showArchived: false
    signal renameRequested(string id, string title)
    signal deleteRequested(string id, string title)

    objectName: "sessionList"
    color: Theme.window

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.space3
        spacing: Theme.space1

        RowLayout {
            Layout.fillWidth: true
            Layout.bottomMargin: Theme.space2
            Text {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.space1
                text: "会话"
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                color: Theme.textPrimary
            }
            AppButton {
                objectName: "newSessionButton"
                variant: "secondary"
                text: "＋ 新会话"
                implicitHeight: 28
                leftPadding: Theme.space3
                rightPadding: Theme.space3
                onClicked: panel.sessions.createSession(panel.chat.modelId)
            }
        }

        ScrollView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: availableWidth
            clip: true

            ColumnLayout {
                width: parent.width
                spacing: 2

                Repeater {
                    model: panel.sessions ? panel.sessions.visibleSessions : []
                    delegate: SessionRow {
                        Layout.fillWidth: true
                        chat: panel.chat
                        onRenameRequested: function(id, title) { panel.renameRequested(id, title) }
                        onDeleteRequested: function(id, title) { panel.deleteRequested(id, title) }
                    }
                }

                AbstractButton {
                    id: archivedToggle
                    objectName: "archivedToggle"
                    visible: panel.sessions && panel.sessions.archivedSessions.length > 0
                    Layout.fillWidth: true
                    Layout.topMargin: Theme.space3
                    implicitHeight: 28
                    hoverEnabled: true
                    onClicked: panel.showArchived = !panel.showArchived
                    background: Rectangle {
                        radius: Theme.radiusSmall
                        color: archivedToggle.hovered ? Theme.hover : "transparent"
                    }
                    contentItem: Text {
                        leftPadding: Theme.space2
                        text: (panel.showArchived ? "▾ " : "▸ ") + "已归档 (" + (panel.sessions ? panel.sessions.archivedSessions.length : 0) + ")"
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        font.weight: Font.DemiBold
                        color: Theme.textSecondary
                        verticalAlignment: Text.AlignVCenter
                    }
                }

                Repeater {
                    model: panel.showArchived && panel.sessions ? panel.sessions.archivedSessions : []
                    delegate: SessionRow {
                        Layout.fillWidth: true
                        chat: panel.chat
                        onRenameRequested: function(id, title) { panel.renameRequested(id, title) }
                        onDeleteRequested: function(id, title) { panel.deleteRequested(id, title) }
                    }
                }
            }
        }
    }
}
