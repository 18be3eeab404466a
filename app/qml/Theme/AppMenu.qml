import QtQuick
import QtQuick.Controls.Basic

// A pop-up menu in the app's look.
Menu {
    id: menu
    padding: Theme.space1
    implicitWidth: 200

    delegate: MenuItem {
        id: item
        implicitHeight: 32
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        contentItem: Text {
            leftPadding: Theme.space2
            text: item.text
            font: item.font
            color: item.enabled ? (item.highlighted ? Theme.accent : Theme.textPrimary) : Theme.textTertiary
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
        }
        background: Rectangle {
            radius: Theme.radiusSmall
            color: item.highlighted ? Theme.accentSoft : "transparent"
        }
    }

    background: Rectangle {
        implicitWidth: menu.implicitWidth
        radius: Theme.radius
        color: Theme.surface
        border.color: Theme.border
    }
}
