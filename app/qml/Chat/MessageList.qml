import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The conversation, oldest first, with the running turn at its foot. Follows new turns down
// and jumps to the first card still waiting when asked.
ListView {
    id: list
    required property ConversationViewModel chat
    readonly property VelmarOSChatStore store: chat.store
    signal editRequested(var item)

    objectName: "messageList"
    clip: true
    spacing: 0
    topMargin: Theme.space4
    bottomMargin: Theme.space4
    leftMargin: Theme.space4
    rightMargin: Theme.space4
    boundsBehavior: Flickable.StopAtBounds
    model: store ? store.events : []
    ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

    delegate: ChatEventDelegate {
        required property var modelData
        width: list.width - list.leftMargin - list.rightMargin
        event: modelData
        chat: list.chat
        onEditRequested: function(item) { list.editRequested(item) }
    }

    footer: Item {
        width: list.width - list.leftMargin - list.rightMargin
        implicitHeight: progress.implicitHeight
        height: implicitHeight
        TurnProgress {
            id: progress
            width: parent.width
            store: list.store
            chat: list.chat
        }
    }

    // Empty conversation: a word on what to say.
    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.space5, 360)
        visible: list.count === 0 && list.store && !list.store.agentLoopActive && !list.store.isLoadingHistory
        spacing: Theme.space2
        Text {
            Layout.alignment: Qt.AlignHCenter
            text: "💬"
            font.pixelSize: 30
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: "说一句话，agent 会把它变成待确认的卡片"
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            color: Theme.textSecondary
            wrapMode: Text.Wrap
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: "例：今天午餐 50 · 上午 9 点到 11 点 coding · 开始 写周报"
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: Theme.textTertiary
            wrapMode: Text.Wrap
        }
    }

    // Follows the foot of the conversation unless the user scrolled up to read.
    property bool followEnd: true
    onMovementEnded: followEnd = atYEnd
    onContentHeightChanged: if (followEnd) scrollToEnd()

    function scrollToEnd() {
        followEnd = true
        Qt.callLater(function() { list.positionViewAtEnd() })
    }

    onCountChanged: scrollToEnd()
    Connections {
        target: list.store
        function onNewTurnScrollAnchorChanged() { list.scrollToEnd() }
        function onHistoryDidLoadChanged() { list.scrollToEnd() }
        function onJumpToPendingTickChanged() {
            const target = list.store.firstPendingEventID
            const events = list.store.events
            for (let i = 0; i < events.length; ++i) {
                if (events[i].id === target) {
                    list.followEnd = false
                    list.positionViewAtIndex(i, ListView.Beginning)
                    return
                }
            }
        }
    }
}
