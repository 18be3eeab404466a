import QtQuick
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The conversation route: the sessions on the left, the open one beside them.
Item {
    id: view
    required property AppState appState

    objectName: "conversationView"

    RowLayout {
        anchors.fill: parent
        spacing: 0

        SessionList {
            Layout.preferredWidth: 220
            Layout.fillHeight: true
            chat: panel.chat
            onRenameRequested: function(id, title) { renameSheet.openFor(id, title) }
            onDeleteRequested: function(id, title) {
                deleteSheet.sessionId = id
                deleteSheet.title = "删除会话「" + title + "」？"
                deleteSheet.open()
            }
        }
        Rectangle {
            Layout.preferredWidth: 1
            Layout.fillHeight: true
            color: Theme.border
        }
        ChatPanel {
            id: panel
            Layout.fillWidth: true
            Layout.fillHeight: true
            appState: view.appState
        }
    }

    ConfirmSheet {
        id: deleteSheet
        objectName: "deleteSessionSheet"
        property string sessionId: ""
        message: "本机记录和服务端消息都会删除，其他设备上也会消失。"
        confirmText: "删除"
        onConfirmed: panel.chat.sessions.remove(sessionId)
    }

    RenameSessionSheet {
        id: renameSheet
        chat: panel.chat
    }
}
