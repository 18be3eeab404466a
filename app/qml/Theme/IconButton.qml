import QtQuick
import QtQuick.Controls.Basic

// A small square button with a glyph or an emoji, a hover and pressed state, a visible focus
// ring, and its help words as a tooltip.
AbstractButton {
    id: control
    property string symbol: ""
    property string helpText: ""
    property color tint: Theme.textSecondary
    property int glyphSize: 15
    property bool selected: false

    implicitWidth: 30
    implicitHeight: 30
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.name: helpText
    Accessible.role: Accessible.Button

    ToolTip.visible: hovered && helpText.length > 0
    ToolTip.delay: 450
    ToolTip.text: helpText

    contentItem: SymbolIcon {
        symbol: control.symbol
        tint: control.selected ? Theme.accent : control.tint
        size: control.glyphSize
        opacity: control.enabled ? 1 : 0.4
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: control.down ? Theme.pressed
             : control.selected ? Theme.accentSoft
             : control.hovered ? Theme.hover : "transparent"
        border.width: control.visualFocus ? 2 : 0
        border.color: Theme.focusRing
        Behavior on color { ColorAnimation { duration: 90 } }
    }
}
