import QtQuick
import VelmarOS.Theme
import VelmarOS.Login
import VelmarOS.Core

// The login screen while no token is believed to exist, the shell otherwise. The shell is
// built anew each time the token flips, so a sign-out starts the next session at home.
Item {
    id: content
    required property AppState appState

    Loader {
        id: screen
        anchors.fill: parent
        sourceComponent: content.appState.hasToken ? signedIn : login
    }

    Component {
        id: login
        LoginView { appState: content.appState }
    }

    Component {
        id: signedIn
        VelmarOSRootView { appState: content.appState }
    }
}
