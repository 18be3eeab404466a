import QtQuick

// The few symbols the screens name, drawn as glyphs so no image files are needed.
Text {
    id: icon
    property string symbol: ""
    property color tint: Theme.textSecondary
    property int size: 16

    readonly property var glyphs: ({
        "exclamationmark.shield.fill": "\u26A0",
        "checkmark.circle.fill": "\u2714",
        "person.2.fill": "\u263A",
        "rectangle.portrait.and.arrow.right": "\u21E5",
        "ellipsis.circle": "\u22EF",
        "person.crop.circle": "\u25CF"
    })

    text: glyphs[symbol] !== undefined ? glyphs[symbol] : ""
    color: tint
    font.pixelSize: size
    font.family: Theme.fontFamily
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
