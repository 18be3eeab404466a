import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The welcome pane: a greeting of the hour, the quick cards and the report reminders.
Item {
    id: home
    required property AppState appState
    // A quick card asks the shell to move: "conversation", or "organ" with its raw value.
    signal openTarget(string target, string organ)
    // Below the reminders: the chat bar, when the shell gives one.
    property alias footer: footerSlot.data

    objectName: "homeView"

    DashboardViewModel {
        id: dashboard
        objectName: "dashboardModel"
        appState: home.appState
    }

    ScrollView {
        id: scroll
        anchors.fill: parent
        anchors.bottomMargin: footerSlot.height
        contentWidth: availableWidth
        clip: true

        ColumnLayout {
            width: Math.min(scroll.availableWidth, 720)
            x: (scroll.availableWidth - width) / 2
            spacing: Theme.space4

            Item { Layout.preferredHeight: Theme.space2 }

            ColumnLayout {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.space6
                Layout.rightMargin: Theme.space6
                spacing: Theme.space2
                Text {
                    objectName: "welcomeTitle"
                    text: home.appState.hasProfile ? home.appState.currentDisplayName : "Velmar OS"
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontDisplay
                    font.weight: Font.DemiBold
                    color: Theme.textPrimary
                }
                Text {
                    objectName: "welcomeSubtitle"
                    Layout.fillWidth: true
                    text: dashboard.welcomeSubtitle
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBodyLarge
                    color: Theme.textSecondary
                    wrapMode: Text.Wrap
                }
            }

            GridLayout {
                objectName: "quickActionGrid"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.space6
                Layout.rightMargin: Theme.space6
                columns: width > 460 ? 2 : 1
                columnSpacing: Theme.space3
                rowSpacing: Theme.space3
                Repeater {
                    model: dashboard.quickCards
                    delegate: QuickCard {
                        required property var modelData
                        Layout.fillWidth: true
                        objectName: "quickCard-" + modelData.title
                        emoji: modelData.icon
                        title: modelData.title
                        subtitle: modelData.subtitle
                        onClicked: Qt.callLater(home.openTarget, modelData.target, modelData.organ)
                    }
                }
            }

            Card {
                objectName: "homeRemindersCard"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.space6
                Layout.rightMargin: Theme.space6
                padding: Theme.space3
                implicitHeight: remindersColumn.implicitHeight + 2 * padding

                ColumnLayout {
                    id: remindersColumn
                    width: parent.width
                    spacing: 2
                    Text {
                        Layout.leftMargin: Theme.space3
                        Layout.topMargin: Theme.space1
                        Layout.bottomMargin: Theme.space1
                        text: "复盘"
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        font.weight: Font.DemiBold
                        color: Theme.textSecondary
                    }
                    Repeater {
                        model: dashboard.reminders
                        delegate: ListRow {
                            required property var modelData
                            required property int index
                            Layout.fillWidth: true
                            objectName: "reminder-" + modelData.sub
                            symbol: index === 0 ? "☀" : index === 1 ? "▦" : "◔"
                            symbolTint: Theme.accent
                            title: modelData.title
                            subtitle: modelData.subtitle
                            onClicked: Qt.callLater(dashboard.openReminder, index)
                            SymbolIcon { symbol: "chevron.right"; tint: Theme.textTertiary; size: 16 }
                        }
                    }
                }
            }

            Item { Layout.preferredHeight: Theme.space4 }
        }
    }

    Item {
        id: footerSlot
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: childrenRect.height
    }
}
