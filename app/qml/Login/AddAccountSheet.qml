import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// Signs another account in on this device and makes it the current one.
SheetDialog {
    id: sheet
    required property AccountSwitcherViewModel model

    objectName: "addAccountSheet"
    title: "添加账号"
    sheetWidth: 400
    nested: true

    // The field holds the sheet's focus, so it has the keyboard as soon as the sheet shows.
    onAboutToShow: usernameField.input.focus = true

    Text {
        Layout.fillWidth: true
        text: "登录另一个 Velmar OS 账号（velmar / sefa / ...）。Token 存到本设备 Keychain。"
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        color: Theme.textSecondary
        wrapMode: Text.Wrap
    }

    AppTextField {
        id: usernameField
        objectName: "addUsernameField"
        Layout.fillWidth: true
        label: "用户名"
        text: sheet.model.addUsername
        input.onTextEdited: sheet.model.addUsername = input.text
        input.inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
        onAccepted: passwordField.input.forceActiveFocus()
    }

    AppTextField {
        id: passwordField
        objectName: "addPasswordField"
        Layout.fillWidth: true
        label: "密码"
        echoMode: TextInput.Password
        text: sheet.model.addPassword
        input.onTextEdited: sheet.model.addPassword = input.text
        onAccepted: sheet.model.addAccount()
    }

    Text {
        objectName: "addAccountError"
        visible: sheet.model.addError.length > 0
        Layout.fillWidth: true
        text: sheet.model.addError
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        color: Theme.danger
        wrapMode: Text.Wrap
    }

    AppButton {
        objectName: "addAccountButton"
        Layout.fillWidth: true
        Layout.topMargin: Theme.space1
        text: sheet.model.isAddingUser ? "登录中…" : "登录并切换"
        enabled: sheet.model.canAdd
        onClicked: sheet.model.addAccount()
    }
}
