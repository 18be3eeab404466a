import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// Gives a session a name of the user's choosing.
SheetDialog {
    id: sheet
    required property ConversationViewModel chat
    property string sessionId: ""

    objectName: "renameSessionSheet"
    title: "重命名会话"
    sheetWidth: 380

    function openFor(id, title) {
        sessionId = id
        field.text = title
        open()
    }

    function save() {
        if (field.text.trim().length === 0)
            return
        chat.sessions.renameSession(sessionId, field.text.trim())
        close()
    }

    onAboutToShow: field.input.focus = true

    AppTextField {
        id: field
        objectName: "renameField"
        Layout.fillWidth: true
        label: "名称"
        onAccepted: sheet.save()
    }
    RowLayout {
        Layout.fillWidth: true
        Item { Layout.fillWidth: true }
        AppButton { variant: "secondary"; text: "取消"; onClicked: sheet.close() }
        AppButton {
            objectName: "renameSaveButton"
            text: "保存"
            enabled: field.text.trim().length > 0
            onClicked: sheet.save()
        }
    }
}
