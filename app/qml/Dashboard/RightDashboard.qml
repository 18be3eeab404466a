import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The right pane in dashboard mode: the organs' widgets in one scrolling column.
ScrollView {
    id: pane
    required property AppState appState
    required property GlobalActivityBarModel activity
    signal openOrgan(string organ)

    objectName: "rightDashboard"
    contentWidth: availableWidth
    clip: true

    ColumnLayout {
        width: pane.availableWidth
        spacing: Theme.space3

        Item { Layout.preferredHeight: Theme.space1 }

        TimeWidget {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.space3
            Layout.rightMargin: Theme.space3
            appState: pane.appState
            activity: pane.activity
            onOpenTime: pane.openOrgan("time")
        }

        Item { Layout.preferredHeight: Theme.space3 }
    }
}
