import QtQuick

// A round badge with the first letter of a name.
Rectangle {
    id: avatar
    property string name: ""
    property int size: 28

    implicitWidth: size
    implicitHeight: size
    radius: size / 2
    color: Theme.accentSoft
    border.color: "#D5DEFC"

    Text {
        anchors.centerIn: parent
        text: avatar.name.length > 0 ? avatar.name.charAt(0).toUpperCase() : "?"
        font.family: Theme.fontFamily
        font.pixelSize: Math.round(avatar.size * 0.45)
        font.weight: Font.DemiBold
        color: Theme.accent
    }
}
