import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The thin strip above all content: the running activity with its clock and a stop button,
// or how automatic capture is doing; the chat button on both.
Rectangle {
    id: bar
    required property GlobalActivityBarModel model
    signal chatRequested()

    objectName: "globalActivityBar"
    implicitHeight: Theme.activityBarHeight
    color: model.isRunning ? Theme.accentSoft : Theme.surface

    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 1
        color: Theme.border
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.space4
        anchors.rightMargin: Theme.space2
        spacing: Theme.space2

        // ---- running ----
        Rectangle {
            visible: bar.model.isRunning
            width: 8
            height: 8
            radius: 4
            color: Theme.danger
            SequentialAnimation on opacity {
                running: bar.model.isRunning
                loops: Animation.Infinite
                NumberAnimation { to: 0.35; duration: 700 }
                NumberAnimation { to: 1; duration: 700 }
            }
        }
        Text {
            objectName: "activityTitle"
            visible: bar.model.isRunning
            text: bar.model.activityTitle
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            font.weight: Font.DemiBold
            color: Theme.textPrimary
        }
        Text {
            objectName: "activitySubtitle"
            visible: bar.model.isRunning
            text: bar.model.subtitle
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: Theme.textSecondary
        }

        // ---- passive capture ----
        SymbolIcon {
            visible: !bar.model.isRunning
            symbol: bar.model.statusSymbol
            tint: Theme.toneColor(bar.model.statusTone)
            size: 13
        }
        Text {
            objectName: "captureStatusTitle"
            visible: !bar.model.isRunning
            text: bar.model.statusTitle
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            font.weight: Font.DemiBold
            color: bar.model.statusTone === "warning" ? Theme.warning : Theme.textPrimary
        }
        Text {
            objectName: "captureStatusDetail"
            visible: !bar.model.isRunning
            Layout.fillWidth: true
            text: bar.model.statusDetail
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: Theme.textSecondary
            elide: Text.ElideRight
        }

        Item { Layout.fillWidth: true; visible: bar.model.isRunning }

        Text {
            objectName: "activityElapsed"
            visible: bar.model.isRunning
            text: bar.model.elapsedText
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            color: Theme.textPrimary
        }
        IconButton {
            objectName: "activityStopButton"
            visible: bar.model.isRunning
            symbol: "stop.fill"
            tint: Theme.danger
            glyphSize: 12
            implicitWidth: 26
            implicitHeight: 26
            helpText: "结束当前活动"
            onClicked: bar.model.stop()
        }
        IconButton {
            objectName: "activityChatButton"
            symbol: "💬"
            glyphSize: 14
            implicitWidth: 26
            implicitHeight: 26
            helpText: "打开对话"
            onClicked: bar.chatRequested()
        }
    }
}
