import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// A delete the agent proposes: nothing goes until the user confirms it here.
Rectangle {
    id: card
    required property var event
    required property ConversationViewModel chat

    readonly property string status: event.status ?? "pending"

    objectName: "proposedDeleteCard"
    implicitHeight: column.implicitHeight + 2 * Theme.space4
    radius: Theme.radiusLarge
    color: status === "pending" ? "#FFF8F8" : Theme.surface
    border.color: status === "pending" ? "#F3C9C9" : Theme.border

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: Theme.space4
        spacing: Theme.space2

        RowLayout {
            spacing: Theme.space2
            SymbolIcon { symbol: "trash"; tint: Theme.danger; size: 13 }
            Text {
                text: "删除提议 · " + (card.event.domain ?? "")
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                font.weight: Font.DemiBold
                color: Theme.textSecondary
            }
        }
        Text {
            Layout.fillWidth: true
            text: card.event.preview ?? ""
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            font.strikeout: card.status === "confirmed"
            color: Theme.textPrimary
            wrapMode: Text.Wrap
        }
        RowLayout {
            visible: card.status === "pending"
            spacing: Theme.space2
            AppButton {
                objectName: "confirmDeleteButton"
                variant: "destructive"
                text: "确认删除"
                implicitHeight: 30
                onClicked: card.chat.store.confirmDelete(card.event.id)
            }
            AppButton {
                objectName: "cancelDeleteButton"
                variant: "secondary"
                text: "取消"
                implicitHeight: 30
                onClicked: card.chat.store.cancelDelete(card.event.id)
            }
        }
        RowLayout {
            visible: card.status !== "pending"
            spacing: Theme.space2
            Spinner { visible: card.status === "deleting"; size: 12 }
            Text {
                objectName: "deleteStatus"
                text: card.status === "deleting" ? "删除中…" : card.status === "confirmed" ? "✓ 已删除" : "已取消"
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                font.weight: Font.Medium
                color: card.status === "confirmed" ? Theme.success : Theme.textSecondary
            }
        }
    }
}
