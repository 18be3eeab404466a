import QtQuick
import VelmarOS.Theme
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Core

// Sign-in: the user name and password of a household account.
Rectangle {
    id: view
    required property AppState appState
    objectName: "loginView"
    color: Theme.window

    LoginViewModel {
        id: model
        appState: view.appState
    }

    Rectangle {
        id: card
        anchors.centerIn: parent
        width: 380
        height: layout.implicitHeight + 2 * Theme.space6
        radius: Theme.radiusLarge
        color: Theme.surface
        border.color: Theme.border

        ColumnLayout {
            id: layout
            anchors.fill: parent
            anchors.margins: Theme.space6
            spacing: Theme.space4

            ColumnLayout {
                spacing: Theme.space1
                Layout.fillWidth: true
                Text {
                    text: "Velmar OS"
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontDisplay
                    font.weight: Font.DemiBold
                    color: Theme.textPrimary
                }
                Text {
                    text: "个人 AI 整合 · v1.3"
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    color: Theme.textSecondary
                }
            }

            Rectangle {
                objectName: "sessionExpiredBanner"
                visible: view.appState.sessionExpired
                Layout.fillWidth: true
                implicitHeight: expiredRow.implicitHeight + 2 * Theme.space2
                radius: Theme.radiusSmall
                color: Theme.warningSoft
                RowLayout {
                    id: expiredRow
                    anchors.fill: parent
                    anchors.margins: Theme.space2
                    spacing: Theme.space2
                    SymbolIcon { symbol: "exclamationmark.shield.fill"; tint: Theme.warning }
                    Text {
                        Layout.fillWidth: true
                        text: "session 失效，请重新登录"
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                        color: Theme.warning
                        wrapMode: Text.Wrap
                    }
                }
            }

            AppTextField {
                id: usernameField
                Layout.fillWidth: true
                label: "用户名"
                placeholderText: "velmar / sefa / ..."
                text: model.username
                input.onTextEdited: model.username = input.text
                input.inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
                onAccepted: passwordField.input.forceActiveFocus()
                Component.onCompleted: input.forceActiveFocus()
            }

            AppTextField {
                id: passwordField
                Layout.fillWidth: true
                label: "密码"
                echoMode: TextInput.Password
                text: model.password
                input.onTextEdited: model.password = input.text
                onAccepted: model.login()
            }

            Text {
                objectName: "loginError"
                visible: model.loginError.length > 0
                Layout.fillWidth: true
                text: model.loginError
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                color: Theme.danger
                wrapMode: Text.Wrap
            }

            AppButton {
                objectName: "loginButton"
                Layout.fillWidth: true
                text: model.isLoggingIn ? "登录中…" : "登录"
                enabled: model.canSubmit && !model.isLoggingIn
                onClicked: model.login()
            }

            ColumnLayout {
                visible: model.knownUsernames.length > 0
                Layout.fillWidth: true
                spacing: Theme.space2
                Text {
                    text: "已登过的账号"
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.Medium
                    color: Theme.textSecondary
                }
                Flow {
                    Layout.fillWidth: true
                    spacing: Theme.space2
                    Repeater {
                        model: model.knownUsernames
                        delegate: AppButton {
                            required property string modelData
                            variant: "secondary"
                            text: modelData
                            onClicked: {
                                model.pickKnownUsername(modelData)
                                passwordField.input.forceActiveFocus()
                            }
                        }
                    }
                }
            }
        }
    }
}
