import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// Asks before something that cannot be taken back.
SheetDialog {
    id: sheet
    property string message: ""
    property string confirmText: "确定"
    signal confirmed()

    sheetWidth: 400

    Text {
        Layout.fillWidth: true
        visible: sheet.message.length > 0
        text: sheet.message
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        color: Theme.textSecondary
        wrapMode: Text.Wrap
    }
    RowLayout {
        Layout.fillWidth: true
        Layout.topMargin: Theme.space2
        Item { Layout.fillWidth: true }
        AppButton {
            variant: "secondary"
            text: "取消"
            onClicked: sheet.close()
        }
        AppButton {
            objectName: "confirmSheetButton"
            variant: "destructive"
            text: sheet.confirmText
            onClicked: {
                sheet.close()
                sheet.confirmed()
            }
        }
    }
}
