import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T

// A modal sheet over the window: a title, a close button and the content. Escape closes it.
Popup {
    id: sheet
    property string title: ""
    property string subtitle: ""
    default property alias content: body.data
    property int sheetWidth: 460
    // A sheet opened from another sheet does not darken the window a second time.
    property bool nested: false
    // Hidden behind a sheet opened from it, still open underneath.
    property bool covered: false

    parent: T.Overlay.overlay
    modal: true
    dim: !nested
    focus: true
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    anchors.centerIn: parent
    width: Math.min(sheetWidth, (parent ? parent.width : sheetWidth) - 2 * Theme.space6)
    height: Math.min(implicitHeight, (parent ? parent.height : implicitHeight) - 2 * Theme.space6)
    padding: 0

    T.Overlay.modal: Rectangle { color: Theme.scrim }

    enter: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 120 }
        NumberAnimation { property: "scale"; from: 0.97; to: 1; duration: 120; easing.type: Easing.OutCubic }
    }
    exit: Transition {
        NumberAnimation { property: "opacity"; from: 1; to: 0; duration: 90 }
    }

    background: Rectangle {
        opacity: sheet.covered ? 0 : 1
        radius: Theme.radiusLarge
        color: Theme.surface
        border.color: Theme.border
    }

    contentItem: Flickable {
        id: flick
        opacity: sheet.covered ? 0 : 1
        implicitHeight: column.implicitHeight
        contentHeight: column.implicitHeight
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar { policy: flick.contentHeight > flick.height ? ScrollBar.AsNeeded : ScrollBar.AlwaysOff }

        ColumnLayout {
            id: column
            width: flick.width
            spacing: 0

            RowLayout {
                Layout.fillWidth: true
                Layout.margins: Theme.space5
                Layout.bottomMargin: Theme.space3
                spacing: Theme.space3
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 2
                    Text {
                        Layout.fillWidth: true
                        text: sheet.title
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontHeadline
                        font.weight: Font.DemiBold
                        color: Theme.textPrimary
                        wrapMode: Text.Wrap
                    }
                    Text {
                        Layout.fillWidth: true
                        visible: sheet.subtitle.length > 0
                        text: sheet.subtitle
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                        color: Theme.textSecondary
                        wrapMode: Text.Wrap
                    }
                }
                IconButton {
                    Layout.alignment: Qt.AlignTop
                    symbol: "xmark"
                    helpText: "关闭"
                    onClicked: sheet.close()
                }
            }

            ColumnLayout {
                id: body
                Layout.fillWidth: true
                Layout.leftMargin: Theme.space5
                Layout.rightMargin: Theme.space5
                Layout.bottomMargin: Theme.space5
                spacing: Theme.space3
            }
        }
    }
}
