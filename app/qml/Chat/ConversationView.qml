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

    RenameSessionSheet {
        id: renameSheet
        chat: panel.chat
    }
}
