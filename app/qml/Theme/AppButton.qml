import QtQuick
import QtQuick.Controls.Basic

// A button with hover, pressed and keyboard-focus states in the three roles the screens use.
Button {
    id: control
    property string variant: "primary" // primary, secondary, destructive

    implicitHeight: Theme.controlHeight
    leftPadding: Theme.space4
    rightPadding: Theme.space4
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontBody
    font.weight: Font.Medium
    focusPolicy: Qt.StrongFocus

    readonly property color baseColor: variant === "primary" ? Theme.accent
                                     : variant === "destructive" ? Theme.dangerSoft : Theme.surface
    readonly property color hoverColor: variant === "primary" ? Theme.accentHover
                                      : variant === "destructive" ? "#FBDADA" : Theme.surfaceMuted
    readonly property color pressedColor: variant === "primary" ? Theme.accentPressed
                                        : variant === "destructive" ? "#F6C6C6" : Theme.border

    contentItem: Text {
        text: control.text
        font: control.font
        color: control.variant === "primary" ? "white" : control.variant === "destructive" ? Theme.danger : Theme.textPrimary
        opacity: control.enabled ? 1.0 : 0.55
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: !control.enabled ? (control.variant === "primary" ? "#A9BDF5" : Theme.surfaceMuted)
             : control.down ? control.pressedColor
             : control.hovered ? control.hoverColor : control.baseColor
        border.width: control.visualFocus ? 2 : (control.variant === "secondary" ? 1 : 0)
        border.color: control.visualFocus ? Theme.focusRing : Theme.borderStrong
        Behavior on color { ColorAnimation { duration: 90 } }
    }
}
