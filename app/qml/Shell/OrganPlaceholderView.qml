import QtQuick
import QtQuick.Layouts
import VelmarOS.Theme

// What an organ shows while its own screens are not there: its icon, title and a message.
Item {
    id: placeholder
    property string icon: ""
    property string title: ""
    property string message: ""

    objectName: "organPlaceholder"

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.space6, 420)
        spacing: Theme.space3

        Rectangle {
            Layout.alignment: Qt.AlignHCenter
            width: 72
            height: 72
            radius: 20
            color: Theme.surface
            border.color: Theme.border
            Text {
                anchors.centerIn: parent
                text: placeholder.icon
                font.pixelSize: 34
            }
        }
        Text {
            Layout.alignment: Qt.AlignHCenter
            text: placeholder.title
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
            color: Theme.textPrimary
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: placeholder.message
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            color: Theme.textSecondary
            wrapMode: Text.Wrap
            lineHeight: 1.2
        }
    }
}
