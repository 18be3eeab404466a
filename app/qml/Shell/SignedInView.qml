import QtQuick
import VelmarOS.Theme
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Core

// The signed-in screen until the shell with its organs takes this place.
Rectangle {
    id: view
    required property AppState appState
    objectName: "signedInView"
    color: Theme.window

    ColumnLayout {
        anchors.centerIn: parent
        spacing: Theme.space4

        Text {
            Layout.alignment: Qt.AlignHCenter
            text: view.appState.hasProfile ? view.appState.currentDisplayName : "…"
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontDisplay
            font.weight: Font.DemiBold
            color: Theme.textPrimary
        }
        Text {
            Layout.alignment: Qt.AlignHCenter
            visible: view.appState.hasProfile
            text: "@" + view.appState.currentUsername
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            color: Theme.textSecondary
        }
        AppButton {
            objectName: "signOutButton"
            Layout.alignment: Qt.AlignHCenter
            variant: "destructive"
            text: "退出当前账号"
            onClicked: view.appState.signOutCurrentUser()
        }
    }
}
