import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Activity
import VelmarOS.Core

// Today's time: what runs now, the confirmed total and the largest categories, and a short
// word when capture is not working.
Card {
    id: widget
    required property AppState appState
    required property GlobalActivityBarModel activity
    signal openTime()

    objectName: "timeWidget"
    padding: Theme.space4
    implicitHeight: column.implicitHeight + 2 * padding

    TimeWidgetModel {
        id: summary
        appState: widget.appState
    }

    ColumnLayout {
        id: column
        width: parent.width
        spacing: Theme.space3

        RowLayout {
            Layout.fillWidth: true
            Text {
                text: "⏱️"
                font.pixelSize: 14
            }
            Text {
                Layout.fillWidth: true
                text: "今日时间"
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                color: Theme.textPrimary
            }
            IconButton {
                symbol: "chevron.right"
                helpText: "打开时间板块"
                implicitWidth: 24
                implicitHeight: 24
                onClicked: Qt.callLater(widget.openTime)
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.space1
            Text {
                objectName: "timeWidgetTotal"
                text: summary.totalText
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontTitle + 4
                font.weight: Font.DemiBold
                color: Theme.textPrimary
            }
            Text {
                Layout.alignment: Qt.AlignBaseline
                Layout.leftMargin: Theme.space1
                text: summary.entryCount > 0 ? "已确认 · " + summary.entryCount + " 段" : "今天还没有确认的时间"
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                color: Theme.textSecondary
            }
        }

        Rectangle {
            visible: widget.activity.isRunning
            Layout.fillWidth: true
            implicitHeight: runningRow.implicitHeight + 2 * Theme.space2
            radius: Theme.radiusSmall
            color: Theme.accentSoft
            RowLayout {
                id: runningRow
                anchors.fill: parent
                anchors.margins: Theme.space2
                spacing: Theme.space2
                Rectangle { width: 7; height: 7; radius: 4; color: Theme.danger }
                Text {
                    Layout.fillWidth: true
                    text: widget.activity.activityTitle + " · " + widget.activity.subtitle
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    color: Theme.textPrimary
                    elide: Text.ElideRight
                }
                Text {
                    text: widget.activity.elapsedText
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.DemiBold
                    color: Theme.accent
                }
            }
        }

        // One bar of the day, split by category.
        Row {
            visible: summary.totalMinutes > 0
            Layout.fillWidth: true
            Layout.preferredHeight: 8
            spacing: 2
            Repeater {
                model: summary.categoryRows
                delegate: Rectangle {
                    required property var modelData
                    required property int index
                    width: Math.max(3, (column.width - 2 * (summary.categoryRows.length - 1)) * modelData.share)
                    height: 8
                    radius: 3
                    color: modelData.color.length > 0 ? modelData.color : ["#6B8AF7", "#4DB6AC", "#F2A65A", "#B0B0BA"][index % 4]
                }
            }
        }

        Repeater {
            model: summary.categoryRows
            delegate: RowLayout {
                required property var modelData
                required property int index
                Layout.fillWidth: true
                spacing: Theme.space2
                Rectangle {
                    width: 8
                    height: 8
                    radius: 4
                    color: modelData.color.length > 0 ? modelData.color : ["#6B8AF7", "#4DB6AC", "#F2A65A", "#B0B0BA"][index % 4]
                }
                Text {
                    Layout.fillWidth: true
                    text: modelData.name
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    color: Theme.textPrimary
                    elide: Text.ElideRight
                }
                Text {
                    text: modelData.text
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    color: Theme.textSecondary
                }
            }
        }

        TimeCaptureHealthBanner {
            Layout.fillWidth: true
            model: widget.activity
            compact: true
        }
    }
}
