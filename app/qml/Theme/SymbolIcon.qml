import QtQuick

// The symbols the screens name, drawn as glyphs (or, for the few no font has, as shapes) so no
// image files are needed. A symbol that is not a known name is drawn as given (an emoji).
Item {
    id: icon
    property string symbol: ""
    property color tint: Theme.textSecondary
    property int size: 16

    readonly property var glyphs: ({
        "exclamationmark.shield.fill": "\u26A0",
        "exclamationmark.triangle.fill": "\u26A0",
        "checkmark.circle.fill": "\u2714",
        "checkmark": "\u2713",
        "xmark": "\u2715",
        "person.2.fill": "\u2687",
        "person.crop.circle": "\u25CF",
        "rectangle.portrait.and.arrow.right": "\u21E5",
        "ellipsis.circle": "\u22EF",
        "ellipsis": "\u22EF",
        "plus": "+",
        "plus.circle.fill": "\u2295",
        "chevron.left": "\u2039",
        "chevron.right": "\u203A",
        "house": "\u2302",
        "square.grid.2x2": "\u25A6",
        "creditcard": "\u25A4",
        "list.bullet": "\u2261",
        "chart.pie": "\u25D4",
        "building.columns": "\u229E",
        "tray": "\u229F",
        "gauge": "\u25D0",
        "tag": "\u2318",
        "square.and.arrow.down": "\u21E9",
        "square.and.arrow.up": "\u21E7",
        "gearshape": "\u2699",
        "doc.text": "\u2630",
        "archivebox": "\u22A1",
        "circle.dotted": "\u25CC",
        "moon.zzz.fill": "\u263E",
        "pause.circle.fill": "\u2016",
        "lock.fill": "\u2612",
        "dot.radiowaves.left.and.right": "\u25C9",
        "stop.fill": "\u25A0",
        "play.fill": "\u25B6",
        "arrow.clockwise": "\u21BB",
        "arrow.up": "\u2191",
        "sidebar.left": "\u2630",
        "sidebar.right": "\u2630",
        "bubble.left.and.bubble.right": "\u2709",
        "rectangle.3.group": "\u25A6",
        "trash": "\u2715",
        "eraser": "\u232B",
        "pin": "\u2605",
        "pin.slash": "\u2606",
        "pencil": "\u270E",
        "paperclip": "📎"
    })

    readonly property bool drawnBubble: symbol === "bubble.left.and.bubble.right"

    implicitWidth: drawnBubble ? size + 2 : glyph.implicitWidth
    implicitHeight: drawnBubble ? size : glyph.implicitHeight
    Accessible.ignored: true

    Text {
        id: glyph
        anchors.centerIn: parent
        visible: !icon.drawnBubble
        text: icon.glyphs[icon.symbol] !== undefined ? icon.glyphs[icon.symbol] : icon.symbol
        color: icon.tint
        font.pixelSize: icon.size
        font.family: Theme.symbolFamily
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    // Two speech bubbles, one behind the other.
    Item {
        visible: icon.drawnBubble
        anchors.centerIn: parent
        width: icon.size + 2
        height: icon.size
        Rectangle {
            x: parent.width * 0.34
            y: 0
            width: parent.width * 0.66
            height: parent.height * 0.56
            radius: height / 2.4
            color: "transparent"
            border.width: 1.5
            border.color: icon.tint
            opacity: 0.55
        }
        Rectangle {
            x: 0
            y: parent.height * 0.30
            width: parent.width * 0.70
            height: parent.height * 0.58
            radius: height / 2.4
            color: Theme.surface
            border.width: 1.5
            border.color: icon.tint
        }
    }
}
