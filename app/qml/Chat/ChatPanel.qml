import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The open conversation: its title, the way to the first card still waiting, the message
// list with the running turn, and the composer.
Rectangle {
    id: panel
    required property AppState appState
    // The narrow form of the right pane.
    property bool compact: false
    signal openSessionsRequested()
    readonly property alias chat: model
    readonly property alias composer: composerBox

    objectName: compact ? "chatPanelCompact" : "chatPanel"
    color: Theme.window

    ConversationViewModel {
        id: model
        appState: panel.appState
    }

    readonly property VelmarOSChatStore store: model.store
    readonly property int waitingCards: store ? store.aggregatedPending.length : 0

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.space4
            Layout.rightMargin: Theme.space3
            Layout.topMargin: Theme.space2
            Layout.preferredHeight: 36
            spacing: Theme.space2
            Text {
                objectName: "chatTitle"
                Layout.fillWidth: true
                text: model.sessions ? model.sessionTitle(model.sessions.activeSession) : ""
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                color: Theme.textPrimary
                elide: Text.ElideRight
            }
            AbstractButton {
                id: jump
                objectName: "jumpToPendingButton"
                visible: panel.waitingCards > 0
                implicitHeight: 24
                implicitWidth: jumpText.implicitWidth + 2 * Theme.space3
                hoverEnabled: true
                ToolTip.visible: hovered
                ToolTip.delay: 450
                ToolTip.text: "跳到第一张待确认卡片"
                onClicked: panel.store.jumpToPending()
                background: Rectangle {
                    radius: 12
                    color: jump.hovered ? "#D8E3FF" : Theme.accentSoft
                }
                contentItem: Text {
                    id: jumpText
                    text: "待确认 " + panel.waitingCards
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.DemiBold
                    color: Theme.accent
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
            }
            IconButton {
                visible: panel.compact
                objectName: "openSessionsButton"
                symbol: "list.bullet"
                helpText: "全部会话"
                onClicked: panel.openSessionsRequested()
            }
        }

        MessageList {
            Layout.fillWidth: true
            Layout.fillHeight: true
            chat: model
            onEditRequested: function(item) { editSheet.openFor(item) }
        }

        Composer {
            id: composerBox
            Layout.fillWidth: true
            Layout.leftMargin: Theme.space3
            Layout.rightMargin: Theme.space3
            Layout.bottomMargin: Theme.space3
            chat: model
            showModelPicker: true
        }
    }

    PendingEditSheet {
        id: editSheet
        chat: model
    }
}
