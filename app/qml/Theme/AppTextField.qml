import QtQuick
import QtQuick.Controls.Basic

// A labelled single-line field with a visible focus ring.
Column {
    id: field
    property alias label: caption.text
    property alias text: input.text
    property alias placeholderText: input.placeholderText
    property alias echoMode: input.echoMode
    property alias input: input
    signal accepted()

    spacing: Theme.space1

    Text {
        id: caption
        visible: text.length > 0
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
        font.weight: Font.Medium
        color: Theme.textSecondary
    }

    TextField {
        id: input
        width: field.width
        implicitHeight: Theme.controlHeight
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        color: Theme.textPrimary
        placeholderTextColor: Theme.textTertiary
        selectByMouse: true
        leftPadding: Theme.space3
        rightPadding: Theme.space3
        Accessible.name: caption.text
        onAccepted: field.accepted()
        background: Rectangle {
            radius: Theme.radiusSmall
            color: Theme.surface
            border.width: input.activeFocus ? 2 : 1
            border.color: input.activeFocus ? Theme.focusRing : (input.hovered ? Theme.borderStrong : Theme.border)
        }
    }
}
