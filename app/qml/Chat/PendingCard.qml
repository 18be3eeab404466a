import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// A proposal of the agent, waiting for a yes or no: confirm, edit or reject; once answered
// it shows what became of it.
Rectangle {
    id: card
    required property var item
    required property ConversationViewModel chat
    signal editRequested(var item)

    readonly property var words: chat.pendingCard(item)
    readonly property bool waiting: words.status === "pending"

    objectName: "pendingCard"
    implicitHeight: column.implicitHeight + 2 * Theme.space4
    radius: Theme.radiusLarge
    color: Theme.surface
    border.width: waiting ? 1.5 : 1
    border.color: waiting ? "#BFD0FB" : Theme.border

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: Theme.space4
        spacing: Theme.space2

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.space2
            Text {
                text: card.words.title + (card.words.kindText.length > 0 ? " · " + card.words.kindText : "")
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                font.weight: Font.DemiBold
                color: Theme.textSecondary
            }
            Item { Layout.fillWidth: true }
            Rectangle {
                objectName: "pendingStatus"
                implicitWidth: statusText.implicitWidth + 2 * Theme.space2
                implicitHeight: 20
                radius: 10
                color: card.words.status === "committed" ? Theme.successSoft
                     : card.words.status === "rejected" ? Theme.surfaceMuted : Theme.accentSoft
                Text {
                    id: statusText
                    anchors.centerIn: parent
                    text: (card.words.status === "committed" ? "✓ " : "") + card.words.statusText
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontMicro + 1
                    font.weight: Font.Medium
                    color: card.words.status === "committed" ? Theme.success
                         : card.words.status === "rejected" ? Theme.textSecondary : Theme.accent
                }
            }
        }

        Text {
            visible: card.words.headline.length > 0
            Layout.fillWidth: true
            text: card.words.headline
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
            font.strikeout: card.words.status === "rejected"
            color: card.words.status === "rejected" ? Theme.textTertiary : Theme.textPrimary
            wrapMode: Text.Wrap
        }

        GridLayout {
            Layout.fillWidth: true
            columns: 2
            columnSpacing: Theme.space3
            rowSpacing: Theme.space1
            Repeater {
                model: card.words.fields
                delegate: RowLayout {
                    required property var modelData
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    spacing: Theme.space2
                    Text {
                        text: modelData.label
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        color: Theme.textTertiary
                    }
                    Text {
                        Layout.fillWidth: true
                        text: modelData.value
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        color: Theme.textPrimary
                        elide: Text.ElideRight
                    }
                }
            }
        }

        Text {
            visible: card.words.sourceText.length > 0
            Layout.fillWidth: true
            text: "「" + card.words.sourceText + "」"
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: Theme.textTertiary
            elide: Text.ElideRight
        }

        RowLayout {
            visible: card.waiting
            Layout.fillWidth: true
            Layout.topMargin: Theme.space1
            spacing: Theme.space2
            AppButton {
                objectName: "confirmPendingButton"
                text: "确认"
                implicitHeight: 30
                onClicked: card.chat.store.confirmPending(card.item.id)
            }
            AppButton {
                objectName: "editPendingButton"
                variant: "secondary"
                text: "编辑"
                implicitHeight: 30
                onClicked: card.editRequested(card.item)
            }
            Item { Layout.fillWidth: true }
            AppButton {
                objectName: "rejectPendingButton"
                variant: "secondary"
                text: "撤销"
                implicitHeight: 30
                onClicked: card.chat.store.rejectPending(card.item.id)
            }
        }
    }
}
