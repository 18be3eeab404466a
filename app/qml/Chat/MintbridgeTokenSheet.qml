import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// "配置 Mintbridge 中继 Token": paste the relay's token; saving checks that the relay answers.
SheetDialog {
    id: sheet
    required property MintbridgeTokenSetup setup

    objectName: "tokenSheet"
    title: setup.title
    sheetWidth: 480

    onAboutToShow: {
        setup.refresh()
        tokenField.text = ""
        tokenField.input.focus = true
    }

    Text {
        Layout.fillWidth: true
        text: sheet.setup.explanation
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        color: Theme.textPrimary
        wrapMode: Text.Wrap
        lineHeight: 1.2
    }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: hintText.implicitHeight + 2 * Theme.space3
        radius: Theme.radiusSmall
        color: Theme.surfaceMuted
        Text {
            id: hintText
            anchors.fill: parent
            anchors.margins: Theme.space3
            text: sheet.setup.hint
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: Theme.textSecondary
            wrapMode: Text.Wrap
        }
    }

    AppTextField {
        id: tokenField
        objectName: "tokenField"
        Layout.fillWidth: true
        label: sheet.setup.hasToken ? "Bearer token（已保存一个）" : "Bearer token"
        placeholderText: sheet.setup.fieldPlaceholder
        echoMode: TextInput.Password
        onAccepted: sheet.setup.submit(tokenField.text)
    }

    Text {
        Layout.fillWidth: true
        text: sheet.setup.note
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
        color: Theme.textSecondary
        wrapMode: Text.Wrap
    }

    Text {
        objectName: "tokenStatus"
        visible: sheet.setup.statusMessage.length > 0
        Layout.fillWidth: true
        text: sheet.setup.statusMessage
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        color: sheet.setup.lastSaveFailed ? Theme.danger : Theme.success
        wrapMode: Text.Wrap
    }

    RowLayout {
        Layout.fillWidth: true
        Layout.topMargin: Theme.space1
        Item { Layout.fillWidth: true }
        AppButton {
            variant: "secondary"
            text: "关闭"
            onClicked: sheet.close()
        }
        AppButton {
            objectName: "tokenSaveButton"
            text: sheet.setup.isSaving ? "保存中…" : "保存"
            enabled: !sheet.setup.isSaving
            onClicked: sheet.setup.submit(tokenField.text)
        }
    }
}
