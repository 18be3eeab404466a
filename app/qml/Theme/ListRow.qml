import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// A clickable row of a list: a leading symbol, a title and a subtitle, a trailing part, and
// hover, pressed and focus states. `destructive` colours it for actions that remove.
AbstractButton {
    id: row
    property string symbol: ""
    property color symbolTint: destructive ? Theme.danger : Theme.textSecondary
    property string title: ""
    property string subtitle: ""
    property bool destructive: false
    property bool selected: false
    default property alias trailing: trailingSlot.data

    implicitHeight: Math.max(44, layout.implicitHeight + 2 * Theme.space2)
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.name: title

    background: Rectangle {
        radius: Theme.radiusSmall
        color: row.down ? Theme.pressed : row.selected ? Theme.accentSoft : row.hovered ? Theme.hover : "transparent"
        border.width: row.visualFocus ? 2 : 0
        border.color: Theme.focusRing
    }

    contentItem: RowLayout {
        id: layout
        spacing: Theme.space3
        SymbolIcon {
            visible: row.symbol.length > 0
            Layout.preferredWidth: 22
            symbol: row.symbol
            tint: row.symbolTint
            size: 16
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 1
            Text {
                Layout.fillWidth: true
                text: row.title
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: Font.Medium
                color: row.destructive ? Theme.danger : Theme.textPrimary
                elide: Text.ElideRight
            }
            Text {
                Layout.fillWidth: true
                visible: row.subtitle.length > 0
                text: row.subtitle
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                color: Theme.textSecondary
                elide: Text.ElideRight
            }
        }
        RowLayout {
            id: trailingSlot
            spacing: Theme.space2
        }
    }
    leftPadding: Theme.space3
    rightPadding: Theme.space3
}
