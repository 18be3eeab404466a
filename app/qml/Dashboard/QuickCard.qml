import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme

// One card of the home grid: an emoji, a title and what it leads to.
AbstractButton {
    id: card
    property string emoji: ""
    property string title: ""
    property string subtitle: ""

    implicitHeight: 76
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: title

    background: Rectangle {
        radius: Theme.radius
        color: card.down ? Theme.pressed : Theme.surface
        border.width: card.visualFocus ? 2 : 1
        border.color: card.visualFocus ? Theme.focusRing : card.hovered ? Theme.borderStrong : Theme.border
        Behavior on border.color { ColorAnimation { duration: 90 } }
    }

    contentItem: RowLayout {
        spacing: Theme.space3
        Rectangle {
            Layout.preferredWidth: 40
            Layout.preferredHeight: 40
            radius: Theme.radius
            color: card.hovered ? Theme.accentSoft : Theme.surfaceMuted
            Text {
                anchors.centerIn: parent
                text: card.emoji
                font.pixelSize: 20
            }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Text {
                Layout.fillWidth: true
                text: card.title
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBodyLarge
                font.weight: Font.DemiBold
                color: Theme.textPrimary
                elide: Text.ElideRight
            }
            Text {
                Layout.fillWidth: true
                text: card.subtitle
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                color: Theme.textSecondary
                elide: Text.ElideRight
            }
        }
        SymbolIcon {
            symbol: "chevron.right"
            tint: card.hovered ? Theme.accent : Theme.textTertiary
            size: 18
        }
    }
    leftPadding: Theme.space4
    rightPadding: Theme.space4
}
