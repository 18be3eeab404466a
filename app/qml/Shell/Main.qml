import QtQuick
import VelmarOS.Theme
import QtQuick.Window
import VelmarOS.Core

// The one main window.
Window {
    id: window
    required property AppState appState

    title: "Velmar OS"
    width: 1100
    height: 720
    minimumWidth: 820
    minimumHeight: 560
    visible: true
    color: Theme.window

    ContentView {
        anchors.fill: parent
        appState: window.appState
    }
}
