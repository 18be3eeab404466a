import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// Changes a card's values before it is confirmed; saved on the server, then on the card.
SheetDialog {
    id: sheet
    required property ConversationViewModel chat
    property var item: ({})
    property var fields: []

    objectName: "pendingEditSheet"
    title: "编辑待确认"
    subtitle: "改好后保存，再在卡片上确认入账。"
    sheetWidth: 420

    function openFor(pending) {
        chat.clearEditError()
        item = pending
        fields = chat.editableFields(pending)
        open()
    }

    function save() {
        const values = {}
        for (let i = 0; i < repeater.count; ++i) {
            const editor = repeater.itemAt(i)
            values[editor.key] = editor.text
        }
        chat.savePendingEdit(item, values)
    }

    Connections {
        target: sheet.chat
        function onEditSaved() { sheet.close() }
    }

    Repeater {
        id: repeater
        model: sheet.fields
        delegate: AppTextField {
            required property var modelData
            readonly property string key: modelData.key
            objectName: "editField-" + modelData.key
            Layout.fillWidth: true
            label: modelData.label
            text: modelData.value
            input.inputMethodHints: modelData.numeric ? Qt.ImhFormattedNumbersOnly : Qt.ImhNone
            onAccepted: sheet.save()
        }
    }

    Text {
        objectName: "editError"
        visible: sheet.chat.editError.length > 0
        Layout.fillWidth: true
        text: sheet.chat.editError
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        color: Theme.danger
        wrapMode: Text.Wrap
    }

    RowLayout {
        Layout.fillWidth: true
        Item { Layout.fillWidth: true }
        AppButton { variant: "secondary"; text: "取消"; onClicked: sheet.close() }
        AppButton {
            objectName: "editSaveButton"
            text: sheet.chat.isSavingEdit ? "保存中…" : "保存"
            enabled: !sheet.chat.isSavingEdit
            onClicked: sheet.save()
        }
    }
}
