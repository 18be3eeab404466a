import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The account sheet: who is signed in, the other accounts of this device, and the ways to
// add one, manage relations or sign out.
SheetDialog {
    id: sheet
    required property AppState appState

    objectName: "accountSwitcher"
    title: "账号"
    sheetWidth: 440
    // A sheet opened from here takes this one's place until it closes.
    covered: accounts.showAddUser || accounts.showRelations

    AccountSwitcherViewModel {
        id: accounts
        appState: sheet.appState
        onAccountAdded: sheet.close()
    }

    // Header: the current user.
    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.space3
        Avatar {
            name: sheet.appState.hasProfile ? sheet.appState.currentDisplayName : "?"
            size: 36
        }
        Text {
            objectName: "accountHeader"
            Layout.fillWidth: true
            text: accounts.headerText
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBodyLarge
            font.weight: Font.Medium
            color: Theme.textPrimary
            elide: Text.ElideRight
        }
    }

    Text {
        Layout.topMargin: Theme.space2
        text: "本设备上的账号"
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
        font.weight: Font.DemiBold
        color: Theme.textSecondary
    }

    Card {
        Layout.fillWidth: true
        padding: Theme.space1
        implicitHeight: accountList.implicitHeight + 2 * padding

        ColumnLayout {
            id: accountList
            width: parent.width
            spacing: 0
            Text {
                visible: accounts.accountRows.length === 0
                Layout.fillWidth: true
                Layout.margins: Theme.space3
                text: accounts.emptyText
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                color: Theme.textSecondary
                wrapMode: Text.Wrap
            }
            Repeater {
                model: accounts.accountRows
                delegate: ListRow {
                    required property var modelData
                    Layout.fillWidth: true
                    objectName: "accountRow-" + modelData.username
                    symbol: modelData.isCurrent ? "checkmark.circle.fill" : "person.crop.circle"
                    symbolTint: modelData.isCurrent ? Theme.success : Theme.textTertiary
                    title: modelData.username
                    subtitle: modelData.hint
                    enabled: !modelData.isCurrent && accounts.busyUsername.length === 0
                    onClicked: accounts.switchTo(modelData.username)
                    Spinner { visible: accounts.busyUsername === modelData.username; size: 14 }
                }
            }
        }
    }

    Text {
        objectName: "accountActionError"
        visible: accounts.actionError.length > 0
        Layout.fillWidth: true
        text: accounts.actionError
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        color: Theme.danger
        wrapMode: Text.Wrap
    }

    Card {
        Layout.fillWidth: true
        Layout.topMargin: Theme.space2
        padding: Theme.space1
        implicitHeight: actions.implicitHeight + 2 * padding

        ColumnLayout {
            id: actions
            width: parent.width
            spacing: 0
            ListRow {
                objectName: "addAccountRow"
                Layout.fillWidth: true
                symbol: "plus.circle.fill"
                symbolTint: Theme.accent
                title: "添加账号"
                subtitle: "登录另一个 Velmar OS 账号到本设备"
                onClicked: accounts.showAddUser = true
            }
            ListRow {
                objectName: "relationsRow"
                Layout.fillWidth: true
                symbol: "person.2.fill"
                symbolTint: Theme.accent
                title: "关系管理"
                subtitle: "绑定成员 / 移交管理员 / 共享财务"
                onClicked: accounts.showRelations = true
            }
            ListRow {
                objectName: "signOutRow"
                Layout.fillWidth: true
                symbol: "rectangle.portrait.and.arrow.right"
                destructive: true
                enabled: accounts.canSignOut
                title: "退出当前账号"
                subtitle: accounts.signOutSubtitle
                onClicked: accounts.signOutCurrent()
            }
        }
    }

    AddAccountSheet {
        id: addSheet
        model: accounts
    }

    RelationManagementView {
        id: relationsSheet
        appState: sheet.appState
    }

    Connections {
        target: accounts
        function onShowAddUserChanged() {
            if (accounts.showAddUser) addSheet.open(); else addSheet.close()
        }
        function onShowRelationsChanged() {
            if (accounts.showRelations) relationsSheet.open(); else relationsSheet.close()
        }
    }
    Connections {
        target: addSheet
        function onClosed() { accounts.showAddUser = false }
    }
    Connections {
        target: relationsSheet
        function onClosed() { accounts.showRelations = false }
    }
}
