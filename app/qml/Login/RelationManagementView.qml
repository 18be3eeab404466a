import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// Who shares this household: binding a member, handing over the admin role, removing one.
SheetDialog {
    id: sheet
    required property AppState appState

    objectName: "relationsSheet"
    title: "关系管理"
    subtitle: "绑定成员 → 财务全共享 · 时间/墨大等 per-user 独立"
    sheetWidth: 480
    nested: true

    RelationManagementViewModel {
        id: relations
        appState: sheet.appState
    }

    onOpened: relations.loadProfile()

    Card {
        Layout.fillWidth: true
        padding: Theme.space1
        implicitHeight: list.implicitHeight + 2 * padding

        ColumnLayout {
            id: list
            width: parent.width
            spacing: 0

            RowLayout {
                visible: relations.isLoading && !relations.hasProfile
                Layout.margins: Theme.space3
                spacing: Theme.space2
                Spinner { size: 14 }
                Text {
                    text: "加载中…"
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    color: Theme.textSecondary
                }
            }

            ColumnLayout {
                objectName: "relationsEmpty"
                visible: relations.hasProfile && relations.relationRows.length === 0
                Layout.fillWidth: true
                Layout.margins: Theme.space4
                spacing: 2
                Text {
                    Layout.alignment: Qt.AlignHCenter
                    text: "还没有绑定成员"
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    font.weight: Font.Medium
                    color: Theme.textPrimary
                }
                Text {
                    Layout.alignment: Qt.AlignHCenter
                    text: "用下方表单绑定"
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    color: Theme.textSecondary
                }
            }

            Repeater {
                model: relations.relationRows
                delegate: Item {
                    id: relationRow
                    required property var modelData
                    objectName: "relationRow-" + modelData.username
                    Layout.fillWidth: true
                    implicitHeight: 52

                    RowLayout {
                        anchors.fill: parent
                        anchors.leftMargin: Theme.space3
                        anchors.rightMargin: Theme.space2
                        spacing: Theme.space3
                        Avatar { name: relationRow.modelData.displayName; size: 32 }
                        ColumnLayout {
                            Layout.fillWidth: true
                            spacing: 1
                            Text {
                                Layout.fillWidth: true
                                text: relationRow.modelData.displayName + "  @" + relationRow.modelData.username
                                font.family: Theme.fontFamily
                                font.pixelSize: Theme.fontBody
                                font.weight: Font.Medium
                                color: Theme.textPrimary
                                elide: Text.ElideRight
                            }
                            Text {
                                Layout.fillWidth: true
                                text: relationRow.modelData.caption
                                font.family: Theme.fontFamily
                                font.pixelSize: Theme.fontCaption
                                color: Theme.textSecondary
                            }
                        }
                        IconButton {
                            objectName: "relationMenuButton-" + relationRow.modelData.username
                            symbol: "ellipsis.circle"
                            helpText: "更多操作"
                            onClicked: rowMenu.popup()
                            AppMenu {
                                id: rowMenu
                                MenuItem {
                                    objectName: "transferOwnerItem"
                                    text: "移交管理员"
                                    onTriggered: relations.transferOwnerTo(relationRow.modelData.id)
                                }
                                MenuItem {
                                    objectName: "removeMemberItem"
                                    text: "移除"
                                    onTriggered: relations.removeMember(relationRow.modelData.id)
                                }
                            }
                        }
                    }
                }
            }
        }
    }

    Text {
        Layout.topMargin: Theme.space3
        text: "绑定新成员"
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        font.weight: Font.DemiBold
        color: Theme.textPrimary
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.space2
        AppTextField {
            id: bindField
            objectName: "bindUsernameField"
            Layout.fillWidth: true
            placeholderText: "用户名（如 sefa）"
            text: relations.bindUsername
            input.onTextEdited: relations.bindUsername = input.text
            input.inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
            onAccepted: relations.bindMember()
        }
        AppButton {
            objectName: "bindButton"
            text: relations.isBinding ? "绑定中…" : "绑定"
            enabled: relations.canBind
            onClicked: relations.bindMember()
        }
    }

    Text {
        Layout.fillWidth: true
        text: "成员需先在 lumen-api 注册账号；绑定后双方共享财务。"
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
        color: Theme.textSecondary
        wrapMode: Text.Wrap
    }

    Text {
        objectName: "relationsError"
        visible: relations.addError.length > 0
        Layout.fillWidth: true
        text: relations.addError
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        color: Theme.danger
        wrapMode: Text.Wrap
    }
}
