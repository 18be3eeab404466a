import QtQuick

// A small turning ring for work under way.
Item {
    id: spinner
    property int size: 14
    property color tint: Theme.textSecondary
    property bool running: visible

    implicitWidth: size
    implicitHeight: size

    Rectangle {
        anchors.fill: parent
        radius: width / 2
        color: "transparent"
        border.width: Math.max(2, spinner.size / 7)
        border.color: Qt.rgba(spinner.tint.r, spinner.tint.g, spinner.tint.b, 0.25)
    }
    Rectangle {
        id: dot
        width: Math.max(3, spinner.size / 4)
        height: width
        radius: width / 2
        color: spinner.tint
        x: spinner.size / 2 - width / 2
        y: 0
        transformOrigin: Item.Center
    }
    RotationAnimator on rotation {
        from: 0
        to: 360
        duration: 900
        loops: Animation.Infinite
        running: spinner.running
    }
}
