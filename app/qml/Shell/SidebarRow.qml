import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme

// One row of the sidebar: a section label, or a navigation row with its emoji or glyph.
AbstractButton {
    id: button
    required property var row
    signal activated()

    readonly property bool isSection: row.kind === "section"
    readonly property bool usesEmoji: row.kind === "organ" || row.kind === "home" || row.kind === "conversation"

    objectName: "sidebarRow-" + row.kind + "-" + row.id
    implicitHeight: isSection ? 30 : Theme.rowHeight
    enabled: !isSection
    hoverEnabled: !isSection
    focusPolicy: isSection ? Qt.NoFocus : Qt.StrongFocus
    Accessible.name: row.title
    onClicked: button.activated()

    background: Rectangle {
        visible: !button.isSection
        radius: Theme.radiusSmall
        color: button.row.selected ? Theme.sidebarSelected
             : button.down ? Theme.pressed
             : button.hovered ? Theme.sidebarHover : "transparent"
        border.width: button.visualFocus ? 2 : (button.row.selected ? 1 : 0)
        border.color: button.visualFocus ? Theme.focusRing : Theme.border
    }

    contentItem: RowLayout {
        spacing: Theme.space2
        Item {
            visible: !button.isSection
            Layout.preferredWidth: 20
            Layout.preferredHeight: 20
            Text {
                anchors.centerIn: parent
                visible: button.usesEmoji
                text: button.row.kind === "home" ? "🏠" : button.row.kind === "conversation" ? "💬" : button.row.icon
                font.pixelSize: 14
            }
            SymbolIcon {
                anchors.centerIn: parent
                visible: !button.usesEmoji
                symbol: button.row.icon
                tint: button.row.selected ? Theme.accent : Theme.textSecondary
                size: button.row.kind === "back" ? 18 : 14
            }
        }
        Text {
            Layout.fillWidth: true
            Layout.alignment: button.isSection ? Qt.AlignBottom : Qt.AlignVCenter
            text: button.row.title
            font.family: Theme.fontFamily
            font.pixelSize: button.isSection ? Theme.fontMicro : Theme.fontBody
            font.weight: button.isSection || button.row.selected ? Font.DemiBold : Font.Normal
            font.letterSpacing: button.isSection ? 1.2 : 0
            color: button.isSection ? Theme.textTertiary
                 : button.row.kind === "back" ? Theme.textSecondary
                 : button.row.selected ? Theme.textPrimary : "#3A3A40"
            elide: Text.ElideRight
        }
    }
    leftPadding: Theme.space2
    rightPadding: Theme.space2
    bottomPadding: isSection ? Theme.space1 : 0
}
