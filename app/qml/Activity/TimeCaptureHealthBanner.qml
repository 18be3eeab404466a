import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// What is wrong with automatic capture and the way out: restart the sensor, or open the
// accessibility settings when the permission is what is missing. Absent when all is well.
Rectangle {
    id: banner
    required property GlobalActivityBarModel model
    // Compact places (widgets) use the short texts.
    property bool compact: false
    property bool settingsUnavailable: false

    readonly property string settingsPath: "系统设置 System Settings → 隐私与安全性 Privacy & Security → 辅助功能 Accessibility"

    objectName: "captureHealthBanner"
    visible: model.hasIssue
    implicitHeight: visible ? layout.implicitHeight + 2 * Theme.space3 : 0
    radius: Theme.radius
    color: Theme.warningSoft
    border.color: "#F3D9A8"

    function openAccessibilitySettings() {
        if (Qt.openUrlExternally("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"))
            return
        if (Qt.openUrlExternally("file:///System/Applications/System Settings.app"))
            return
        banner.settingsUnavailable = true
    }

    ColumnLayout {
        id: layout
        anchors.fill: parent
        anchors.margins: Theme.space3
        spacing: Theme.space2

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.space2
            SymbolIcon { symbol: "exclamationmark.triangle.fill"; tint: Theme.warning; size: 14 }
            Text {
                objectName: "captureIssueTitle"
                Layout.fillWidth: true
                text: banner.model.issueTitle
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                color: Theme.warning
                wrapMode: Text.Wrap
            }
        }
        Text {
            objectName: "captureIssueText"
            Layout.fillWidth: true
            text: banner.compact ? banner.model.issueShortText : banner.model.issueText
            font.family: Theme.fontFamily
            font.pixelSize: banner.compact ? Theme.fontCaption : Theme.fontBody
            color: Theme.textPrimary
            wrapMode: Text.Wrap
            lineHeight: 1.15
        }
        Text {
            visible: banner.settingsUnavailable && banner.model.issue === "permissionMissing"
            Layout.fillWidth: true
            text: "无法自动打开系统设置，请手动前往：" + banner.settingsPath
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: Theme.textSecondary
            wrapMode: Text.Wrap
        }
        Flow {
            Layout.fillWidth: true
            spacing: Theme.space2
            AppButton {
                id: restartButton
                objectName: "restartProbeButton"
                variant: "secondary"
                text: "重启 Velmar Focus Probe"
                enabled: !banner.model.isRestartingAgent
                implicitHeight: 28
                leftPadding: Theme.space3 + 20
                ToolTip.visible: hovered
                ToolTip.delay: 450
                ToolTip.text: "重启 Velmar Focus Probe 并重新读取采集状态"
                onClicked: banner.model.restartAgent()
                SymbolIcon {
                    visible: !banner.model.isRestartingAgent
                    anchors.left: parent.left
                    anchors.leftMargin: Theme.space3
                    anchors.verticalCenter: parent.verticalCenter
                    symbol: "arrow.clockwise"
                    size: 13
                }
                Spinner {
                    visible: banner.model.isRestartingAgent
                    anchors.left: parent.left
                    anchors.leftMargin: Theme.space3
                    anchors.verticalCenter: parent.verticalCenter
                    size: 12
                }
            }
            AppButton {
                objectName: "openAccessibilityButton"
                visible: banner.model.issue === "permissionMissing"
                variant: "secondary"
                text: "打开辅助功能设置"
                implicitHeight: 28
                ToolTip.visible: hovered
                ToolTip.delay: 450
                ToolTip.text: banner.settingsPath
                onClicked: banner.openAccessibilitySettings()
            }
        }
    }
}
